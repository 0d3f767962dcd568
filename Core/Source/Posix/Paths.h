#pragma once

#include <string>

namespace Posix {

/// `path` made absolute against the working directory, its existing part resolved through the file
/// system (links followed) and the rest tidied by text; when that fails, the path only made
/// absolute.
std::string ResolvePath(const std::string& path);

/// The folder for temporary files: the one that the environment names (TMPDIR, TMP, TEMP or TEMPDIR, the
/// first that is set and not empty), else "/tmp". Empty when that is not a folder to which this process may
/// add files.
std::string TemporaryFolder();

/// `bytes` random bytes as lower-case hexadecimal digits, from the system's source of randomness.
/// Throws std::system_error when the system has none to give.
std::string RandomHexDigits(std::size_t bytes);

}  // namespace Posix
