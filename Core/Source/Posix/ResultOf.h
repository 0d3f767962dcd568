#pragma once

#include <cerrno>

namespace Posix {

/// Makes a system call, again while a signal interrupts it: its result, or the negated errno value.
template <typename Call>
auto ResultOf(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result < 0 ? static_cast<decltype(result)>(-errno) : result;
}

}  // namespace Posix
