#pragma once

#include "BundlePlan.h"

/// Settles which files are stored where record names differ only in letter case, as an archive keeps
/// one of them. The later file is stored: in the earlier one's place and under its name when it is not
/// larger than the first file there was, else in its own place and the earlier is left out. One warning
/// line on standard error for each.
///   Files that will not be stored, because they or a file before them in their folder cannot be read,
///   replace nothing. To know that, every file is opened once.
void ResolveNameClashes(BundlePlan& plan);
