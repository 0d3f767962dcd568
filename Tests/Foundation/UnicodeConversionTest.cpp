#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Foundation/UnicodeConversion.h"

namespace {

std::string Encode(unsigned long codePoint) {
  unsigned char bytes[4];
  const std::size_t length = UnicodeCharToUTF8(codePoint, bytes);
  return {reinterpret_cast<const char*>(bytes), length};
}

TEST(UnicodeConversion, EveryCodePointSurvivesOrIsReplaced) {
  for (unsigned long c = 0; c <= 0x110010; ++c) {
    const bool replaced = (c >= 0xD800 && c <= 0xDFFF) || c == 0xFFFE || c == 0xFFFF || c > 0x10FFFF;
    const std::string bytes = Encode(c);
    unsigned short length = 0;
    const unsigned long decoded =
        UTF8CharToUnicode(reinterpret_cast<const unsigned char*>(bytes.data()), length);
    unsigned short units[2];
    const unsigned short unitCount = UnicodeCharToUTF16(c, units);
    unsigned short read = 0;
    if (decoded != (replaced ? 0xFFFD : c) || length != bytes.size() ||
        UTF16CharToUnicode(units, unitCount, read) != decoded || read != unitCount ||
        GetUTF16SequenceLength(c) != unitCount) {
      FAIL() << "code point " << c;
    }
  }
}

TEST(UnicodeConversion, SequenceLengthsByLead) {
  for (unsigned lead = 0; lead < 256; ++lead) {
    const int expected = lead < 0x80   ? 1
                         : lead < 0xC0 ? 0
                         : lead < 0xE0 ? 2
                         : lead < 0xF0 ? 3
                         : lead < 0xF8 ? 4
                                       : 0;
    EXPECT_EQ(GetUTF8SequenceLength(static_cast<unsigned char>(lead)), expected);
  }
}

TEST(UnicodeConversion, LeadsThatBeginNothing) {
  const unsigned char continuation[4] = {0x80};
  const unsigned char beyond[4] = {0xF8};
  unsigned short length = 7;
  EXPECT_THROW(UTF8CharToUnicode(continuation, length), InvalidEncoding);
  EXPECT_EQ(UTF8CharToUnicode(beyond, length), 0xFFFDU);
  EXPECT_EQ(length, 7);
  const unsigned char tooHigh[] = {0xF4, 0x90, 0x80, 0x80};
  EXPECT_THROW(ConvertUTF8ToUTF16(tooHigh, nullptr, 1), InvalidEncoding);
}

TEST(UnicodeConversion, SurrogatesNeedTheirPartnerExceptAtTheEnd) {
  struct Case {
    std::vector<unsigned short> units;
    const char* utf8;  // Null: refused.
    std::size_t codePoints;
  };
  const Case cases[] = {{{0xD83D, 0xDE00}, "\xF0\x9F\x98\x80", 1},
                        {{0xDC00, 0x41}, nullptr, 0},
                        {{0xD800, 0x41}, nullptr, 0},
                        {{0x41, 0xD800}, "A\xEF\xBF\xBD", 2},
                        {{0x41, 0xDC00}, "A\xEF\xBF\xBD", 2}};
  for (const Case& c : cases) {
    std::vector<unsigned char> out(4 * c.units.size());
    std::size_t codePoints = 0;
    if (c.utf8 == nullptr) {
      EXPECT_THROW(ConvertUTF16ToUTF8(c.units.data(), out.data(), c.units.size(), codePoints),
                   InvalidEncoding);
      continue;
    }
    const std::size_t bytes = ConvertUTF16ToUTF8(c.units.data(), out.data(), c.units.size(), codePoints);
    EXPECT_EQ(std::string(out.begin(), out.begin() + static_cast<std::ptrdiff_t>(bytes)), c.utf8);
    EXPECT_EQ(codePoints, c.codePoints);
  }
}

TEST(UnicodeConversion, WhitespaceIsAsciiOnly) {
  for (int c = -300; c <= 300; ++c) {
    EXPECT_EQ(IsWhitespace(c), (c >= 0 && c <= 0x20) || c == 0x7F) << c;
  }
}

}  // namespace
