#include <span>
#include <string>

#include <gtest/gtest.h>

#include "Utilities/TextDecoding.h"

namespace {

using namespace std::string_literals;

constexpr unsigned int kUnknown = kWobEncodingUnknown;
constexpr unsigned int kUtf8 = 0x08000100;

struct DecodingCase {
  std::string bytes;
  unsigned int encoding;
  std::string text;
  unsigned int used;
  std::string printed;
};

const std::string kLossy = "Could not load using encoding 'unknown'; falling back to lossy ASCII";

const DecodingCase kMarks[] = {
    {"", 42, "", 42, ""},
    {"\xFF\xFEx\0"s, kUtf8, "x", kUnknown, ""},
    {"\xFE\xFF\0x"s, 0, "x", kUnknown, ""},
    {"\xFE\xFE\0x"s, 0, "\xEF\xBB\xBEx", kUnknown, ""},
    {"\xFF\xFE", 0, "", kUnknown, ""},
    {"\xEF\xBB\xBF<?xml encoding='Shift_JIS'?>", 0, "<?xml encoding='Shift_JIS'?>", kUnknown, ""},
    {"\xEF\xA3\xBF", 513, "\xEF\xA3\xBF", kUnknown, ""},
    // One byte is no mark.
    {"\xEF", kUnknown, "\xC3\x94", 0, ""},
    {"\xFF", kUnknown, "\xCB\x87", 0, ""},
    // What is not valid behind its mark is read as it stands, zeros and all.
    {"\xEFx\0"s, 0, "\xC3\x94x\0"s, kUnknown, kLossy},
    {"\xFF\xFEx", 0, "\xCB\x87\xCB\x9Bx", kUnknown, kLossy},
};

const DecodingCase kDeclaredAndGiven[] = {
    {"\xC3\xA9", kUnknown, "\xE2\x88\x9A\xC2\xA9", 0, ""},
    {"\xC3\xA9", kUtf8, "\xC3\xA9", kUtf8, ""},
    {"\xE9", 513, "\xC3\xA9", 513, ""},
    {"<?xml encoding=\"utf-8\"?>\xC3\xA9", 513, "<?xml encoding=\"utf-8\"?>\xC3\xA9", kUtf8, ""},
    {"<?xml encoding=\"UTF-16\"?>\x8E", kUtf8, "<?xml encoding=\"UTF-16\"?>\xC3\xA9", 0, ""},
    {"<META charset=windows-1252>\x80", kUnknown, "<META charset=windows-1252>\xE2\x82\xAC", 1280, ""},
    {"<?encoding=Shift_JIS>\\\x93\xFA\xB1", kUnknown, "<?encoding=Shift_JIS>\\\xE6\x97\xA5\xEF\xBD\xB1",
     1, ""},
};

const DecodingCase kFallbacks[] = {
    {"\xC3\xA9", 1536, "\xC3\xA9", kUtf8, ""},
    {"a\\", 999, "a\\", kUtf8, ""},
    {"\x93\xFA\\", 1536, "\xE6\x97\xA5\\", 1, ""},
    {"\x93\xFA", kUtf8, "\xE6\x97\xA5", 1, ""},
    {"\x93\xFA\x93", kUtf8, "\xC3\xAC\xCB\x99\xC3\xAC", 0, ""},
    {"\x93", 1, "\xC3\xAC", 0, ""},
    {"<?encoding='windows-1252'?>\x81\xFF", 0, "<?encoding='windows-1252'?>\xC3\x85\xCB\x87", 0, ""},
};

const DecodingCase kZeros[] = {
    {"a\0b"s, kUnknown, "a b", 0, "Encoded string needs fixing (length 3, strlen 1)"},
    {"\0"s, kUtf8, " ", kUtf8, "Encoded string needs fixing (length 1, strlen 0)"},
    {"\xFE\xFF\0a\0\0\xD8\x3D\xDE\0"s, 0, "a \xF0\x9F\x98\x80", kUnknown,
     "Encoded string needs fixing (length 4, strlen 1)"},
    {"<\0?\0"s, kUnknown, "< ? ", 0, "Encoded string needs fixing (length 4, strlen 1)"},
    {"\\\0\\"s, 1, "\\ \\", 1, "Encoded string needs fixing (length 3, strlen 1)"},
    // Five units are no more than the six bytes before the zero.
    {"\xC3\xA9\xC3\xA9\xC3\xA9\0x"s, kUtf8, "\xC3\xA9\xC3\xA9\xC3\xA9\0x"s, kUtf8, ""},
    {"\xC3\xA9\xC3\xA9\0xy"s, kUtf8, "\xC3\xA9\xC3\xA9 xy", kUtf8,
     "Encoded string needs fixing (length 5, strlen 4)"},
};

void ExpectDecoded(std::span<const DecodingCase> rows) {
  for (const DecodingCase& row : rows) {
    unsigned int encoding = row.encoding;
    testing::internal::CaptureStdout();
    const OxString text =
        WobHandleCharacterEncodings(OxBuffer(row.bytes.data(), row.bytes.size()), encoding);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), row.printed);
    EXPECT_EQ(text.view(), row.text) << testing::PrintToString(row.bytes);
    EXPECT_EQ(encoding, row.used) << testing::PrintToString(row.bytes);
  }
}

