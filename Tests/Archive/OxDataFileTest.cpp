#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Archive/ArchiveHelpers.h"
#include "Support/FaultyFileOps.h"

namespace {

using FlatFile::kNoPosition;
using Support::FaultyFileOps;
using Support::FileCall;
using testing::ElementsAre;

class OxDataFileTest : public testing::Test {
 protected:
  OxDataFileTest() : file_(kWidget, folder_.Path("a").c_str()) {}

  void Make(short mode, std::initializer_list<std::pair<const char*, const char*>> records) {
    ASSERT_TRUE(file_.Open(mode));
    for (const auto& [name, data] : records) Add(file_, name, data);
    file_.Close();
  }

  Support::TemporaryFolder folder_;
  OxDataFile file_;
};

TEST_F(OxDataFileTest, OpenAcceptsArchivesOfItsTypeOnly) {
  Make(kCreate, {{"n", "x"}});
  const std::string good = folder_.Read("a");
  const struct {
    std::size_t changed;
    std::size_t length;
    bool opens;
  } cases[] = {{9, good.size(), true},  {68, good.size(), true}, {2, good.size(), false},
               {5, good.size(), false}, {71, 72, true},          {70, 71, false}};
  for (const auto& row : cases) {
    std::string bytes = good.substr(0, row.length);
    bytes[row.changed] = '\x7F';
    folder_.Write("a", bytes);
    for (const short mode : {kRead, kEdit, short{OxDataFile::kOpenMapped}}) {
      EXPECT_EQ(file_.Open(mode), row.opens) << row.changed << ' ' << mode;
      EXPECT_EQ(file_.IsOpen(), row.opens);
      file_.Delete();
      folder_.Write("a", bytes);
    }
  }
  for (const char* path : {"missing", "", "a/below"}) {
    OxDataFile other(kWidget, folder_.Path(path).c_str());
    for (short mode = 1; mode < 10; ++mode) EXPECT_TRUE(!other.Open(mode)) << path << mode;
    EXPECT_THROW(other.AddRecord("x", OxBuffer()), OxDataFile::FileNotOpen);
  }
  EXPECT_FALSE(folder_.Exists("missing")) << "what was made and could not be begun is removed";
}

TEST_F(OxDataFileTest, RecordsAreRewrittenMovedAndDeleted) {
  Make(kCreate, {{"a", "12345"}, {"b", "67890"}, {"c", ""}});
  ASSERT_TRUE(file_.Open(kEdit));
  Add(file_, "A", "xyz");
  EXPECT_EQ(file_.FindRecord("a"), 72U) << "it fits, so it stays and keeps its name";
  EXPECT_EQ(file_.GetPosition(), 72U);
  Add(file_, "B", "longer than before");
  EXPECT_THAT(Contents(file_), ElementsAre("a=xyz", "c=", "B=longer than before"));
  EXPECT_TRUE(file_.DeleteRecord("C"));
  EXPECT_FALSE(file_.DeleteRecord("c"));
  EXPECT_EQ(file_.FindRecord("c"), kNoPosition);
  file_.Close();
  ASSERT_TRUE(file_.Open(kRead));
  EXPECT_THAT(Contents(file_), ElementsAre("a=xyz", "B=longer than before"));
  file_.BuildIndex();
  EXPECT_EQ(Get(file_, "b"), "longer than before");
  EXPECT_EQ(Get(file_, "A"), "xyz");
}

// The record goes 32 bytes behind the free block's start, over what follows.
TEST_F(OxDataFileTest, AReusedBlockIsWrittenBehindItsOwnHeader) {
  Make(kCreate, {{"gone", "0123456789"}, {"n", "abcdefghijklmnopqrstuvwxyz0123456789"}});
  ASSERT_TRUE(file_.Open(kEdit));
  file_.DeleteRecord("gone");
  Add(file_, "new", "NEW");
  EXPECT_EQ(file_.FindRecord("new"), 72U);
  EXPECT_EQ(Get(file_, "new"), "") << "the block itself reads as nameless and empty";
  EXPECT_EQ(file_.SetPosition(104), 0);
  OxBuffer data;
  EXPECT_EQ(file_.ReadCurrent(data), 0);
  EXPECT_EQ(data.view(), "NEW");
  FlatFile::FileHeader header;
  EXPECT_EQ(file_.ReadFileHeader(header, true), 0);
  EXPECT_EQ(header.freeCount, 0U);
}

TEST_F(OxDataFileTest, ProtectedArchivesScrambleThePayloadsAlone) {
  const std::string large(600001, 'L');
  folder_.Write("large", large);
  ASSERT_TRUE(file_.Open(kCreateProtected));
  Add(file_, "greeting", "hello world");
  EXPECT_EQ(file_.AddRecordFromFile("large", *Opened(folder_.Path("large"), OxFile::kRead)), 0);
  file_.AddRecord("no data", 5, nullptr);
  file_.Close();
  const std::string bytes = folder_.Read("a");
  EXPECT_EQ(Hex(bytes.substr(104, 11)), "EF46192C15BB634D663490");
  EXPECT_EQ(bytes.find("LLLL"), std::string::npos);
  EXPECT_NE(bytes.find("greeting"), std::string::npos);
  EXPECT_FALSE(file_.IsProtected());
  for (const short mode : {kRead, short{OxDataFile::kOpenMapped}}) {
    ASSERT_TRUE(file_.Open(mode));
    EXPECT_TRUE(file_.IsProtected());
    EXPECT_EQ(Get(file_, "greeting"), "hello world");
    EXPECT_EQ(Get(file_, "no data"), "");
    EXPECT_EQ((++file_.Begin())->CopyDataTo(*Opened(folder_.Path("out"), 6)).copied, large.size());
    EXPECT_EQ(folder_.Read("out"), large);
  }
}

TEST_F(OxDataFileTest, FilesAreStreamedInAndOut) {
  std::string large(1000003, 'x');
  for (std::size_t i = 0; i < large.size(); i += 97) large[i] = static_cast<char>(i);
  for (const int error : {0, EXDEV, ENOSYS}) {
    const int first = error == 0 ? 0 : 1;
    const FaultyFileOps faults({first, error, FileCall::kCopyRange, true});
    ASSERT_TRUE(file_.Open(kCreate));
    for (const std::string& data : {large, std::string("small"), std::string()}) {
      const char* name = data.size() > 9 ? "large" : "small";
      EXPECT_EQ(file_.AddRecordFromFile(name, *Opened(folder_.Write("in", data), OxFile::kRead)), 0);
    }
    file_.Close();
    ASSERT_TRUE(file_.Open(kRead));
    const auto target = Opened(folder_.Write("out", ""), 6);
    target->Write("head", 4);
    const CopyResult result = file_.Begin()->CopyDataTo(*target);
    EXPECT_EQ(result.copied, large.size());
    EXPECT_EQ(result.readStatus + result.writeStatus, 0);
    target->Write("tail", 4);
    EXPECT_EQ(folder_.Read("out"), "head" + large + "tail");
    EXPECT_EQ(Get(file_, "small"), "");
    file_.Close();
  }
}

// What is copied while the file shrinks is what the header says.
TEST_F(OxDataFileTest, ASourceThatEndsEarlyLeavesAWholeArchive) {
  for (const std::size_t length : {9UL, 500000UL}) {
    const auto source = Opened(folder_.Write("in", std::string(length, 's')), OxFile::kRead);
    std::filesystem::resize_file(folder_.Path("in"), length / 2);
    ASSERT_TRUE(file_.Open(kCreate));
    EXPECT_EQ(file_.AddRecordFromFile("short", *source), kStatusEndOfFile);
    Add(file_, "next", "data");
    file_.Close();
    ASSERT_TRUE(file_.Open(kRead));
    EXPECT_THAT(Contents(file_), ElementsAre("short=" + std::string(length / 2, 's'), "next=data"));
    EXPECT_EQ(file_.FindRecord("next"), 72 + 32 + length / 2) << "blocks stand end to end";
    file_.Close();
  }
}

TEST_F(OxDataFileTest, AddingARecordIsOneWriteAndListingFewReads) {
  constexpr int kRecords = 1000;
  {
    const FaultyFileOps counter({});
    ASSERT_TRUE(file_.Open(kCreate));
    const int before = counter.Calls();
    for (int i = 0; i < kRecords; ++i) Add(file_, std::to_string(i).c_str(), "payload");
    EXPECT_EQ(counter.Calls() - before, kRecords);
    file_.Close();
    EXPECT_EQ(counter.Calls() - before, kRecords + 5) << "index, names, the last link, header, close";
  }
  const FaultyFileOps counter({});
  ASSERT_TRUE(file_.Open(kRead));
  EXPECT_EQ(Contents(file_).size(), std::size_t{kRecords});
  EXPECT_LT(counter.Calls(), 30);
}

TEST_F(OxDataFileTest, WhatWasPutOffIsSeenByEveryReader) {
  ASSERT_TRUE(file_.Open(kCreate));
  Add(file_, "a", "1");
  EXPECT_THAT(Contents(file_), ElementsAre("a=1"));
  Add(file_, "b", "2");
  FlatFile::FileHeader header;
  EXPECT_EQ(file_.ReadFileHeader(header, true), 0);
  EXPECT_EQ(header.recordCount, 2U);
  FlatFile::RecordHeader record;
  EXPECT_EQ(file_.SetPosition(header.usedList.tail), 0);
  EXPECT_EQ(file_.ReadRecordHeader(record, true), 0);
  EXPECT_EQ(record.next, kNoPosition);
  // Bytes that others put at the end make the next record go behind them.
  file_.GoToEOF();
  EXPECT_EQ(file_.WriteBytes(7, "foreign"), 0);
  Add(file_, "c", "3");
  EXPECT_THAT(Contents(file_), ElementsAre("a=1", "b=2", "c=3"));
  EXPECT_EQ(file_.Beginning(), 0);
  EXPECT_EQ(file_.Skip(), 0);
  EXPECT_EQ(file_.GetPosition(), 105U);
  EXPECT_EQ(file_.ReadRecordHeader(record, false), 0);
  EXPECT_EQ(file_.GetPosition(), 137U);
}

TEST_F(OxDataFileTest, ModesForbidWhatTheyDo) {
  Make(kCreate, {{"name", "data"}});
  unsigned long length = 9;
  ASSERT_TRUE(file_.Open(kRead));
  EXPECT_THROW(file_.AddRecord("x", OxBuffer()), OxDataFile::AccessDenied);
  EXPECT_THROW(file_.WriteBytes(1, "x"), OxDataFile::ReadOnly);
  EXPECT_THROW(file_.DeleteRecord("name"), OxDataFile::ReadOnly);
  EXPECT_THROW(file_.GetMappedRecordPtr("name", length), OxDataFile::AccessDenied);
  EXPECT_THROW(file_.Begin()->GetMappedRecordPtr(length), OxDataFile::AccessDenied);
  EXPECT_THROW(file_.Clear(), OxDataFile::ReadOnly);
  EXPECT_TRUE(file_.Begin() == file_.End()) << "its lists are empty, in memory";
  ASSERT_TRUE(file_.Open(kEdit));
  EXPECT_THROW(file_.Clear(), OxDataFile::ReadOnly);
  EXPECT_THAT(Contents(file_), ElementsAre("name=data"));

  ASSERT_TRUE(file_.Open(OxDataFile::kOpenMapped));
  EXPECT_THROW(file_.AddRecord("x", OxBuffer()), OxDataFile::AccessDenied);
  EXPECT_EQ(std::string_view(file_.GetMappedRecordPtr("NAME", length), 4), "data");
  EXPECT_EQ(length, 4U);
  EXPECT_EQ(std::string_view(file_.Begin()->GetMappedRecordPtr(length), 4), "data");
  EXPECT_EQ(file_.GetMappedRecordPtr("none", length), nullptr);
  EXPECT_THROW(file_.SetPosition(0x100000000), OxDataFile::EndOfFile);
  EXPECT_EQ(file_.GetPosition(), folder_.Read("a").size());
  char byte = 0;
  EXPECT_EQ(file_.ReadBytes(1, &byte), kStatusEndOfFile);

  file_.Close();
  EXPECT_EQ(file_.SetPosition(0) + file_.ReadBytes(1, &byte) + file_.Skip(), 3 * kStatusNotOpen);
  EXPECT_THROW(file_.WriteBytes(1, "x"), OxDataFile::ReadOnly);
  EXPECT_THROW(file_.Clear(), OxDataFile::ReadOnly);
  EXPECT_EQ(Get(file_, "name"), "(none)");
  EXPECT_TRUE(file_.Begin() == file_.End());
  EXPECT_EQ(file_.GetName(1), nullptr);
}

TEST_F(OxDataFileTest, IteratorsEndAndCompare) {
  Make(kCreate, {{"a", "1"}, {"b", "2"}});
  ASSERT_TRUE(file_.Open(kRead));
  OxDataFile::Iterator it = file_.Begin();
  const OxDataFile::Iterator first = it++;
  EXPECT_EQ(first->GetName(), "a");
  EXPECT_EQ(it->GetName(), "b");
  EXPECT_TRUE(it > first && file_.End() > it);
  ++it;
  EXPECT_TRUE(it == file_.End());
  EXPECT_THROW(*it, OxDataFile::Iterator::InvalidState);
  EXPECT_THROW(++it, OxDataFile::Iterator::InvalidState);
  EXPECT_THROW(OxDataFile::Record(&file_, 1 << 20), OxDataFile::EndOfFile);
}

// Every possible single link of the third block, and links that lead back from there.
TEST_F(OxDataFileTest, CirclesEndAfterEveryRecordWasSeenOnce) {
  Make(kCreate, {{"a", ""}, {"b", ""}, {"c", ""}, {"d", ""}});
  const std::string good = folder_.Read("a");
  for (std::size_t target = 0; target < 4; ++target) {
    std::string bytes = good;
    bytes[72 + 2 * 32 + 16] = static_cast<char>(72 + target * 32);
    folder_.Write("a", bytes);
    ASSERT_TRUE(file_.Open(kRead));
    EXPECT_EQ(Contents(file_).size(), target == 3 ? 4U : 3U);
    file_.BuildIndex();
    EXPECT_EQ(Get(file_, "c"), "");
  }
  // A list that runs to and fro: a, c, b, d.
  std::string bytes = good;
  for (const auto& [block, next] : {std::pair{72, 136}, {136, 104}, {104, 168}}) {
    bytes[static_cast<std::size_t>(block) + 16] = static_cast<char>(next);
  }
  folder_.Write("a", bytes);
  ASSERT_TRUE(file_.Open(kRead));
  EXPECT_THAT(Contents(file_), ElementsAre("a=", "c=", "b=", "d="));
  OxDataFile::Iterator ahead = ++ ++file_.Begin();
  OxDataFile::Iterator behind = ahead++;
  EXPECT_TRUE(++ahead == file_.End());
  EXPECT_EQ((++behind)->GetName(), "d") << "a copy walks on its own";
}

TEST_F(OxDataFileTest, TooLongForTheFormatIsRefusedUntouched) {
  ASSERT_TRUE(file_.Open(kCreate));
  const char byte = 0;
  EXPECT_THROW(file_.AddRecord("x", 0xFFFFFFE0, &byte), OxDataFile::FileError);
  std::filesystem::resize_file(folder_.Write("huge", ""), 0x100000000);
  const auto huge = Opened(folder_.Path("huge"), OxFile::kRead);
  EXPECT_THROW(file_.AddRecordFromFile("x", *huge), OxDataFile::FileError);
  file_.Close();
  EXPECT_EQ(folder_.Read("a").size(), 136U);
}

}  // namespace
