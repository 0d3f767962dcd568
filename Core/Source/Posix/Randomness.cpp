#include "Posix/Randomness.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <system_error>
#include <vector>

#include <sys/random.h>
#include <unistd.h>

namespace Posix {

namespace {

// Spreads every bit of a number over all of them.
std::uint64_t Spread(std::uint64_t number) {
  number = (number ^ number >> 30) * 0xBF58476D1CE4E5B9;
  number = (number ^ number >> 27) * 0x94D049BB133111EB;
  return number ^ number >> 31;
}

std::uint64_t UnlikelyNumber() {
  static std::atomic<std::uint64_t> calls = 0;
  std::uint64_t state = calls++;
  const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
  const auto today = std::chrono::system_clock::now().time_since_epoch().count();
  for (const std::uint64_t part :
       {static_cast<std::uint64_t>(now), static_cast<std::uint64_t>(today),
        static_cast<std::uint64_t>(::getpid()),
        static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(&state)),
        static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(&calls))}) {
    state = Spread(state + part + 0x9E3779B97F4A7C15);
  }
  return state;
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

std::uint64_t RandomNumber() {
  std::uint64_t number = 0;
  return ::getentropy(&number, sizeof number) == 0 ? number : UnlikelyNumber();
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
