// What users of the library meet and the tool does not: archives that go on after writes or allocations
// failed, and hostile ones that are long only on paper.

#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <map>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include "Archive/ArchiveHelpers.h"
#include "Posix/FileOps.h"
#include "Support/FailingAllocations.h"

namespace {

using FlatFile::kNoPosition;
using Support::FailingAllocations;
using Support::TemporaryFolder;

// A run of writes fails, the first of them, if it is torn, only after half of its bytes.
class FailingWrites final : public Posix::FileOps {
 public:
  FailingWrites(int first, int count, bool torn) : first_(first), count_(count), torn_(torn) {}

  bool Fired() const { return calls_ >= first_; }

  std::int64_t WriteAt(int fd, std::span<const Posix::Piece> pieces, std::uint64_t position) override {
    ++calls_;
    if (calls_ < first_ || calls_ >= first_ + count_) return FileOps::WriteAt(fd, pieces, position);
    if (!torn_ || calls_ > first_) return -EIO;
    const Posix::Piece part = pieces.front().first((pieces.front().size() + 1) / 2);
    return FileOps::WriteAt(fd, {&part, 1}, position);
  }

 private:
  int first_;
  int count_;
  bool torn_;
  int calls_ = 0;
  Posix::ScopedFileOps installed_{this};
};

// An archive and what has to be in it. Payloads grow, so that no record fits where another was.
class Journal {
 public:
  explicit Journal(const TemporaryFolder& folder) : file_(kWidget, folder.Path("a").c_str()) {
    EXPECT_TRUE(file_.Open(kCreate));
  }

  // a: add, m: move the first record, d: delete it, l: list, f: find. True if an allocation failed.
  bool Do(const std::string& steps, int failAllocation = 0) {
    bool failed = false;
    for (const char step : steps) {
      const std::string name =
          step == 'a' || records_.empty() ? "n" + std::to_string(++added_) : records_.begin()->first;
      const OxString key(name.c_str());
      const std::string data(2 * ++payloads_, 'x');
      try {
        const FailingAllocations allocations(failAllocation);
        DoOne(step, key, data);
        failed |= allocations.Fired();
      } catch (const OxDataFile::FileError&) {
        if (records_.contains(name)) lost_.insert(records_.extract(name));
        continue;
      } catch (const std::bad_alloc&) {
        failed = true;
        continue;
      }
      if (step == 'd') records_.erase(name);
      if (step == 'a' || step == 'm') records_[name] = data;
    }
    return failed;
  }

  void ExpectWholeAndGoOn() {
    // Whether a record is there whose moving or deleting failed is not said.
    for (const auto& [name, data] : lost_) {
      if (file_.FindRecord(name.c_str()) != kNoPosition) records_[name] = data;
    }
    lost_.clear();
    Do("ala");
    ExpectWhole();
    EXPECT_NO_THROW(file_.Close());
    ASSERT_TRUE(file_.Open(kEdit));
    ExpectWhole();
  }

 private:
  void DoOne(char step, const OxString& name, const std::string& data) {
    OxBuffer bytes;
    if (step == 'l') Contents(file_);
    if (step == 'f') file_.GetRecord(name, bytes);
    if (step == 'd') file_.DeleteRecord(name);
    if (step == 'a' || step == 'm') file_.AddRecord(name, data.size(), data.data());
  }

  void ExpectWhole() {
    std::map<std::string, std::string> listed;
    for (OxDataFile::Iterator it = file_.Begin(); it != file_.End(); ++it) {
      const std::string name(it->GetName().view());
      EXPECT_EQ(file_.FindRecord(it->GetName()), it->GetPosition()) << name;
      EXPECT_TRUE(listed.emplace(name, Get(file_, name.c_str())).second) << name;
    }
    EXPECT_EQ(listed, records_);
    FlatFile::FileHeader header;
    EXPECT_EQ(file_.ReadFileHeader(header, true), 0);
    EXPECT_EQ(header.recordCount, records_.size());
  }

