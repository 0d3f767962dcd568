#include "Posix/Users.h"

#include <cerrno>
#include <vector>

#include <pwd.h>
#include <unistd.h>

namespace Posix {

namespace {

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
