#pragma once

namespace Posix {

/// Protects secrets in the memory of the process from other processes of the same user: it writes no core file
/// when it ends by a signal, and only a privileged process may attach to it or read its memory. Cannot be undone;
/// child processes inherit the limit on core files. A failure is ignored.
void ForbidMemoryImages();

}  // namespace Posix
