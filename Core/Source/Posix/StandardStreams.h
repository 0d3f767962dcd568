#pragma once

namespace Posix {

/// Gets the three standard streams ready; to be called first in a program, before anything is
/// written. A descriptor that the caller left closed is occupied, so that no file the program opens
/// can take its number: input reads as empty, writing to the others fails. Standard output gets a
/// generous buffer unless it is a terminal.
void PrepareStandardStreams();

/// Whether standard output is a pipe or socket that nobody reads any more.
bool ReaderOfStandardOutputIsGone();

}  // namespace Posix
