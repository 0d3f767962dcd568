#include <filesystem>
#include <iostream>

#include <gtest/gtest.h>

#include "Archive/ArchiveHelpers.h"
#include "Support/Damage.h"
#include "Support/FaultyFileOps.h"

namespace {

using Support::FaultyFileOps;
using Support::TemporaryFolder;

// Three records, a free block between them, and a name that occurs twice in the name table.
std::string Fixture(const TemporaryFolder& folder, short mode) {
  OxDataFile file(kWidget, folder.Path("a").c_str());
  EXPECT_TRUE(file.Open(mode));
  for (const char* name : {"one", "two", "three"}) Add(file, name, "payload");
  Add(file, "TWO", "a longer payload");
  file.Close();
  return folder.Read("a");
}

// Walks and reads the archive; what it says, and nothing at all when it does not open.
std::vector<std::string> ReadAll(const OxString& path, short mode, std::size_t fileSize) {
  OxDataFile file(kWidget, path);
  if (!file.Open(mode)) return {};
  std::vector<std::string> contents = Contents(file);
  EXPECT_LT(contents.size(), 8U);
  for (const std::string& record : contents) EXPECT_LT(record.size(), 2 * fileSize);
  for (const char* name : {"one", "TWO", ""}) {
    try {
      EXPECT_LT(Get(file, name).size(), fileSize + 8);
    } catch (const OxDataFile::EndOfFile&) {
      EXPECT_EQ(mode, OxDataFile::kOpenMapped);
    }
  }
  contents.push_back("opened");
  return contents;
}

// Edits it, which may fail but must end, and leaves something that can be opened or is refused.
void EditAll(const OxString& path) {
  OxDataFile file(kWidget, path);
  if (!file.Open(kEdit)) return;
  try {
    Add(file, "one", "rewritten");
    Add(file, "three", "moved to another place");
    file.DeleteRecord("two");
    Add(file, "four", "new");
    file.BuildIndex();
    file.Close();
  } catch (const OxDataFile::FileError&) {
  }
}

void CheckDamaged(const TemporaryFolder& folder, const std::string& bytes) {
  const OxString path(folder.Write("damaged", bytes));
  EXPECT_EQ(ReadAll(path, kRead, bytes.size()), ReadAll(path, OxDataFile::kOpenMapped, bytes.size()));
  EXPECT_TRUE(folder.Read("damaged") == bytes) << "reading changes nothing";
  EditAll(path);
  ReadAll(path, kRead, folder.Read("damaged").size());
}

TEST(ArchiveDamage, EveryTruncationAndEveryChangedByteIsSurvived) {
  const TemporaryFolder folder;
  for (const short mode : {kCreate, kCreateProtected}) {
    const std::string good = Fixture(folder, mode);
    CheckDamaged(folder, good);
    const auto check = [&](const std::string& bytes) { CheckDamaged(folder, bytes); };
    const int damages = Support::ForEachDamage(good, "\x01\x80\xFF\x28\x46", check);
    std::cout << damages << " damages\n";
  }
}

TEST(ArchiveDamage, APayloadCutOffByTheEndIsTold) {
  const TemporaryFolder folder;
  OxDataFile file(kWidget, folder.Path("a").c_str());
  ASSERT_TRUE(file.Open(kCreate));
  Add(file, "one", std::string(500000, 'x'));
  file.Close();
  const std::string good = folder.Read("a");
  for (const short mode : {kRead, short{OxDataFile::kOpenMapped}}) {
    folder.Write("a", good.substr(0, good.size() - 1));
    ASSERT_TRUE(file.Open(mode));
    EXPECT_EQ(file.GetPosition(), good.size() - 1) << "the names were read to their early end";
    EXPECT_EQ(Contents(file).front().substr(0, 5), "one=x");
    folder.Write("a", good.substr(0, 300000));
    ASSERT_TRUE(file.Open(mode));
    const CopyResult result = file.Begin()->CopyDataTo(*Opened(folder.Path("out"), 6));
    EXPECT_EQ(result.copied, 300000U - 104U);
    EXPECT_EQ(result.readStatus, kStatusEndOfFile);
    EXPECT_EQ(result.writeStatus, 0);
    unsigned long length = 9;
    if (mode == OxDataFile::kOpenMapped) {
      EXPECT_EQ(file.Begin()->GetMappedRecordPtr(length), nullptr);
    }
  }
}

// ---- Failures of the disk

// True when everything was said to have worked. Only `edited` leaves a free block behind.
bool WriteArchive(const TemporaryFolder& folder, bool edited) {
  OxDataFile file(kWidget, folder.Path("a").c_str());
  if (!file.Open(kCreate)) return false;
  try {
    for (const char* name : {"small", "large", "last"}) {
      OxFile source(folder.Path(name).c_str());
      if (source.Open(OxFile::kRead) != 0 || file.AddRecordFromFile(name, source) != 0) return false;
    }
    if (edited) Add(file, "SMALL", "it has grown and moves");
    if (edited) file.DeleteRecord("large");
    file.Close();
    return true;
  } catch (const OxDataFile::FileError&) {
    file.Delete();
    EXPECT_FALSE(folder.Exists("a"));
    return false;
  }
}

// The one failure that is not told, deliberately, is that of reading the free list.
TEST(ArchiveFaults, AFailureIsTold) {
  const TemporaryFolder folder;
  for (const char* name : {"small", "last"}) folder.Write(name, "small file");
  folder.Write("large", std::string(300000, 'L'));
  int told = 0;
  for (const bool edited : {false, true}) {
    ASSERT_TRUE(WriteArchive(folder, edited));
    const std::string good = folder.Read("a");
    for (const int error : {EIO, ENOSPC}) {
      bool fired = true;
      for (int n = 1; fired; ++n) {
        std::filesystem::remove(folder.Path("a"));
        const FaultyFileOps faults(
            {.failCall = n,
             .error = error,
             .only = edited ? Support::FileCall::kWriteAt : Support::FileCall::kAny});
        const bool written = WriteArchive(folder, edited);
        fired = faults.Fired();
        told += written ? 0 : 1;
        EXPECT_TRUE(written ? folder.Read("a") == good : fired)
            << "call " << n << " failed by " << error;
      }
    }
  }
  EXPECT_GT(told, 50);
}

// After a failed addition the archive is what it was before, and goes on.
TEST(ArchiveFaults, AFailedAdditionIsUndone) {
  const TemporaryFolder folder;
  for (const bool reading : {false, true}) {
    OxDataFile file(kWidget, folder.Path("a").c_str());
    ASSERT_TRUE(file.Open(kCreate));
    Add(file, "a", "1");
    Add(file, "b", "2");
    {
      const FaultyFileOps faults(
          {.failCall = 2, .error = ENOSPC, .only = Support::FileCall::kWriteAt, .mostBytes = 35});
      EXPECT_THROW(Add(file, "lost", "half of it is written"), OxDataFile::FileError);
    }
    EXPECT_EQ(folder.Read("a").size(), 72U + 2 * 33) << "cut back";
    if (reading) {
      EXPECT_EQ(Contents(file).size(), 2U);
    }
    Add(file, "c", "3");
    file.Close();
    ASSERT_TRUE(file.Open(kRead));
    EXPECT_EQ(Contents(file), (std::vector<std::string>{"a=1", "b=2", "c=3"}));
    EXPECT_EQ(Get(file, "lost"), "(none)");
    EXPECT_EQ(Get(file, "c"), "3");
  }
}

}  // namespace
