#pragma once

#include <cerrno>

/// Makes a call to Posix::FileOps, again while a signal interrupts it, and returns its result.
template <typename Call>
auto RepeatInterrupted(Call call) {
  auto result = call();
  while (result == -EINTR) result = call();
  return result;
}
