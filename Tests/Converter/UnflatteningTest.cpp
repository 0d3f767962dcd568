#include <span>

#include "BundleTest.h"
#include "Listing.h"
#include "Streams.h"
#include "Support/FaultyFileOps.h"
#include "Unflattening.h"

namespace {

using Support::FaultyFileOps;

class Unflattening : public BundleTest {};

template <std::size_t Size>
std::string Text(const std::array<std::byte, Size>& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), Size};
}

// 200 headers in a row: the payload of each is all that follows it, its name the end of one long name.
std::string Overlapping(std::uint32_t nameBytes, std::uint32_t payloadBytes) {
  constexpr std::uint32_t kRecords = 200;
  constexpr std::uint64_t kFirst = FlatFile::kFileHeaderSize;
  const std::uint64_t end = kFirst + kRecords * FlatFile::kRecordHeaderSize + payloadBytes;
  std::string file = Text(FlatFile::Encode(
      {.typeCode = 0x77646774, .usedList = {kFirst, kFirst}, .freeList = {}, .nameTablePos = end}));
  for (std::uint32_t i = 0; i < kRecords; ++i) {
    const std::uint64_t next = file.size() + FlatFile::kRecordHeaderSize;
    file += Text(FlatFile::Encode({.nameOffset = i,
                                   .dataLength = static_cast<std::uint32_t>(end - next),
                                   .flags = FlatFile::kInUse,
                                   .next = i + 1 < kRecords ? next : FlatFile::kNoPosition}));
  }
  file.append(payloadBytes, 'x');
  file += Text(FlatFile::Encode(FlatFile::RecordHeader{.dataLength = nameBytes}));
  return file + std::string(nameBytes, 'n');
}

TEST_F(Unflattening, WhatStopsIt) {
  const struct {
    Support::FileCall call;
    const char* message;
  } kCases[] = {
      {Support::FileCall::kMakeFolder,
       "Error: could not create directory for file 'OUT/Contents/main.wob'\n"},
      {Support::FileCall::kWriteAt, "Error: could not write to file 'OUT/Contents/main.wob'\n"},
      {Support::FileCall::kRemoveFile, "Error: could not delete 'OUT'\n"},
  };
  ASSERT_TRUE(Flatten());
  for (const auto& test : kCases) {
    folder.Write("out/old", "old");
    FaultyFileOps faults({.failCall = 1, .error = EACCES, .only = test.call, .keepFailing = true});
    std::string err =
        Capture([&] { EXPECT_FALSE(UnflattenFile(Path("archive"), Path("out"), false)); }).err;
    for (std::size_t at; (at = err.find(folder.Path("out"))) != std::string::npos;) {
      err.replace(at, folder.Path("out").size(), "OUT");
    }
    EXPECT_EQ(err, test.message);
  }
}

TEST_F(Unflattening, RecordsThatOverlapDoNotFillTheDisk) {
  folder.Write("archive", Overlapping(200, 100000));
  const Printed printed =
      Capture([&] { EXPECT_FALSE(UnflattenFile(Path("archive"), Path("out"), false)); });
  EXPECT_EQ(printed.err,
            "Error: the records of '" + folder.Path("archive") + "' overlap, the rest is left out\n");
  EXPECT_EQ(folder.Read("out/Contents/" + std::string(200, 'n')).size(), 100000U + 199 * 32);
  EXPECT_TRUE(folder.Exists("out/Contents/" + std::string(50, 'n')));
  EXPECT_FALSE(folder.Exists("out/Contents/n"));

  folder.Write("archive", Overlapping(200000, 0));
  const Printed listed = Capture([&] { ListFileContents(Path("archive"), false); });
  EXPECT_EQ(listed.err, "Error: the listing of '" + folder.Path("archive") + "' ends early\n");
  EXPECT_LT(listed.out.size(), 17U << 20);
}

}  // namespace
