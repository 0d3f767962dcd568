#include <fstream>
#include <map>
#include <sstream>
#include <vector>

#include <gtest/gtest.h>

#include "Posix/Encodings.h"

namespace {

using namespace std::string_literals;

// What a failed decoding is compared with.
const std::string kInvalid = "(invalid)";

std::string Decoded(std::uint32_t encoding, std::string_view bytes) {
  std::string storage;
  return std::string(Posix::DecodeNumbered(encoding, bytes, storage).value_or(kInvalid));
}

std::string Bytes(unsigned first) {
  return {static_cast<char>(first)};
}

std::string Utf8Of(unsigned codePoint) {
  const auto tail = [codePoint](unsigned shift) {
    return static_cast<char>(0x80U | (codePoint >> shift & 0x3FU));
  };
  if (codePoint < 0x80) return {static_cast<char>(codePoint)};
  if (codePoint < 0x800) return {static_cast<char>(0xC0U | codePoint >> 6U), tail(0)};
  return {static_cast<char>(0xE0U | codePoint >> 12U), tail(6), tail(0)};
}

// The rows of a fixture: a number, then the text of each place.
std::map<unsigned, std::vector<std::string>> ReadRows(const std::string& file, std::ios::fmtflags base) {
  std::ifstream input(OX_SOURCE_DIR "/Tests/Fixtures/Encodings/" + file);
  std::map<unsigned, std::vector<std::string>> rows;
  for (std::string line; std::getline(input, line);) {
    std::istringstream words(line);
    unsigned number = 0;
    words.setf(base, std::ios::basefield);
    words >> number;
    for (std::string word; words >> word;) {
      rows[number].push_back(word == "-" ? kInvalid
                                         : Utf8Of(static_cast<unsigned>(std::stoul(word, nullptr, 16))));
    }
  }
  return rows;
}

TEST(Encodings, SingleBytesReadAsInTheirTables) {
  const auto rows = ReadRows("single-bytes.txt", std::ios::dec);
  ASSERT_GE(rows.size(), 16U);
  for (const auto& [encoding, texts] : rows) {
    ASSERT_EQ(texts.size(), 128U);
    for (unsigned byte = 0; byte < 256; ++byte) {
      const std::string expected = byte < 128 ? Utf8Of(byte) : texts[byte - 128];
      // The second byte keeps the ASCII half from being taken for plain ASCII text.
      EXPECT_EQ(Decoded(encoding, Bytes(byte)), expected) << encoding << ' ' << byte;
      if (byte < 128) {
        EXPECT_EQ(Decoded(encoding, Bytes(byte) + '\xE1'), expected + texts[0x61])
            << encoding << ' ' << byte;
      }
    }
  }
}

std::string ExpectedMacJapaneseByte(unsigned byte) {
  const std::map<unsigned, unsigned> special = {{0x5C, 0xA5}, {0x80, '\\'},   {0xA0, 0xA0},
                                                {0xFD, 0xA9}, {0xFE, 0x2122}, {0xFF, 0x2026}};
  if (special.count(byte) != 0) return Utf8Of(special.at(byte));
  if (byte < 0x80) return Utf8Of(byte);
  return byte > 0xA0 && byte < 0xE0 ? Utf8Of(0xFF61 + byte - 0xA1) : kInvalid;
}

TEST(Encodings, MacJapaneseReadsAsInItsTable) {
  const auto rows = ReadRows("mac-japanese-pairs.txt", std::ios::hex);
  ASSERT_EQ(rows.size(), 39U);
  for (unsigned lead = 0; lead < 256; ++lead) {
    const std::string single = ExpectedMacJapaneseByte(lead);
    EXPECT_EQ(Decoded(Posix::kMacJapanese, Bytes(lead)), single) << lead;
    if (single != kInvalid) continue;
    for (unsigned trail = 0; trail < 256; ++trail) {
      const bool place = rows.count(lead) != 0 && trail >= 0x40 && trail <= 0xFC;
      EXPECT_EQ(Decoded(Posix::kMacJapanese, Bytes(lead) + Bytes(trail)),
                place ? rows.at(lead)[trail - 0x40] : kInvalid)
          << std::hex << lead << ' ' << trail;
    }
  }
}

TEST(Encodings, AsciiAndUnknownNumbersAreStrict) {
  EXPECT_EQ(Decoded(Posix::kAscii, "a\0\x7F"s), "a\0\x7F"s);
  EXPECT_EQ(Decoded(Posix::kAscii, "a\x80"), kInvalid);
  for (const std::uint32_t unknown : {2U, 512U, 524U, 528U, 0xFFFFFFFFU})
    EXPECT_EQ(Decoded(unknown, "a"), kInvalid);
}

TEST(Encodings, Utf8IsStrict) {
  const std::string valid[] = {
      "", "\xC2\x80\xDF\xBF", "\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF",
      "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", std::string(33, 'a') + "\xC3\xA9" + std::string(64, 'b')};
  for (const std::string& text : valid) EXPECT_EQ(Decoded(Posix::kUtf8, text), text);
  EXPECT_EQ(Decoded(Posix::kUtf8, "\xEF\xBB\xBF"), "");
  EXPECT_EQ(Decoded(Posix::kUtf8, "\xEF\xBB\xBF\xEF\xBB\xBFx"), "\xEF\xBB\xBFx");
  const std::string invalid[] = {"\x80",
                                 "\xEF\xBB",
                                 "\xC3",
                                 "\xF0\x90\x80",
                                 "\xC1\xBF",
                                 "\xE0\x9F\xBF",
                                 "\xED\xA0\x80",
                                 "\xF0\x8F\xBF\xBF",
                                 "\xF4\x90\x80\x80",
                                 "\xF5\x80\x80\x80",
                                 "\xC3(",
                                 "\xE2\x82(",
                                 "\xF0\x9F\x98(",
                                 std::string(70, 'a') + "\xFF",
                                 "\xFF" + std::string(70, 'a')};
  for (const std::string& text : invalid) {
    // A character cut off by the end must not be completed by what lies behind it.
    const std::string longer = text + "\x80\x80\x80";
    EXPECT_EQ(Decoded(Posix::kUtf8, std::string_view(longer).substr(0, text.size())), kInvalid)
        << testing::PrintToString(text);
  }
}

std::string DecodedUtf16(std::string_view bytes) {
  std::string storage;
  return std::string(Posix::DecodeUtf16(bytes, storage).value_or(kInvalid));
}

TEST(Encodings, Utf16FollowsItsMark) {
  const std::map<std::string, std::string> cases = {{"\xFE\xFF\0x\xD8\x3D\xDE\0"s, "x\xF0\x9F\x98\x80"},
                                                    {"\xFF\xFEx\0\x3D\xD8\0\xDE"s, "x\xF0\x9F\x98\x80"},
                                                    {"\xFE\xFF", ""},
                                                    {"\xFF\xFE\0\0x\0"s, "\0x"s},
                                                    {"\xFE\xFE\0x"s, "\xEF\xBB\xBEx"},
                                                    {"\xFF\xFF\0x"s, "\xEF\xBF\xBFx"},
                                                    {"\xFE\xFF\0"s, kInvalid},
                                                    {"\xFE\xFF\xD8\x3D"s, kInvalid},
                                                    {"\xFE\xFF\xD8\x3D\0x"s, kInvalid},
                                                    {"\xFE\xFF\xDE\0\0x"s, kInvalid}};
  for (const auto& [bytes, text] : cases)
    EXPECT_EQ(DecodedUtf16(bytes), text) << testing::PrintToString(bytes);
}

// Surrogate pairs straddle the pieces in which long text is converted.
TEST(Encodings, LongUtf16IsWhole) {
  std::string bytes = "\xFE\xFF";
  std::string text;
  while (bytes.size() < 2'500'000) {
    bytes += "\xD8\x3D\xDE\x00"s;
    text += "\xF0\x9F\x98\x80";
  }
  EXPECT_TRUE(DecodedUtf16(bytes) == text);
}

std::string DecodedNamed(const std::string& charset, std::string_view bytes) {
  std::string storage;
  return std::string(Posix::DecodeNamed(charset, bytes, storage).value_or(kInvalid));
}

TEST(Encodings, NamesOpenOnlyWhatTheyName) {
  EXPECT_EQ(DecodedNamed("KOI8-R", "\xC1"), "\xD0\xB0");
  EXPECT_EQ(DecodedNamed("gb18030", "\x81\x30\x81\x30"), "\xC2\x80");
  EXPECT_EQ(DecodedNamed("EUC-JP", "\xA4"), kInvalid);
  for (const std::string& refused :
       {""s, "no-such-set"s, "ibm-37,swaplfnl"s, "../utf-8"s, "utf-8\0"s, std::string(5000, 'a')}) {
    EXPECT_EQ(DecodedNamed(refused, "a"), kInvalid) << refused;
  }
}

TEST(Encodings, RoomIsMadeOnceForTheWidestText) {
  std::string bytes;
  for (int i = 0; i < 100; ++i) bytes += "\0\1\xF6\0"s;
  std::string storage;
  EXPECT_EQ(Posix::DecodeNamed("UTF-32BE", bytes, storage).value_or(kInvalid).size(), 400U);
  EXPECT_LT(storage.capacity(), 500U);
}

}  // namespace
