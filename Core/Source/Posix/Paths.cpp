#include "Posix/Paths.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <pwd.h>
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

bool IsAbsent(int result) {
  return result == -ENOENT || result == -ENOTDIR;
}

// Where the component ends that follows `start`, with the "/" before it.
std::size_t NextEnd(const std::string& path, std::size_t start) {
  return std::min(path.find('/', path.find_first_not_of('/', start)), path.size());
}

// How much of an absolute path leads to something, in whole components; negative when that cannot be told.
std::int64_t ExistingLength(const std::string& path) {
  FileInfo info;
  const int whole = Files().Status(path.c_str(), info);
  if (whole >= 0) return std::ssize(path);
  if (!IsAbsent(whole)) return whole;
  std::size_t existing = 1;
  for (std::size_t end = NextEnd(path, 0); end < path.size(); end = NextEnd(path, end)) {
    const int result = Files().Status(path.substr(0, end).c_str(), info);
    if (result < 0 && !IsAbsent(result)) return result;
    if (result < 0) break;
    existing = end;
  }
  return static_cast<std::int64_t>(existing);
}

// Follows names that do not exist from a folder on; one that is left through ".." is as if it had not been
// there, and after that, as after ".", the path ends with "/".
std::string Follow(std::string folder, std::string_view names) {
  const bool endsWithSeparator = names.ends_with('/');
  bool endsWithFolder = false;
  if (folder == "/") folder.clear();
  while (!names.empty()) {
    const std::string_view name = names.substr(0, names.find('/'));
    names.remove_prefix(std::min(names.size(), name.size() + 1));
    endsWithFolder = name == "." || name == ".." || name.empty();
    if (name == "..") folder.resize(folder.empty() ? 0 : folder.rfind('/'));
    if (!endsWithFolder) folder.append("/").append(name);
  }
  return folder.empty() || endsWithFolder || endsWithSeparator ? folder + '/' : folder;
}

std::string NamedTemporaryFolder() {
  for (const char* variable : {"TMPDIR", "TMP", "TEMP", "TEMPDIR"}) {
    const char* const value = std::getenv(variable);
    if (value != nullptr && *value != 0) return value;
  }
  return "/tmp";
}

// Calls `find(entry, buffer, size, found)`, one of the reentrant look-ups, until its buffer
// suffices.
template <typename Find>
std::optional<std::string> HomeFoundBy(Find find) {
  std::vector<char> buffer(1024);
  passwd entry = {};
  passwd* found = nullptr;
  int error = EINTR;
  while (error == EINTR || error == ERANGE) {
    if (error == ERANGE) buffer.resize(buffer.size() * 2);
    error = find(&entry, buffer.data(), buffer.size(), &found);
  }
  if (error != 0 || found == nullptr || *found->pw_dir == '\0') return std::nullopt;
  return found->pw_dir;
}

}  // namespace

std::string ResolvePath(const std::string& path) {
  std::string absolute = MadeAbsolute(path);
  const std::int64_t existing = ExistingLength(absolute);
  std::string resolved;
  if (existing < 0) return absolute;
  const auto length = static_cast<std::size_t>(existing);
  if (Files().Resolve(absolute.substr(0, length).c_str(), resolved) < 0) return absolute;
  return length == absolute.size() ? resolved
                                   : Follow(resolved, std::string_view(absolute).substr(length));
}

std::string ParentOf(const std::string& path) {
  const std::size_t separator = path.find_last_of('/');
  if (separator == std::string::npos) return {};
  return path.substr(0, separator == 0 ? 1 : separator);
}

ObjectName SplitPath(const std::string& path) {
  const std::string object = path.substr(0, path.find_last_not_of('/') + 1);
  const std::string parent = ParentOf(object);
  return {parent.empty() ? "." : parent + "/.", object.substr(object.find_last_of('/') + 1)};
}

std::string TemporaryFolder() {
  const std::string folder = NamedTemporaryFolder();
  FileInfo info;
  const int examined = Files().Status(folder.c_str(), info);
  const bool isUsable = examined >= 0 && info.kind == FileKind::kFolder &&
                        ::faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) == 0;
  return isUsable ? folder : std::string();
}

std::optional<std::string> HomeOfEffectiveUser() {
  return HomeFoundBy([](passwd* entry, char* buffer, std::size_t size, passwd** found) {
    return ::getpwuid_r(::geteuid(), entry, buffer, size, found);
  });
}

std::optional<std::string> HomeOfUser(const std::string& name) {
  return HomeFoundBy([&name](passwd* entry, char* buffer, std::size_t size, passwd** found) {
    return ::getpwnam_r(name.c_str(), entry, buffer, size, found);
  });
}

}  // namespace Posix
