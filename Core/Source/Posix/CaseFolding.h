#pragma once

namespace Posix {

/// The simple case folding of one code point (Unicode's default, no locale): 'A' gives 'a', U+212A
/// (Kelvin sign) gives 'k'; code points without one, and numbers above U+10FFFF, are returned
/// unchanged.
char32_t FoldCase(char32_t codePoint);

}  // namespace Posix
