#include <functional>
#include <new>
#include <string>

#include <gtest/gtest.h>

#include "Files/OxBinaryData.h"
#include "Support/FailingAllocations.h"

namespace {

constexpr auto kBig = OxBinaryData::kBigEndian;
constexpr auto kLittle = OxBinaryData::kLittleEndian;

TEST(OxBinaryData, IntegersGoOutAndComeBack) {
  OxBinaryData data;
  data.AddUInt8(0xFE);
  data.AddChar('c');
  data.AddUInt16(0x0102, kBig);
  data.AddUInt16(0x0102, kLittle);
  data.AddUInt32(0x01020304, kBig);
  data.AddUInt32(0x01020304, static_cast<OxBinaryData::WhichEnd>(7));
  data.AddUInt64(0x0102030405060708, kLittle);
  EXPECT_EQ(OxBuffer(data.view().data(), data.length()).ConvertToHex().view(),
            "FE63"
            "01020201"
            "0102030404030201"
            "0807060504030201");
  EXPECT_EQ(data.GetChar(), -2);
  EXPECT_EQ(data.GetUInt8(), 'c');
  EXPECT_EQ(data.GetUInt16(kBig), 0x0102);
  EXPECT_EQ(data.GetUInt16(kLittle), 0x0102);
  EXPECT_EQ(data.GetUInt32(kBig), 0x01020304U);
  EXPECT_EQ(data.GetUInt32(kLittle), 0x01020304U);
  EXPECT_EQ(data.GetUInt64(kLittle), 0x0102030405060708U);
  EXPECT_THROW(data.GetUInt8(), OxBinaryData::OutOfData);
}

TEST(OxBinaryData, BigEndian64BitValuesKeepOnly32Bits) {
  OxBinaryData data;
  data.AddUInt64(0x0102030405060708, kBig);
  data.AddUInt64(5, kBig);
  EXPECT_EQ(data.view(), std::string_view("\1\2\3\4\0\0\0\0\0\0\0\0\0\0\0\0", 16));
  const OxBinaryData read("\1\2\3\4\5\6\7\x88", 8);
  EXPECT_EQ(read.GetUInt64(kBig), 0x05060788U);
}

TEST(OxBinaryData, AShortReadConsumesNothingAndEveryWriteRewinds) {
  OxBinaryData data("\1\2\3", 3);
  data.Skip(2);
  EXPECT_THROW(data.GetUInt16(kLittle), OxBinaryData::OutOfData);
  EXPECT_THROW(data.GetBytes(2), OxBinaryData::OutOfData);
  EXPECT_THROW(data.GetStringWithLengthByte(0), OxBinaryData::OutOfData);
  EXPECT_EQ(data.GetUInt8(), 3);
  EXPECT_EQ(OxBinaryData(data).GetUInt8(), 1);
  data.Append("x");
  EXPECT_EQ(data.GetUInt8(), 1);
  data.MoveTo(4);
  EXPECT_THROW(data.MoveTo(5), OxBuffer::OutOfRange);
  EXPECT_EQ(data.GetBytes(0).length(), 0U);
  data.Skip(~0UL);
  data.Skip(2);
  EXPECT_THROW(data.GetBytes(0), OxBinaryData::OutOfData);
  EXPECT_THROW(data.GetNullTerminatedString(), OxBinaryData::OutOfData);
}

TEST(OxBinaryData, AFailedAllocationChangesNothing) {
  const std::string text =
      "\x13"
      "a text of its length" +
      std::string(1, '\0');
  const std::function<void(OxBinaryData&)> operations[] = {
      [](OxBinaryData& data) { data.AddUInt64(0x0102030405060708, kBig); },
      [](OxBinaryData& data) { data.Append(data); },
      [](OxBinaryData& data) { data.Assign("another text that is longer than the first one", 46); },
      [](OxBinaryData& data) { EXPECT_EQ(data.GetBytes(19).length(), 19U); },
      [](OxBinaryData& data) { EXPECT_EQ(data.GetStringWithLengthByte(0).length(), 19U); },
      [](OxBinaryData& data) { EXPECT_EQ(data.GetNullTerminatedString().length(), 21U); },
  };
  for (const auto& run : operations) {
    for (int n = 1;; ++n) {
      OxBinaryData data(text.data(), static_cast<int>(text.size()));
      data.AddUInt8(0);
      const OxBinaryData before(data);
      bool fired = false;
      {
        const Support::FailingAllocations failing(n);
        try {
          run(data);
        } catch (const std::bad_alloc&) {
          fired = true;
        }
      }
      if (!fired) break;
      EXPECT_EQ(data.view(), before.view()) << n;
      EXPECT_EQ(data.GetUInt8(), 0x13) << n;
    }
  }
}

TEST(OxBinaryData, WithoutBytesEveryReadGivesNothing) {
  const OxBinaryData made[] = {OxBinaryData(), OxBinaryData("abc", -1), OxBinaryData("", 0)};
  for (const OxBinaryData& data : made) {
    data.Skip(9);
    EXPECT_EQ(data.GetUInt8() + data.GetUInt16(kBig) + data.GetUInt32(kBig), 0U);
    EXPECT_EQ(data.GetUInt64(kLittle), 0U);
    EXPECT_TRUE(data.GetBytes(3).empty());
    EXPECT_TRUE(data.GetNullTerminatedString().empty());
    EXPECT_TRUE(data.GetStringWithLengthByte(0).empty());
  }
}

TEST(OxBinaryData, Strings) {
  OxBinaryData data;
  data.AddNullTerminatedString("caf\xC3\xA9");
  data.AddNullTerminatedString("");
  data.Append("\xFF\0end", 5);
  EXPECT_EQ(data.GetNullTerminatedString(), "caf\xC3\xA9");
  EXPECT_EQ(data.GetNullTerminatedString(), "");
  EXPECT_EQ(data.GetNullTerminatedString(), "") << "bytes that are no text give none";
  EXPECT_EQ(data.GetNullTerminatedString(), "end") << "a zero follows the last byte";
  EXPECT_THROW(data.GetNullTerminatedString(), OxBinaryData::OutOfData);
  data.MoveTo(data.length());
  EXPECT_EQ(data.GetNullTerminatedString(), "");

  const OxBinaryData counted("\0\4abcd\2\x8A\x8B", 9);
  EXPECT_EQ(counted.GetStringWithLengthByte(0), "");
  EXPECT_EQ(counted.GetStringWithLengthByte(0), "abcd");
  EXPECT_EQ(counted.GetStringWithLengthByte(0), "\xC3\xA4\xC3\xA3") << "decoded as Mac Roman";
}

}  // namespace
