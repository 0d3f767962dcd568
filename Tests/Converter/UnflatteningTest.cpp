#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <span>
#include <utility>

#include "BundleTest.h"
#include "Listing.h"
#include "Streams.h"
#include "Support/FaultyFileOps.h"
#include "Support/Meddler.h"
#include "Unflattening.h"

namespace {

using Support::FaultyFileOps;

class Unflattening : public BundleTest {};

template <std::size_t Size>
std::string Text(const std::array<std::byte, Size>& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), Size};
}

// 200 headers in a row: the payload of each is all that follows it, its name an end of `names`.
std::string Overlapping(const std::string& names, std::uint32_t nameStep, std::uint32_t payloadBytes) {
  constexpr std::uint32_t kRecords = 200;
  constexpr std::uint64_t kFirst = FlatFile::kFileHeaderSize;
  const std::uint64_t end = kFirst + kRecords * FlatFile::kRecordHeaderSize + payloadBytes;
  std::string file = Text(FlatFile::Encode({.typeCode = FlatFile::kWidget,
                                            .usedList = {kFirst, kFirst},
                                            .freeList = {},
                                            .nameTablePos = end}));
  for (std::uint32_t i = 0; i < kRecords; ++i) {
    const std::uint64_t next = file.size() + FlatFile::kRecordHeaderSize;
    file += Text(FlatFile::Encode({.nameOffset = i * nameStep,
                                   .dataLength = static_cast<std::uint32_t>(end - next),
                                   .flags = FlatFile::kInUse,
                                   .next = i + 1 < kRecords ? next : FlatFile::kNoPosition}));
  }
  file.append(payloadBytes, 'x');
  file += Text(
      FlatFile::Encode(FlatFile::RecordHeader{.dataLength = static_cast<std::uint32_t>(names.size())}));
  return file + names;
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
  folder.Write("archive", Overlapping(std::string(200, 'n'), 1, 100000));
  const Printed printed =
      Capture([&] { EXPECT_FALSE(UnflattenFile(Path("archive"), Path("out"), false)); });
  EXPECT_EQ(printed.err,
            "Error: the records of '" + folder.Path("archive") + "' overlap, the rest is left out\n");
  EXPECT_EQ(folder.Read("out/Contents/" + std::string(200, 'n')).size(), 100000U + 199 * 32);
  EXPECT_TRUE(folder.Exists("out/Contents/" + std::string(50, 'n')));
  EXPECT_FALSE(folder.Exists("out/Contents/n"));

  folder.Write("archive", Overlapping(std::string(200000, 'n'), 1, 0));
  const Printed listed = Capture([&] { ListFileContents(Path("archive"), false); });
  EXPECT_EQ(listed.err, "Error: the listing of '" + folder.Path("archive") + "' ends early\n");
  EXPECT_LT(listed.out.size(), 17U << 20);
}

TEST_F(Unflattening, NamesThatOverlapDoNotFillTheDiskWithFolders) {
  std::string names;
  for (int i = 0; i < 300; ++i) names += std::to_string(100 + i) + '/';
  folder.Write("archive", Overlapping(names + 'f', 4, 0));
  const Printed printed =
      Capture([&] { EXPECT_FALSE(UnflattenFile(Path("archive"), Path("out"), false)); });
  EXPECT_EQ(printed.err,
            "Error: the records of '" + folder.Path("archive") + "' overlap, the rest is left out\n");
  EXPECT_LE(std::distance(std::filesystem::recursive_directory_iterator(folder.Path("out")), {}), 4100);

  OxDataFile honest(FlatFile::kWidget, folder.Path("archive").c_str());
  honest.Open(OxDataFile::kOpenRead | OxDataFile::kOpenWrite | OxDataFile::kOpenCreate);
  for (int i = 0; i < 5000; ++i) honest.AddRecord(OxString((std::to_string(i) + "/f").c_str()), 1, "x");
  honest.Close();
  EXPECT_TRUE(UnflattenFile(Path("archive"), Path("out"), false));
  EXPECT_EQ(std::distance(std::filesystem::recursive_directory_iterator(folder.Path("out")), {}), 10001);
}

