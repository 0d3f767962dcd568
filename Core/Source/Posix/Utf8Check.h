#pragma once

#include <string_view>

namespace Posix {

/// Whether every byte is below 80.
bool IsAscii(std::string_view bytes);

/// Whether the bytes are whole, shortest-form characters, none of them a surrogate or above U+10FFFF.
bool IsUtf8(std::string_view bytes);

}  // namespace Posix
