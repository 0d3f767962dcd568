#pragma once

#include <cstddef>

// Conversions between code points, UTF-8 and UTF-16, shared by the string and the XML scanner.
// Bytes are `unsigned char`, UTF-16 code units `unsigned short` in machine order, code points
// `unsigned long`.

/// Bytes or code units that are not acceptable text.
class InvalidEncoding {};
/// OxString::InvalidEncoding, another class: bytes that a string does not accept.
class InvalidUtf8 {};

/// 1 for 00-7F, 2 for C0-DF, 3 for E0-EF, 4 for F0-F7; 0 for a continuation byte and for F8-FF.
inline unsigned short GetUTF8SequenceLength(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead < 0xC0) return 0;
  if (lead < 0xE0) return 2;
  if (lead < 0xF0) return 3;
  return lead < 0xF8 ? 4 : 0;
}

/// Decodes the character at `p` and sets `length` to its bytes. The following bytes are not examined.
/// Throws InvalidEncoding for a continuation byte. Deliberate: a lead byte of F8-FF returns U+FFFD and leaves
/// `length` unchanged.
inline unsigned long UTF8CharToUnicode(const unsigned char* p, unsigned short& length) {
  constexpr unsigned long kReplacement = 0xFFFD;
  const auto bits = [p](int index) { return p[index] & 0x3FUL; };
  const unsigned char lead = p[0];
  if (lead >= 0xF8) return kReplacement;
  if (lead >= 0x80 && lead < 0xC0) throw InvalidEncoding();
  length = GetUTF8SequenceLength(lead);
  if (length == 1) return lead;
  if (length == 2) return (lead & 0x1FUL) << 6 | bits(1);
  if (length == 3) return (lead & 0x0FUL) << 12 | bits(1) << 6 | bits(2);
  return (lead & 0x07UL) << 18 | bits(1) << 12 | bits(2) << 6 | bits(3);
}

/// Writes 1 to 4 bytes and returns their number. Surrogates, U+FFFE, U+FFFF and anything above
/// U+10FFFF are written as U+FFFD.
unsigned short UnicodeCharToUTF8(unsigned long codePoint, unsigned char* out);

/// Converts `count` characters; `out` may be null to count only. Returns the code units. Throws
/// InvalidEncoding for a code point above U+10FFFF and where UTF8CharToUnicode() does.
std::size_t ConvertUTF8ToUTF16(const unsigned char* in, unsigned short* out, std::size_t count);

/// Converts `units` code units (at most 4 bytes each) and returns the bytes written; `codePoints`
/// receives the number of characters. Throws InvalidEncoding for a surrogate out of its pair, but one
/// that is the very last unit becomes U+FFFD.
std::size_t ConvertUTF16ToUTF8(const unsigned short* in, unsigned char* out, std::size_t units,
                               std::size_t& codePoints);

/// Code units of a code point: 2 for U+10000 to U+10FFFF, else 1.
unsigned short GetUTF16SequenceLength(unsigned long codePoint);

/// Writes 1 or 2 code units and returns their number, with the substitutions of UnicodeCharToUTF8().
unsigned short UnicodeCharToUTF16(unsigned long codePoint, unsigned short* out);

/// Decodes the character at `p`, of which `units` code units are left, and sets `length` to the units
/// it takes. Throws InvalidEncoding as ConvertUTF16ToUTF8() does; a last lone surrogate is returned as it is.
unsigned long UTF16CharToUnicode(const unsigned short* p, std::size_t units, unsigned short& length);

/// ASCII white space as the string sees it: 0x00 to 0x20 and 0x7F. Nothing else is white space.
bool IsWhitespace(int c);