TEST_F(Unflattening, OnlyWhatIsWrongWithANameIsPassedOver) {
  ASSERT_TRUE(Flatten());
  const auto extract = [&](int error) {
    FaultyFileOps faults({.failCall = 2, .error = error, .only = Support::FileCall::kOpen});
    return UnflattenFile(Path("archive"), Path("out"), false);
  };
  for (const int error : {ENOSPC, EDQUOT, EMFILE, ENFILE, ENOMEM, EROFS, EIO, EACCES}) {
    const std::string err = Capture([&] { EXPECT_FALSE(extract(error)); }).err;
    EXPECT_EQ(err, "Error: could not write to file '" + folder.Path("out/Contents/main.wob") + "'\n");
  }
  for (const int error : {ENAMETOOLONG, EISDIR, ENOTDIR, ENOENT, ELOOP}) {
    EXPECT_EQ(Capture([&] { EXPECT_TRUE(extract(error)) << error; }).err, "");
    EXPECT_FALSE(folder.Exists("out/Contents/main.wob"));
    EXPECT_TRUE(folder.Exists("out/Contents/sub/b"));
  }
}

TEST_F(Unflattening, AnEmptiedFolderThatCannotBeRemovedServes) {
  ASSERT_TRUE(Flatten());
  folder.Write("out/old", "old");
  FaultyFileOps faults({.failCall = 1, .error = EBUSY, .only = Support::FileCall::kRemoveFolder});
  EXPECT_EQ(Capture([&] { EXPECT_TRUE(UnflattenFile(Path("archive"), Path("out"), false)); }).err, "");
  EXPECT_TRUE(faults.Fired());
  EXPECT_FALSE(folder.Exists("out/old"));
  EXPECT_EQ(folder.Read("out/Contents/sub/b"), "second");
}

TEST_F(Unflattening, StaysInItsBundleWhateverIsSwappedMeanwhile) {
  ASSERT_TRUE(Flatten());
  const struct {
    const char* name;
    const char* target;
  } kSwaps[] = {{"out", "precious"},
                {"out/Contents", "precious"},
                {"out/Contents/sub", "precious"},
                {"out/Contents/sub/b", "precious/stone"}};
  for (const auto& swap : kSwaps) {
    for (int call = 1;; ++call) {
      for (const char* left : {"out", "out.moved"}) std::filesystem::remove_all(folder.Path(left));
      folder.Write("out/Contents/sub/old", "old");
      folder.Write("precious/stone", "precious");
      Support::Meddler meddler(
          call, [&] { Support::SwapForALink(folder.Path(swap.name), folder.Path(swap.target)); });
      Capture([&] { UnflattenFile(Path("archive"), Path("out"), false); });
      if (!meddler.HasMeddled()) break;
      const std::filesystem::recursive_directory_iterator precious(folder.Path("precious"));
      EXPECT_EQ(std::distance(begin(precious), end(precious)), 1) << swap.name << call;
      EXPECT_EQ(folder.Read("precious/stone"), "precious") << swap.name << call;
    }
  }
}

TEST_F(Unflattening, ABundleThatSomebodyElseMakesIsRefused) {
  ASSERT_TRUE(Flatten());
  for (int call = 1;; ++call) {
    std::filesystem::remove_all(folder.Path("out"));
    bool isMadeByThem = false;
    Support::Meddler meddler(call, [&] {
      isMadeByThem = !folder.Exists("out");
      if (isMadeByThem) folder.Write("out/Contents/theirs", "theirs");
    });
    bool done = false;
    Capture([&] { done = UnflattenFile(Path("archive"), Path("out"), false); });
    if (!meddler.HasMeddled()) break;
    EXPECT_EQ(done, folder.Exists("out/Contents/a")) << call;
    EXPECT_FALSE(isMadeByThem && done && folder.Exists("out/Contents/theirs")) << call;
  }
}

