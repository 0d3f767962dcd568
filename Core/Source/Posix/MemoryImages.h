#pragma once

namespace Posix {

/// Keeps what the process holds in memory out of files and out of other processes of the same user: it leaves
/// no core image when it ends by a signal, and only a privileged process may look into it. It lasts as long as
/// the process; child processes inherit the limit on core images. A system that refuses is ignored.
void ForbidMemoryImages();

}  // namespace Posix
