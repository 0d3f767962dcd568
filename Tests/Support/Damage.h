#pragma once

#include <functional>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace Support {

/// Calls `judge` with every shorter beginning of `good`, and with `good` after each of its bytes was changed by each
/// of `changes`. Returns the number of calls.
inline int ForEachDamage(const std::string& good, std::string_view changes,
                         const std::function<void(const std::string&)>& judge) {
  int damages = 0;
  for (std::size_t length = 0; length < good.size(); ++length, ++damages) {
    SCOPED_TRACE("cut to " + std::to_string(length));
    judge(good.substr(0, length));
  }
  for (std::size_t at = 0; at < good.size(); ++at) {
    for (const char change : changes) {
      SCOPED_TRACE("byte " + std::to_string(at) + " changed by " + std::to_string(change));
      std::string bytes = good;
      bytes[at] = static_cast<char>(bytes[at] ^ change);
      judge(bytes);
      ++damages;
    }
  }
  return damages;
}

}  // namespace Support
