#pragma once

#include <string_view>

namespace Posix {

/// Whether every byte is below 80.
bool IsAscii(std::string_view bytes);

/// Whether the bytes are whole, shortest-form characters, none of them a surrogate or above U+10FFFF.
bool IsUtf8(std::string_view bytes);

/// The simple case folding of one code point (Unicode's default, no locale): 'A' gives 'a', U+212A
/// (Kelvin sign) gives 'k'; code points without one, and numbers above U+10FFFF, are returned
/// unchanged.
char32_t FoldCase(char32_t codePoint);

}  // namespace Posix
