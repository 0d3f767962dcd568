#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

// What the fuzz targets share: taking an input apart, and reporting that a promise was broken.

/// Aborts the program if `promise` is false, so that the fuzzer keeps the input.
inline void Require(bool promise, const char* what) {
  if (promise) return;
  std::fprintf(stderr, "broken promise: %s\n", what);
  std::abort();
}

/// Takes numbers and texts from the front of an input. Returns zeros and empty texts when it is used up.
class FuzzInput {
 public:
  FuzzInput(const std::uint8_t* data, std::size_t size)
      : rest_(reinterpret_cast<const char*>(data), size) {}

  bool empty() const { return rest_.empty(); }

  std::uint8_t Byte() {
    if (rest_.empty()) return 0;
    const auto byte = static_cast<std::uint8_t>(rest_.front());
    rest_.remove_prefix(1);
    return byte;
  }

  /// 0 to bound - 1.
  unsigned Below(unsigned bound) { return (Byte() * 256U + Byte()) % bound; }

  /// Up to 255 bytes; the byte before them is their number.
  std::string_view Text() { return Take(Byte()); }
  std::string_view Rest() { return Take(rest_.size()); }

 private:
  std::string_view Take(std::size_t count) {
    const std::string_view taken = rest_.substr(0, count);
    rest_.remove_prefix(taken.size());
    return taken;
  }

  std::string_view rest_;
};
