#pragma once

#include <cstdint>

namespace Posix {

/// An unpredictable number from the system's source of randomness. Where that fails (a very old kernel, a
/// sandbox) it is made from the clock, the process number and addresses, and can be guessed with effort: do not
/// use it as a secret.
std::uint64_t RandomNumber();

}  // namespace Posix
