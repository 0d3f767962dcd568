#include "Foundation/UnicodeConversion.h"

#include <cctype>

namespace {

constexpr unsigned long kReplacement = 0xFFFD;
constexpr unsigned long kLastCodePoint = 0x10FFFF;
constexpr unsigned long kFirstSupplementary = 0x10000;

bool IsSurrogate(unsigned long codePoint) {
  return codePoint >= 0xD800 && codePoint <= 0xDFFF;
}
bool IsHighSurrogate(unsigned long unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}
bool IsLowSurrogate(unsigned long unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

unsigned long Encodable(unsigned long codePoint) {
  const bool excluded =
      IsSurrogate(codePoint) || codePoint == 0xFFFE || codePoint == 0xFFFF || codePoint > kLastCodePoint;
  return excluded ? kReplacement : codePoint;
}

}  // namespace

unsigned short UnicodeCharToUTF8(unsigned long codePoint, unsigned char* out) {
  const unsigned long c = Encodable(codePoint);
  if (c < 0x80) {
    out[0] = static_cast<unsigned char>(c);
    return 1;
  }
  if (c < 0x800) {
    out[0] = static_cast<unsigned char>(0xC0 | c >> 6);
    out[1] = static_cast<unsigned char>(0x80 | (c & 0x3F));
    return 2;
  }
  if (c < kFirstSupplementary) {
    out[0] = static_cast<unsigned char>(0xE0 | c >> 12);
    out[1] = static_cast<unsigned char>(0x80 | (c >> 6 & 0x3F));
    out[2] = static_cast<unsigned char>(0x80 | (c & 0x3F));
    return 3;
  }
  out[0] = static_cast<unsigned char>(0xF0 | c >> 18);
  out[1] = static_cast<unsigned char>(0x80 | (c >> 12 & 0x3F));
  out[2] = static_cast<unsigned char>(0x80 | (c >> 6 & 0x3F));
  out[3] = static_cast<unsigned char>(0x80 | (c & 0x3F));
  return 4;
}

unsigned short GetUTF16SequenceLength(unsigned long codePoint) {
  return Encodable(codePoint) >= kFirstSupplementary ? 2 : 1;
}

unsigned short UnicodeCharToUTF16(unsigned long codePoint, unsigned short* out) {
  const unsigned long c = Encodable(codePoint);
  if (c < kFirstSupplementary) {
    out[0] = static_cast<unsigned short>(c);
    return 1;
  }
  out[0] = static_cast<unsigned short>(0xD800 + ((c - kFirstSupplementary) >> 10));
  out[1] = static_cast<unsigned short>(0xDC00 + (c & 0x3FF));
  return 2;
}

unsigned long UTF16CharToUnicode(const unsigned short* p, std::size_t units, unsigned short& length) {
  const unsigned long unit = p[0];
  length = 1;
  if (!IsSurrogate(unit) || units < 2) return unit;
  if (!IsHighSurrogate(unit) || !IsLowSurrogate(p[1])) throw InvalidEncoding();
  length = 2;
  return ((unit - 0xD800) << 10) + p[1] + 0x2400;
}

// Unlike the one-character conversion this one substitutes nothing below U+10000: what was stored
// as UTF-8 comes out as it is.
std::size_t ConvertUTF8ToUTF16(const unsigned char* in, unsigned short* out, std::size_t count) {
  std::size_t units = 0;
  for (std::size_t i = 0; i < count; ++i) {
    unsigned short length = 1;
    const unsigned long c = UTF8CharToUnicode(in, length);
    in += length;
    if (c > kLastCodePoint) throw InvalidEncoding();
    if (c < kFirstSupplementary) {
      if (out != nullptr) out[units] = static_cast<unsigned short>(c);
      ++units;
      continue;
    }
    if (out != nullptr) UnicodeCharToUTF16(c, out + units);
    units += 2;
  }
  return units;
}

std::size_t ConvertUTF16ToUTF8(const unsigned short* in, unsigned char* out, std::size_t units,
                               std::size_t& codePoints) {
  codePoints = units;
  std::size_t bytes = 0;
  for (std::size_t i = 0; i < units;) {
    unsigned short length = 1;
    const unsigned long c = UTF16CharToUnicode(in + i, units - i, length);
    if (length == 2) --codePoints;
    i += length;
    bytes += UnicodeCharToUTF8(c, out + bytes);
  }
  return bytes;
}

bool IsWhitespace(int c) {
  return c >= 0 && c <= 127 && std::isgraph(c) == 0;
}
