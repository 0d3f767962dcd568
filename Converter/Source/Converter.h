#pragma once

/// One whole run of the tool: reads the arguments (the first is the program's name), checks them, and
/// does the jobs in the order list, flatten, unflatten, sign, verify, each on the result of the one
/// before; a listing ends the run by itself. Without arguments the usage is shown.
///   Returns the exit status: 1 when the arguments or the signing key and certificate were refused, when
///   an argument is not UTF-8 or the run could not go on (memory, a failing disk), else 0. Deliberate: a
///   job that fails says so and leaves the status at 0.
///   Nothing throws. The bytes of a pass phrase among the arguments are overwritten.
int RunConverter(int argc, char* argv[]);
