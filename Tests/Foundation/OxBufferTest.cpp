#include <cerrno>
#include <string>

#include <gtest/gtest.h>

#include "Foundation/OxBuffer.h"
#include "Support/FaultyFileOps.h"
#include "Support/TemporaryFolder.h"
#include "Support/Text.h"

namespace {

using Support::Text;

TEST(OxBuffer, CapacityFollowsTheGrowthRule) {
  struct Step {
    std::size_t length;
    std::uint32_t capacity;
  };
  // First storage, growth past the capacity, a length that fits, below half of the length, nothing.
  const Step steps[] = {{5, 15}, {16, 24}, {12, 24}, {6, 24}, {3, 24},
                        {2, 24}, {24, 24}, {11, 21}, {0, 0}};
  OxBuffer buffer;
  for (const Step& step : steps) {
    buffer.SetLength(step.length);
    EXPECT_EQ(buffer.length(), step.length);
    EXPECT_EQ(buffer.capacity(), step.capacity) << "after SetLength(" << step.length << ")";
  }
  EXPECT_EQ(buffer.data(), nullptr);

  OxBuffer shrinking("abcdefghijkl");
  EXPECT_EQ(shrinking.capacity(), 12U);
  shrinking.SetLength(3);
  EXPECT_EQ(shrinking.capacity(), 13U);
  EXPECT_EQ(Text(shrinking), "abc");
}

TEST(OxBuffer, LengthsThatNoMemoryHoldsAreRefusedWhole) {
  OxBuffer buffer("kept");
  constexpr std::size_t kTooLong =
      sizeof(std::size_t) > 4 ? static_cast<std::size_t>(std::uint64_t{1} << 32) : SIZE_MAX;
  EXPECT_THROW(buffer.SetLength(kTooLong), std::bad_alloc);
  for (const std::size_t count : {std::size_t{0xFFFFFFFF}, static_cast<std::size_t>(-1)}) {
    EXPECT_THROW(buffer.Append("x", count), std::bad_alloc);
    EXPECT_THROW(buffer.Replace({1, 0}, "x", count), std::bad_alloc);
  }
  EXPECT_THROW(OxBuffer(-1), std::bad_alloc);
  EXPECT_EQ(Text(buffer), "kept");
}

TEST(OxBuffer, RemoveAndReplaceMoveTheTail) {
  OxBuffer buffer("0123456789");
  buffer.Remove(8, 5);
  EXPECT_EQ(Text(buffer), "01234567");
  buffer.Remove(8, 1);
  buffer.Replace({2, 3}, "ABCDEF", 6);
  EXPECT_EQ(Text(buffer), "01ABCDEF567");
  buffer.Replace({2, 6}, "-", 1);
  EXPECT_EQ(Text(buffer), "01-567");
  buffer.Replace({0, 2}, nullptr, 0);
  EXPECT_EQ(Text(buffer), "-567");
  EXPECT_THROW(buffer.Replace({2, 3}, "x", 1), OxBuffer::OutOfRange);
  EXPECT_THROW(buffer.Replace({0xFFFFFFFF, 2}, "x", 1), OxBuffer::OutOfRange);
  buffer.Remove(0, 99);
  EXPECT_EQ(buffer.data(), nullptr);
}

TEST(OxBuffer, SourcesInsideTheOwnStorageWork) {
  OxBuffer buffer("abc");
  for (int i = 0; i < 6; ++i) buffer.Append(buffer);
  EXPECT_EQ(buffer.length(), 192U);
  EXPECT_EQ(Text(buffer).substr(96, 6), "abcabc");
  buffer.Assign(buffer.data() + 1, 4);
  EXPECT_EQ(Text(buffer), "bcab");
  buffer.Replace({1, 1}, buffer.data(), 4);
  EXPECT_EQ(Text(buffer), "bbcabab");
}

TEST(OxBuffer, AZeroIsANumber) {
  OxBuffer buffer(0);
  EXPECT_EQ(buffer.data(), nullptr);
  buffer.Append(0);
  buffer += 0;
  EXPECT_EQ(Text(buffer), std::string(2, '\0'));
}

TEST(OxBuffer, NullIsNoBytes) {
  const char* const nothing = nullptr;
  OxBuffer buffer("abc");
  buffer.Append(nothing);
  EXPECT_EQ(Text(buffer), "abc");
  buffer.Assign(nothing, 3);
  EXPECT_TRUE(buffer.empty());
  buffer.Assign(nothing);
  EXPECT_TRUE(buffer.empty());
}

TEST(OxBuffer, IndexIsCheckedAgainstTheLastByte) {
  OxBuffer empty;
  EXPECT_THROW(empty[0], OxBuffer::OutOfRange);
  OxBuffer buffer("ab");
  buffer[1] = 'c';
  EXPECT_EQ(Text(buffer), "ac");
  EXPECT_THROW(buffer[2], OxBuffer::OutOfRange);
  OxBuffer storageWithoutLength("", 0);
  EXPECT_NO_THROW(storageWithoutLength[7] = 'x');
}

TEST(OxBuffer, BothComparisonsMeanEqual) {
  const OxBuffer a("same");
  const OxBuffer b("same");
  const OxBuffer c("diff");
  EXPECT_TRUE(a == b);
  EXPECT_TRUE(a != b);
  EXPECT_FALSE(a == c);
  EXPECT_FALSE(a != c);
}

TEST(OxBuffer, HexAndByteOrder) {
  EXPECT_EQ(Text(OxBuffer("\x01\xAB", 2).ConvertToHex()), "01AB");
  EXPECT_EQ(Text(OxBuffer("01ab").ConvertFromHex()), std::string("\x01\xAB"));
  EXPECT_EQ(Text(OxBuffer("0G41g0").ConvertFromHex()), "?A?");
  EXPECT_TRUE(OxBuffer("012").ConvertFromHex().empty());
  OxBuffer swapped("abcd");
  EXPECT_TRUE(swapped.ByteSwap16());
  EXPECT_EQ(Text(swapped), "badc");
  OxBuffer odd("abc");
  EXPECT_FALSE(odd.ByteSwap16());
  EXPECT_EQ(Text(odd.MakeReversed()), "cba");
}

TEST(OxBuffer, Base64) {
  struct Case {
    const char* bytes;
    const char* text;
  };
  const Case cases[] = {{"", "===="},    {"M", "TQ=="},        {"Ma", "TWE="},
                        {"Man", "TWFu"}, {"Mann", "TWFubg=="}, {"\xFB\xFF\xBE", "+/++"}};
  for (const Case& c : cases) {
    OxBuffer buffer(c.bytes);
    buffer.ToBase64();
    EXPECT_EQ(Text(buffer), c.text);
    EXPECT_TRUE(buffer.FromBase64());
    EXPECT_EQ(Text(buffer), c.bytes);
  }
}

TEST(OxBuffer, Base64DecodingStopsSilentlyAtForeignCharacters) {
  OxBuffer wrongLength("TQ=");
  EXPECT_FALSE(wrongLength.FromBase64());
  EXPECT_EQ(Text(wrongLength), "TQ=");
  OxBuffer foreign("TWFu*WFuTWFu");
  EXPECT_TRUE(foreign.FromBase64());
  EXPECT_EQ(foreign.length(), 9U);
  EXPECT_EQ(Text(foreign).substr(0, 3), "Man");
  OxBuffer early("T===");
  EXPECT_TRUE(early.FromBase64());
  EXPECT_EQ(early.length(), 1U);
  OxBuffer inside("TWE=TWFu");
  EXPECT_TRUE(inside.FromBase64());
  EXPECT_EQ(inside.length(), 6U);
  EXPECT_EQ(Text(inside).substr(0, 2), "Ma");
}

TEST(OxBuffer, LoadsRegularFilesOnly) {
  const Support::TemporaryFolder folder;
  const std::string file = folder.Write("file", "content");
  OxBuffer buffer("old");
  EXPECT_TRUE(buffer.LoadFromFile(file.c_str()));
  EXPECT_EQ(Text(buffer), "content");
  EXPECT_EQ(buffer.capacity(), 7U);
  EXPECT_TRUE(buffer.LoadFromFile(folder.Write("empty", "").c_str()));
  EXPECT_TRUE(buffer.empty());
  for (const char* refused : {folder.path().c_str(), "/dev/zero", "/does/not/exist", ""}) {
    EXPECT_FALSE(buffer.LoadFromFile(refused)) << refused;
  }
  for (int n = 1; n <= 3; ++n) {  // Opening, asking for the size, reading.
    const Support::FaultyFileOps faults({.failCall = n});
    EXPECT_FALSE(buffer.LoadFromFile(file.c_str())) << n;
    EXPECT_EQ(buffer.data(), nullptr);
  }
  const Support::FaultyFileOps shortReads({.mostBytes = 3});
  EXPECT_TRUE(buffer.LoadFromFile(file.c_str()));
  EXPECT_EQ(Text(buffer), "content");
}

}  // namespace
