#pragma once

#include <cstddef>
#include <string_view>

// Comparing and hashing without making an OxString of the bytes, which must be acceptable to one.

/// OxString::compare() ignoring case.
int CompareNoCase(std::string_view a, std::string_view b);

/// A hash that is equal for any two texts with the same characters, without regard to letter case. The key
/// is drawn anew in each process, so that nobody can choose texts that collide: do not store the hash.
std::size_t HashNoCase(std::string_view utf8);

/// What OxString::compare() is made of; each gives -1, 0 or 1, and `fold` ignores letter case.
namespace StringComparison {

int Ascii(std::string_view a, std::string_view b, bool fold);  ///< Texts of bytes below 80 only.
/// By UTF-16 code units; 1 as well when a text has a character above U+10FFFF.
int Utf16(std::string_view a, std::string_view b, bool fold);

}  // namespace StringComparison