  OxDataFile file_;
  std::map<std::string, std::string> records_;
  std::map<std::string, std::string> lost_;
  int added_ = 0;
  std::size_t payloads_ = 0;
};

TEST(ArchiveFailure, RecordsThatWereStoredAreListedAndFoundWhateverWritesFailed) {
  const TemporaryFolder folder;
  int runs = 0;
  for (const char* steps : {"aaa", "aala", "alaala", "aalmala", "aaladala", "aaamlmda", "alddaa"}) {
    for (const bool torn : {false, true}) {
      for (const int count : {1, 2, 4, 100}) {
        bool fired = true;
        for (int first = 1; fired && !testing::Test::HasFailure(); ++first, ++runs) {
          SCOPED_TRACE(testing::Message() << steps << ' ' << first << ' ' << count << ' ' << torn);
          Journal journal(folder);
          {
            const FailingWrites faults(first, count, torn);
            journal.Do(steps);
            fired = faults.Fired();
          }
          journal.ExpectWholeAndGoOn();
        }
      }
    }
  }
  EXPECT_GT(runs, 500);
}

// ---- No memory

TEST(ArchiveFailure, NoAllocationThatFailsCostsARecord) {
  const TemporaryFolder folder;
  int failures = 0;
  for (const char* before : {"", "a", "aaf", "aaaaaaaaaaf", "aaaaaadddfaf", "aaaaaaaaddddddlaf"}) {
    for (const char* steps : {"a", "m", "d", "l", "f", "ma", "dfa", "aaaaaaaaaaaaaaa"}) {
      bool fired = true;
      for (int n = 1; fired && !testing::Test::HasFailure(); ++n) {
        SCOPED_TRACE(testing::Message() << before << ", " << steps << ' ' << n);
        Journal journal(folder);
        journal.Do(before);
        fired = journal.Do(steps, n);
        failures += fired ? 1 : 0;
        journal.ExpectWholeAndGoOn();
      }
    }
  }
  EXPECT_GT(failures, 50);
}

// ---- Positions and links

// The file, with a number in the place of what is there.
void Patch(const std::string& path, std::uint64_t position, std::uint64_t value, unsigned bytes = 8) {
  std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
  file.seekp(static_cast<std::streamoff>(position));
  for (unsigned i = 0; i < bytes; ++i) file.put(static_cast<char>(value >> (8 * i)));
}

TEST(ArchiveFailure, PositionsUpToTheLastAreBeyondTheEnd) {
  const TemporaryFolder folder;
  constexpr std::uint64_t kLast = std::numeric_limits<std::int64_t>::max();
  for (const std::uint64_t position :
       {kLast - 5000, kLast - 32, kLast - 1, kLast, kLast + 1, kNoPosition - 1}) {
    OxDataFile file(kWidget, folder.Path("a").c_str());
    ASSERT_TRUE(file.Open(kCreate));
    Add(file, "a", "1");
    file.Close();
    Patch(folder.Path("a"), offsetof(FlatFile::FileHeader, freeList), position);
    ASSERT_TRUE(file.Open(kEdit));
    Add(file, "b", "2");
    EXPECT_EQ(Get(file, "b"), "2") << position;
    std::byte bytes[32];
    std::size_t got = 0;
    const auto source = Opened(folder.Path("a"), OxFile::kRead);
    EXPECT_EQ(source->ReadAt(position, bytes, got), kStatusEndOfFile) << position;
  }
}

TEST(ArchiveFailure, AWalkGoesOnWhereARecordThatItPassedMadeRoom) {
  const TemporaryFolder folder;
  OxDataFile file(kWidget, folder.Path("a").c_str());
  ASSERT_TRUE(file.Open(kCreate));
  for (const char* name : {"a", "b", "c"}) Add(file, name, "data");
  OxDataFile::Iterator it = ++file.Begin();
  file.DeleteRecord("a");
  Add(file, "new", "d");
  file.FindRecord("new");
  EXPECT_EQ(file.GetPosition(), 72U);
  ++ ++it;
  ASSERT_TRUE(it != file.End()) << "it was there before, but the list has changed";
  EXPECT_EQ(it->GetPosition(), 72U);
  EXPECT_TRUE(++it == file.End());
  // A circle ends the walk all the same.
  ASSERT_TRUE(file.Open(kCreate));
  for (const char* name : {"a", "b", "c"}) Add(file, name, "data");
  file.Close();
  Patch(folder.Path("a"), 72 + 2 * 36 + offsetof(FlatFile::RecordHeader, next), 72 + 36);
  ASSERT_TRUE(file.Open(kEdit));
  it = file.Begin();
  Add(file, "b", "in");
  int records = 1;
  while (++it != file.End() && records < 9) ++records;
  EXPECT_EQ(records, 3);
}

// ---- Memory

// The most memory that `run` may take beside what there is.
void WithMemory(std::size_t bytes, const std::function<void()>& run) {
  std::ifstream sizes("/proc/self/statm");
  std::size_t pages = 0;
  for (int field = 0; field < 6; ++field) sizes >> pages;
  rlimit old{};
  getrlimit(RLIMIT_DATA, &old);
  const rlimit limit{pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) + bytes, old.rlim_max};
  setrlimit(RLIMIT_DATA, &limit);
  run();
  setrlimit(RLIMIT_DATA, &old);
}

TEST(ArchiveFailure, TablesThatAreHolesTakeNoMemoryToRead) {
  const TemporaryFolder folder;
  constexpr std::uint64_t kApparent = 0xFFFFFFF0;
  for (const char* table : {"index", "nametable"}) {
    const bool isIndex = table == std::string_view("index");
    OxDataFile file(kWidget, folder.Path("a").c_str());
    ASSERT_TRUE(file.Open(kCreate));
    for (const char* name : {"a", "b"}) Add(file, name, "data");
    file.Close();
    // The tables follow the two records.
    const std::size_t block = 72 + 2 * 36 + (isIndex ? 0 : 32 + 2 * 16);
    if (isIndex) {
      std::string bytes = folder.Read("a");
      bytes.append(bytes.substr(block, 64));
      folder.Write("a", bytes);
    }
    const std::uint64_t moved = isIndex ? folder.Read("a").size() - 64 : block;
    if (isIndex) Patch(folder.Path("a"), offsetof(FlatFile::FileHeader, indexPos), moved);
    Patch(folder.Path("a"), moved + offsetof(FlatFile::RecordHeader, dataLength), 0xFFFFF000, 4);
    std::filesystem::resize_file(folder.Path("a"), kApparent);
    for (const short mode : {kRead, short{OxDataFile::kOpenMapped}}) {
      std::vector<std::string> contents;
      WithMemory(std::size_t{4} << 20, [&] {
        if (!file.Open(mode)) return;
        for (auto it = file.Begin(); it != file.End(); ++it) contents.emplace_back(it->GetName().view());
      });
      EXPECT_EQ(contents, (std::vector<std::string>{"a", "b"})) << table << ' ' << mode;
      if (!isIndex) {
        EXPECT_STREQ(file.GetName(2), "b");
        EXPECT_STREQ(file.GetName(0xFFFFF000), "");
        EXPECT_EQ(file.GetName(0xFFFFF001), nullptr);
        EXPECT_EQ(Get(file, "B"), "data");
      }
    }
  }
}

}  // namespace