TEST_F(Unflattening, APathThatIsTooLongAsAWholeIsTooLong) {
  const std::size_t above = folder.Path("out/Contents/").size();
  const auto extract = [&](std::size_t folderLength, std::size_t nameLength) {
    OxDataFile archive(FlatFile::kWidget, folder.Path("archive").c_str());
    archive.Open(OxDataFile::kOpenRead | OxDataFile::kOpenWrite | OxDataFile::kOpenCreate);
    std::string name;
    while (above + name.size() + 202 < folderLength) name += std::string(200, 'd') + '/';
    name.resize(folderLength - above, 'e');
    archive.AddRecord(OxString(name + '/' + std::string(nameLength, 'n')), 1, "x");
    archive.Close();
    bool done = false;
    const std::string err =
        Capture([&] { done = UnflattenFile(Path("archive"), Path("out"), false); }).err;
    const bool isMade = folder.Exists("out/Contents/" + std::string(200, 'd'));
    const auto files = isMade ? std::filesystem::recursive_directory_iterator(folder.Path("out"))
                              : std::filesystem::recursive_directory_iterator();
    const bool isWritten =
        std::any_of(begin(files), end(files), [](auto& entry) { return !entry.is_directory(); });
    return std::string(done ? "done " : "failed ") + (isMade ? "made " : "") +
           (isWritten ? "written" : "") + err.substr(0, 33);
  };
  EXPECT_EQ(extract(4000, 94), "done made written");
  EXPECT_EQ(extract(4000, 95), "done made ");
  EXPECT_EQ(extract(4095, 1), "done made ");
  EXPECT_EQ(extract(4096, 1), "failed Error: could not create directory");
}

TEST_F(Unflattening, AnInterruptionRemovesTheTemporaryBundle) {
  ASSERT_TRUE(Flatten());
  setenv("TMPDIR", folder.MakeFolder("tmp").c_str(), 1);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    EXPECT_EXIT(
        {
          std::signal(signal, SIG_DFL);
          Support::Meddler interrupted(20, [&] {
            const std::filesystem::recursive_directory_iterator made(folder.Path("tmp"));
            if (std::distance(begin(made), end(made)) > 3) std::raise(signal);
          });
          UnflattenFile(Path("archive"), Path("archive"), false);
        },
        testing::KilledBySignal(signal), "");
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path("tmp")));
  }
  unsetenv("TMPDIR");
}

// Looks, while files are written, at who may go where they are.
class Onlooker final : public Posix::FileOps {
 public:
  explicit Onlooker(const std::string& folder) : folder_(folder), installed_(this) {}
  std::int64_t WriteAt(int fd, std::span<const Posix::Piece> pieces, std::uint64_t position) override {
    for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
      modes.insert(static_cast<int>(entry.status().permissions()));
    }
    return FileOps::WriteAt(fd, pieces, position);
  }
  std::set<int> modes;

 private:
  std::string folder_;
  Posix::ScopedFileOps installed_;
};

// Puts another folder in the place of a private one as soon as that is made.
class FolderSwapper final : public Posix::FileOps {
 public:
  explicit FolderSwapper(const std::string& other) : other_(other), installed_(this) {}
  int MakeFolder(Posix::Place place, unsigned permissions) override {
    const int made = FileOps::MakeFolder(place, permissions);
    if (permissions != 0700) return made;
    std::filesystem::rename(place.path, other_ + " aside");
    std::filesystem::rename(other_, place.path);
    return made;
  }

 private:
  std::string other_;
  Posix::ScopedFileOps installed_;
};

TEST_F(Unflattening, AFolderInPlaceOfTheTemporaryOneIsNotUsed) {
  ASSERT_TRUE(Flatten());
  setenv("TMPDIR", folder.MakeFolder("tmp").c_str(), 1);
  std::ofstream(folder.MakeFolder("other") + "/file") << "kept";
  {
    const FolderSwapper swapper(folder.Path("other"));
    const auto unflatten = [&] { return UnflattenFile(Path("archive"), Path("archive"), false); };
    EXPECT_EQ(Capture([&] { EXPECT_FALSE(unflatten()); }).err, "Error: no temporary file can be made\n");
  }
  unsetenv("TMPDIR");
  const std::filesystem::recursive_directory_iterator left(folder.Path("tmp"));
  EXPECT_EQ(std::distance(begin(left), end(left)), 2) << "the folder and its file";
}

TEST_F(Unflattening, ATemporaryBundleIsPrivate) {
  ASSERT_TRUE(Flatten());
  setenv("TMPDIR", folder.MakeFolder("tmp").c_str(), 1);
  Onlooker onlooker(folder.Path("tmp"));
  EXPECT_TRUE(UnflattenFile(Path("archive"), Path("archive"), false));
  unsetenv("TMPDIR");
  EXPECT_EQ(onlooker.modes, std::set<int>{0700});
}

}  // namespace
