#pragma once

#include <cerrno>

namespace Posix {

/// Makes a system call, and repeats it while a signal interrupts it. Returns its result, or the negated errno
/// value.
template <typename Call>
auto ResultOf(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result < 0 ? static_cast<decltype(result)>(-errno) : result;
}

}  // namespace Posix
