#include <cstdlib>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "Archive/Scramble.h"

namespace {

std::string Keystream(unsigned long seed, std::size_t length) {
  std::string bytes(length, '\0');
  scramble(seed, bytes.data(), bytes.data(), bytes.size());
  return bytes;
}

std::uint32_t Word(const std::string& stream, std::size_t number) {
  std::uint32_t word = 0;
  for (std::size_t i = 4; i > 0; --i) {
    word = (word << 8) | static_cast<unsigned char>(stream[4 * number + i - 1]);
  }
  return word;
}

// The values come from the published generator and from an independent computation.
TEST(Scramble, KeystreamIsThatOfThe1998Generator) {
  EXPECT_EQ(Word(Keystream(4357, 4000), 999), 1030650439U);
  const std::string ours = Keystream(kScrambleSeed, 2500);
  EXPECT_EQ(Word(ours, 0), 0x40752387U);
  EXPECT_EQ(Word(ours, 3), 0x97724075U);
  EXPECT_EQ(Word(ours, 623), 0x2470C230U);
  EXPECT_EQ(Word(ours, 624), 0x07D077E1U);
  EXPECT_EQ(Keystream(static_cast<unsigned long>(0x100000000 + kScrambleSeed), 8), ours.substr(0, 8))
      << "32 bits of seed";
  EXPECT_EQ(WobScrambleData("hello world", 11, true).ConvertToHex().view(), "EF46192C15BB634D663490");
}

TEST(Scramble, TwiceIsNothingAtEveryLengthAndInPieces) {
  for (const std::size_t length : {0U, 1U, 4U, 5U, 2495U, 2496U, 2497U, 2499U, 6001U}) {
    const std::string text(length, 'x');
    const OxBuffer whole = WobScrambleData(text.data(), length, false);
    ASSERT_EQ(WobScrambleData(whole, true).view(), text);
    std::string pieces(text);
    {
      ScrambleStream stream;
      for (std::size_t at = 0; at < length; at += 1000) {
        stream.Process(&pieces[at], &pieces[at], std::min<std::size_t>(1000, length - at));
      }
    }
    EXPECT_EQ(whole.view(), pieces) << length;
  }
  EXPECT_TRUE(WobScrambleData(nullptr, 0, true).empty());
  unsigned char* out = nullptr;
  WobScrambleString(reinterpret_cast<const unsigned char*>("hello"), out, 5);
  const std::unique_ptr<unsigned char, decltype(&std::free)> owner(out, &std::free);
  EXPECT_EQ(std::string(out, out + 5), "\xEF\x46\x19\x2C\x15");
}

}  // namespace
