#pragma once

#include <cstddef>
#include <string_view>

#include "Foundation/UnicodeConversion.h"

/// UTF-8 primitives; `char` pointers throughout.
namespace StringWalk {

/// Whether a byte continues a character.
inline bool IsContinuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/// Bytes of the character at `p`; throws InvalidUtf8 for a byte that cannot begin one.
inline unsigned short SequenceLength(const char* p) {
  const unsigned short length = GetUTF8SequenceLength(static_cast<unsigned char>(*p));
  if (length == 0) throw InvalidUtf8();
  return length;
}

/// The code point at `p`, whose bytes are all there; throws InvalidEncoding for a byte that cannot begin one.
inline unsigned long Decode(const char* p) {
  unsigned short length = 0;
  return UTF8CharToUnicode(reinterpret_cast<const unsigned char*>(p), length);
}

bool IsAscii(std::string_view utf8);  ///< Whether every byte is below 80.

/// The number of characters in acceptable bytes: those that do not continue one.
std::size_t CountCharacters(std::string_view utf8);

/// Whether the bytes are acceptable to the string, and how many characters they hold.
bool Validate(std::string_view utf8, std::size_t& codePoints);

/// Whether a string can be made of the bytes, such as a name that comes from a disk.
bool IsAcceptable(std::string_view utf8);

}  // namespace StringWalk
