#pragma once

namespace Posix {

/// Prepares the three standard streams; a program calls it first, before anything is written. Descriptors 0 to 2
/// that are closed are opened, so that a file that the program opens cannot get their numbers: input is then
/// empty, and writing to the others fails. Standard output gets a large buffer unless it is a terminal. Calls
/// FindTerminals().
void PrepareStandardStreams();

/// Determines which streams are terminals. Until it is called none counts as one, so that what a library prints in
/// another program is not changed.
void FindTerminals();
bool StandardOutputIsTerminal();  ///< As FindTerminals() found it.
bool StandardErrorIsTerminal();   ///< As FindTerminals() found it.

/// Whether standard output is a pipe or socket whose reading end is closed.
bool ReaderOfStandardOutputIsGone();

}  // namespace Posix
