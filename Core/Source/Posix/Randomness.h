#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace Posix {

/// An unpredictable number from the system's source of randomness. Where that fails (a very old kernel, a
/// sandbox) it is made from the clock, the process number and addresses, and can be guessed with effort: do not
/// use it as a secret.
std::uint64_t RandomNumber();

/// `bytes` random bytes as lower-case hexadecimal digits, from the system's source of randomness.
/// Throws std::system_error when the system has none to give.
std::string RandomHexDigits(std::size_t bytes);

}  // namespace Posix
