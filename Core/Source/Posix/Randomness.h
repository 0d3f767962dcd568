#pragma once

#include <cstdint>

namespace Posix {

/// A number that others can't foresee, from the system. Without its help, which takes a very old kernel or a
/// sandbox, it is made of clock, process and addresses, and can be guessed with effort: never make a secret
/// of it.
std::uint64_t RandomNumber();

}  // namespace Posix
