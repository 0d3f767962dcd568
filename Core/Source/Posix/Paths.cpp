#include "Posix/Paths.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

#include "Posix/FileOps.h"

namespace Posix {

namespace {

std::string MadeAbsolute(const std::string& path) {
  std::string folder;
  if (path.starts_with('/')) return path;
  if (Files().CurrentFolder(folder) < 0) return path;
  if (path.empty()) return folder;
  return folder.ends_with('/') ? folder + path : folder + '/' + path;
}

std::string NamedTemporaryFolder() {
  for (const char* variable : {"TMPDIR", "TMP", "TEMP", "TEMPDIR"}) {
    const char* const value = std::getenv(variable);
    if (value != nullptr && *value != 0) return value;
  }
  return "/tmp";
}

void FillWithRandomBytes(std::vector<unsigned char>& out) {
  std::size_t filled = 0;
  while (filled < out.size()) {
    const ssize_t count = ::getrandom(out.data() + filled, out.size() - filled, 0);
    if (count >= 0) {
      filled += static_cast<std::size_t>(count);
    } else if (errno != EINTR) {
      throw std::system_error(errno, std::generic_category(), "getrandom");
    }
  }
}

}  // namespace

std::string ResolvePath(const std::string& path) {
  const std::string absolute = MadeAbsolute(path);
  std::error_code error;
  const std::filesystem::path resolved = std::filesystem::weakly_canonical(absolute, error);
  return error ? absolute : resolved.string();
}

std::string TemporaryFolder() {
  const std::string folder = NamedTemporaryFolder();
  FileInfo info;
  const int examined = Files().Status(folder.c_str(), info);
  const bool isUsable = examined >= 0 && info.kind == FileKind::kFolder &&
                        ::faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) == 0;
  return isUsable ? folder : std::string();
}

std::string RandomHexDigits(std::size_t bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::vector<unsigned char> random(bytes);
  FillWithRandomBytes(random);
  std::string digits;
  digits.reserve(2 * bytes);
  for (const unsigned char byte : random) {
    digits += kDigits[byte >> 4];
    digits += kDigits[byte & 15];
  }
  return digits;
}

}  // namespace Posix