TEST(TextDecoding, ReadsWhatTheBytesMean) {
  ExpectDecoded(kMarks);
  ExpectDecoded(kDeclaredAndGiven);
  ExpectDecoded(kFallbacks);
  ExpectDecoded(kZeros);
}

TEST(TextDecodingHelpers, KeepTheirOddAnswers) {
  OxString text("before");
  EXPECT_EQ(WobConvertToUTF8(kUtf8, "\xC3", 1, text), 1);
  EXPECT_EQ(text.view(), "before");
  EXPECT_EQ(WobConvertToUTF8(1, "\\\xA5", 2, text), 1);
  EXPECT_EQ(text.view(), "\xC2\xA5\xEF\xBD\xA5");
  EXPECT_EQ(WobConvertToUTF8(0, nullptr, 0, text), 1);
  EXPECT_TRUE(text.empty());
  testing::internal::CaptureStdout();
  EXPECT_EQ(WobCheckForExplicitEncoding(nullptr), kUnknown);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "WobCheckForExplicitEncoding: got nil input");
  EXPECT_EQ(WobGetWobFileEncoding(), kUnknown);
  WobSetWobFileEncoding(513);
  EXPECT_EQ(WobGetWobFileEncoding(), 513U);
}

TEST(TextDecodingHelpers, CharsetNamesComeFromTheTableFirst) {
  const std::pair<const char*, const char*> cases[] = {{"macintosh", "\xC3\x98"},
                                                       {"Windows-1252", "\xC2\xAF"},
                                                       {"koi8-r", "\xE2\x95\x9E"},
                                                       {"us-ascii", ""},
                                                       {"ISO-8859-12", ""},
                                                       {"unheard-of", ""},
                                                       {"utf-8", ""},
                                                       {"", ""}};
  for (const auto& [name, text] : cases)
    EXPECT_EQ(WobDecodeUsingCharset(OxBuffer("\xAF"), name).view(), text) << name;
  // Whatever name an encoding is called by, its holes stay holes and a mark is no text.
  EXPECT_EQ(WobDecodeUsingCharset(OxBuffer("\x81"), "cp1252"), "");
  EXPECT_EQ(WobDecodeUsingCharset(OxBuffer("\xEF\xBB\xBFx"), "utf8"), "x");
  EXPECT_EQ(WobDecodeUsingCharset(OxBuffer("\xFF\xFEx\0", 4), "utf-16le"), "x");
  EXPECT_EQ(WobDecodeUsingCharset(OxBuffer("\xFF\xFE\xFF\xFE", 4), "utf-16"), "\xEF\xBB\xBF");
}

}  // namespace
