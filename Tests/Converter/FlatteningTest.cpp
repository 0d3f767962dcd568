#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "BundleTest.h"
#include "BundleWalk.h"
#include "Files/OpenFolders.h"
#include "Files/OxFileUtils.h"
#include "Listing.h"
#include "NameClashes.h"
#include "Streams.h"
#include "Support/DocumentDump.h"
#include "Support/FaultyFileOps.h"

namespace {

using Support::FaultyFileOps;

class Flattening : public BundleTest {
 protected:
  std::string Names() const {
    return Capture([&] { ListFileContents(Path("archive"), false); }).out;
  }
};

TEST_F(Flattening, TheDocumentsDumpIsWhatTheToolWrites) {
  folder.Write("Hello.widget/Contents/hello.wob", "<widget/>\n");
  folder.Write("Hello.widget/Contents/Images/dot.png", "\x89PNG\r\n");
  ASSERT_TRUE(FlattenBundle(Path("Hello.widget"), Path("hello"), false, false));
  EXPECT_EQ(folder.Read("hello"), Support::DocumentDump("flat-archive-format.md", 1));
}

// Does something when a file is about to be opened, by its path or by its name in an open folder.
class BeforeOpening : public Posix::FileOps {
 public:
  BeforeOpening(std::string path, std::function<void()> action)
      : path_(std::move(path)), action_(std::move(action)) {}

  int Open(Posix::Place place, unsigned flags) override {
    const bool isName = place.folder != Posix::Place::kNoFolder;
    if (isName ? path_.ends_with(std::string("/") + place.path) : path_ == place.path) action_();
    return FileOps::Open(place, flags);
  }

 private:
  std::string path_;
  std::function<void()> action_;
  Posix::ScopedFileOps installed_{this};
};

TEST_F(Flattening, AnInterruptionRemovesTheArchiveAndEndsTheProcess) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    EXPECT_EXIT(
        {
          std::signal(signal, SIG_DFL);
          const BeforeOpening interrupted(folder.Path("X.widget/Contents/sub/b"), [&] {
            if (folder.Exists("archive")) std::raise(signal);
          });
          Flatten();
        },
        testing::KilledBySignal(signal), "");
    EXPECT_FALSE(folder.Exists("archive"));
  }
}

// Whatever ends the run: the archive that it was writing is cut, the object that took its place stays.
TEST_F(Flattening, AnotherObjectAtItsPathIsNotRemoved) {
  folder.MakeLink("X.widget/Contents/dangling", "nowhere");
  const std::string archive = folder.Path("archive");
  const auto replace = [&] {
    std::filesystem::rename(archive, folder.Path("moved"));
    folder.Write("archive", "another's");
  };
  {
    const BeforeOpening swapped(folder.Path("X.widget/Contents/dangling"), replace);
    EXPECT_FALSE(Flatten());
  }
  EXPECT_EQ(folder.Read("moved") + folder.Read("archive"), "another's");
  std::filesystem::remove(archive);
  EXPECT_EXIT(
      {
        std::signal(SIGTERM, SIG_DFL);
        const BeforeOpening swapped(folder.Path("X.widget/Contents/dangling"), [&] {
          replace();
          std::raise(SIGTERM);
        });
        Flatten();
      },
      testing::KilledBySignal(SIGTERM), "");
  EXPECT_EQ(folder.Read("moved") + folder.Read("archive"), "another's");
}

TEST_F(Flattening, AnArchiveThatCannotBeRemovedIsEmptied) {
  folder.MakeLink("X.widget/Contents/dangling", "nowhere");
  const FaultyFileOps kept(
      {.failCall = 1, .error = EACCES, .only = Support::FileCall::kRemoveFile, .keepFailing = true});
  const Printed printed = Capture([&] { EXPECT_FALSE(Flatten()); });
  EXPECT_EQ(printed.err,
            "Error: Unable to read dangling\nError: failed to write files\n"
            "Error: could not delete '" +
                folder.Path("archive") + "'\n");
  EXPECT_TRUE(folder.Exists("archive"));
  EXPECT_EQ(folder.Read("archive"), "");
}

TEST_F(Flattening, TwoRunsDoNotWriteOneArchive) {
  const int fd = ::open(folder.Write("archive", "the other's").c_str(), O_RDONLY);
  ASSERT_EQ(::flock(fd, LOCK_EX), 0);
  const Printed printed = Capture([&] { EXPECT_FALSE(Flatten()); });
  EXPECT_EQ(printed.err,
            "Error: '" + folder.Path("archive") + "' is being written by another process\n");
  EXPECT_EQ(folder.Read("archive"), "the other's");
  ::close(fd);
  EXPECT_TRUE(Flatten());
}

// Does something when the output is about to be locked.
class BeforeLocking : public Posix::FileOps {
 public:
  explicit BeforeLocking(std::function<void()> action) : action_(std::move(action)) {}

  int Lock(int fd) override {
    if (std::exchange(isFirst_, false)) action_();
    return FileOps::Lock(fd);
  }

 private:
  std::function<void()> action_;
  bool isFirst_ = true;
  Posix::ScopedFileOps installed_{this};
};

// Another run may come between the making of a new archive and its lock.
TEST_F(Flattening, ANewArchiveThatAnotherRunHasHadIsLeftToIt) {
  const std::string archive = folder.Path("archive");
  int other = -1;
  {
    const BeforeLocking locked([&] { ::flock(other = ::open(archive.c_str(), O_RDONLY), LOCK_EX); });
    const Printed printed = Capture([&] { EXPECT_FALSE(Flatten()); });
    EXPECT_EQ(printed.err, "Error: '" + archive + "' is being written by another process\n");
    EXPECT_TRUE(folder.Exists("archive"));
  }
  ::close(other);
  std::filesystem::remove(archive);
  const BeforeLocking removed([&] { std::filesystem::remove(archive); });
  EXPECT_FALSE(Flatten());
  EXPECT_FALSE(folder.Exists("archive"));
}

// Fails to write what is gathered, and looks whether the archive is locked when it is removed.
class FullDisk : public Posix::FileOps {
 public:
  std::int64_t WriteAt(int fd, std::span<const Posix::Piece> pieces, std::uint64_t position) override {
    return position > 0 ? -ENOSPC : FileOps::WriteAt(fd, pieces, position);
  }
  int RemoveFile(Posix::Place place) override {
    const int other = ::open(place.path, O_RDONLY);
    wasLocked = ::flock(other, LOCK_EX | LOCK_NB) < 0;
    ::close(other);
    return FileOps::RemoveFile(place);
  }

  bool wasLocked = false;

 private:
  Posix::ScopedFileOps installed_{this};
};

TEST_F(Flattening, AnArchiveThatFailsAtItsEndIsRemovedUnderItsLock) {
  FullDisk disk;
  EXPECT_FALSE(Flatten());
  EXPECT_TRUE(disk.wasLocked);
  EXPECT_FALSE(folder.Exists("archive"));
}

// Of two names in a clash one cannot be opened when the clash is settled, and can be afterwards.
TEST_F(Flattening, WhatCannotBeReadWhenClashesAreSettledIsNotStored) {
  folder.Write("X.widget/Contents/sub/B", "1");
  const std::string path = folder.Path("X.widget/Contents/sub/B");
  const std::string aside = folder.Path("aside");
  bool isFirst = true;
  const BeforeOpening away(path, [&] {
    if (std::exchange(isFirst, false)) {
      std::filesystem::rename(path, aside);
    } else {
      std::filesystem::rename(aside, path);
    }
  });
  EXPECT_EQ(Capture([&] { EXPECT_TRUE(Flatten()); }).err, "Error: Unable to read B\n");
}

// Another run has made it and is about to lock it; a lock taken meanwhile would make both fail.
TEST_F(Flattening, AnEmptyFileThatAppearsIsNotLocked) {
  const BeforeOpening appears(folder.Path("archive"), [&] { folder.Write("archive", ""); });
  const Printed printed = Capture([&] { EXPECT_FALSE(Flatten()); });
  EXPECT_EQ(printed.err,
            "Error: '" + folder.Path("archive") + "' is being written by another process\n");
}

// What was there when the bundle was walked is the only thing that may be emptied.
TEST_F(Flattening, AnOutputThatChangesIsNotWritten) {
  const std::string archive = folder.Path("archive");
  const std::string a = folder.Path("X.widget/Contents/a");
  const std::function<void()> kChanges[] = {
      [&] { folder.Write("archive", "kept"); },
      [&] { std::filesystem::rename(folder.Write("victim", "kept"), archive); },
      [&] { std::filesystem::create_hard_link(archive, folder.Path("X.widget/Contents/new")); },
  };
  for (const auto& change : kChanges) {
    const BeforeOpening swapped(archive, change);
    const Printed printed = Capture([&] { EXPECT_FALSE(Flatten()); });
    EXPECT_EQ(printed.err, "Error: ConvertWidgetBundle: Caught exception!\n");
    EXPECT_EQ(folder.Read("archive"), "kept");
  }
}

TEST_F(Flattening, WhatIsNotAFileIsNotOpened) {
  const std::string pipe = folder.Path("pipe");
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0666), 0);
  bool isOpened = false;
  for (const char* link : {"archive", "X.widget/Contents/sub/x", "X.widget/Contents/main.wob"}) {
    std::filesystem::remove(folder.Path(link));
    folder.MakeLink(link, pipe);
    const BeforeOpening target(pipe, [&] { isOpened = true; });
    const BeforeOpening byLink(folder.Path(link), [&] { isOpened = true; });
    Capture([&] { Flatten(); });
    EXPECT_FALSE(isOpened) << link;
    std::filesystem::remove(folder.Path("archive"));
  }
}

// A link that takes the place of what the walk found is not followed.
TEST_F(Flattening, WhatIsSwappedForALinkIsNotRead) {
  folder.Write("other/b", "another's");
  const struct {
    const char* swapped;
    const char* target;
    const char* err;
    const char* names;
  } kCases[] = {
      {"X.widget/Contents/sub/b", "../../../other/b", "Error: Unable to read b\n", "main.wob\na\n"},
      {"X.widget/Contents/sub", "../../other", "Error: Unable to read b\n", "main.wob\na\n"},
      {"X.widget/Contents/a", "../../other/b", "Error: Unable to read a\nError: failed to write files\n",
       ""},
  };
  for (const auto& test : kCases) {
    const FaultyFileOps sorted({.order = Support::SortByName});
    BundlePlan plan = PlanContents(Path("X.widget"), Path("archive"));
    std::filesystem::remove_all(folder.Path(test.swapped));
    folder.MakeLink(test.swapped, test.target);
    const Printed printed = Capture(
        [&] { FlattenBundle(Path("X.widget"), Path("archive"), false, false, std::move(plan)); });
    EXPECT_EQ(printed.err, test.err);
    EXPECT_EQ(folder.Exists("archive") ? Names() : "", test.names);
    std::filesystem::remove(folder.Path(test.swapped));
    std::filesystem::remove(folder.Path("archive"));
    folder.Write("X.widget/Contents/sub/b", "second");
  }
}

// The walk asks by a name in an open folder, which alone would tell nobody what failed.
TEST_F(Flattening, WhatCannotBeAskedForIsNamedByItsPath) {
  folder.Write("far/deep/c", "c");
  folder.MakeLink("X.widget/Contents/far", "../../far");
  std::vector<std::string> reasons;
  for (int call = 1, last = 0; last == 0; ++call) {
    const FaultyFileOps faults({.failCall = call, .only = Support::FileCall::kStatus});
    try {
      PlanContents(Path("X.widget"), Path("archive"));
      if (!faults.Fired()) last = call;
    } catch (const std::system_error& failure) {
      reasons.emplace_back(failure.what());
    }
  }
  const std::string deep = folder.Path("X.widget/Contents/far/deep") + ": Input/output error";
  EXPECT_NE(std::ranges::find(reasons, deep), reasons.end());
  EXPECT_TRUE(std::ranges::all_of(
      reasons, [&](const std::string& reason) { return reason.starts_with(folder.Path("")); }));
}

// Deeper than a path can say, and than there are handles.
TEST_F(Flattening, ADeepBundleIsStoredWhole) {
  constexpr int kDepth = 400;
  const std::string name(20, 'd');
  OpenFolders way(OpenFolders::Links::kRefuse);
  ASSERT_EQ(way.Begin(folder.Path("X.widget/Contents").c_str()), 0);
  for (int i = 0; i < kDepth; ++i) {
    ASSERT_EQ(Posix::Files().MakeFolder(way.In(name.c_str()), Posix::kFolderPermissions), 0);
    ASSERT_EQ(way.Enter(name), 0);
    OxFile file(OxFile::NativePath{"f", way.In("f").folder});
    ASSERT_EQ(file.Open(OxFile::kWrite | OxFile::kCreate), kStatusOk);
  }
  ASSERT_EQ(way.Begin("/"), 0);
  rlimit before = {};
  ::getrlimit(RLIMIT_NOFILE, &before);
  const rlimit few = {.rlim_cur = 24, .rlim_max = before.rlim_max};
  ::setrlimit(RLIMIT_NOFILE, &few);
  EXPECT_EQ(Capture([&] { EXPECT_TRUE(Flatten()); }).err, "");
  ::setrlimit(RLIMIT_NOFILE, &before);
  const std::string names = Names();
  EXPECT_EQ(std::ranges::count(names, '\n'), kDepth + 3);
}

TEST_F(Flattening, ATemporaryArchiveIsPrivate) {
  const auto permissions = [&](const std::string& name) {
    const auto entry = *std::filesystem::directory_iterator(folder.Path(name));
    return static_cast<unsigned>(entry.status().permissions());
  };
  setenv("TMPDIR", folder.MakeFolder("tmp").c_str(), 1);
  std::filesystem::rename(folder.Path("X.widget/Contents"), folder.Path("contents"));
  folder.MakeLink("X.widget/Contents", "../contents");
  unsigned meanwhile = 0;
  {
    const BeforeOpening look(folder.Path("X.widget/Contents/sub/b"),
                             [&] { meanwhile = permissions("tmp"); });
    EXPECT_TRUE(FlattenBundle(Path("X.widget"), Path("X.widget"), false, false));
  }
  unsetenv("TMPDIR");
  EXPECT_EQ(meanwhile, 0600U);
  std::filesystem::remove(folder.Path("X.widget/Contents"));
  const mode_t mask = ::umask(0);
  ::umask(mask);
  EXPECT_EQ(permissions("X.widget"), 0666U & ~mask);
}

TEST_F(Flattening, ALateSignalAndAnIgnoredOneChangeNothing) {
  EXPECT_EXIT(
      {
        std::signal(SIGHUP, SIG_IGN);
        std::signal(SIGTERM, SIG_DFL);
        FaultyFileOps interrupted({.order = [](auto&) { std::raise(SIGHUP); }});
        Flatten();
        std::raise(SIGTERM);
      },
      testing::KilledBySignal(SIGTERM), "");
  EXPECT_TRUE(folder.Exists("archive"));
}

// Of names that differ only in case the archive has what replacing one after the other leaves.
TEST_F(Flattening, TheLaterOfTwoNamesThatDifferInCaseIsStored) {
  folder.Write("X.widget/Contents/A", "bigger");
  folder.Write("X.widget/Contents/SUB/B", "2nd");
  folder.Write("X.widget/Contents/SUB/c", "c");
  folder.MakeLink("X.widget/Contents/SUB/d", "nowhere");
  folder.Write("X.widget/Contents/SUB/e", "not reached");
  folder.Write("X.widget/Contents/sub/e", "kept");
  FaultyFileOps sorted({.order = Support::SortByName});
  const Printed printed = Capture([&] { ASSERT_TRUE(Flatten()); });
  EXPECT_EQ(printed.err,
            "warning: 'A' and 'a' differ only in letter case, the later one is stored\n"
            "warning: 'SUB/B' and 'sub/b' differ only in letter case, the later one is stored\n"
            "Error: Unable to read d\n");
  EXPECT_EQ(Names(), "main.wob\nA\nSUB/c\nsub/b\nsub/e\n");
  OxDataFile archive(FlatFile::kWidget, Path("archive").native_string());
  ASSERT_TRUE(archive.Open(OxDataFile::kOpenRead));
  OxBuffer data;
  ASSERT_TRUE(archive.GetRecord("A", data));
  EXPECT_EQ(data.view(), "first");
}

TEST_F(Flattening, AFolderThatCannotBeListed) {
  const struct {
    int call;
    bool succeeds;
    const char* err;
  } kCases[] = {{1, false, "Error: Unable to read or parse .wob file\n"},
                {2, false, "Error: Unable to read Contents\nError: failed to write files\n"},
                {3, true, "Error: Unable to read sub\n"}};
  for (const auto& test : kCases) {
    FaultyFileOps faults(
        {.failCall = test.call, .error = EACCES, .only = Support::FileCall::kListFolder});
    const Printed printed = Capture([&] { EXPECT_EQ(Flatten(), test.succeeds); });
    EXPECT_EQ(printed.err, test.err);
  }
}

// As files do that a system makes up when they are read.
TEST_F(Flattening, FilesThatAreShorterThanTheySayAreStoredAsTheyAre) {
  {
    const FaultyFileOps longer({.extraLength = 1000});
    EXPECT_EQ(Capture([&] { EXPECT_TRUE(Flatten()); }).err, "");
  }
  OxDataFile archive(FlatFile::kWidget, Path("archive").native_string());
  ASSERT_TRUE(archive.Open(OxDataFile::kOpenRead));
  OxBuffer data;
  ASSERT_TRUE(archive.GetRecord("sub/b", data));
  EXPECT_EQ(data.view(), "second");
}

TEST_F(Flattening, AFileWithAnotherNameIsNotWrittenOver) {
  folder.Write("other", "other");
  std::filesystem::create_hard_link(folder.Path("other"), folder.Path("archive"));
  const FaultyFileOps kept({.failCall = 1, .error = EACCES, .only = Support::FileCall::kRemoveFile});
  const Printed printed = Capture([&] { EXPECT_FALSE(Flatten()); });
  EXPECT_EQ(printed.err, "Error: ConvertWidgetBundle: Caught exception!\n");
  EXPECT_EQ(folder.Read("archive"), "other");
}

// Neither through a listing without inode numbers, nor where the folder that it is in cannot be listed.
TEST_F(Flattening, AnOutputThatTheBundleReachesIsRefused) {
  folder.Write("far/archive", "far");
  folder.MakeLink("X.widget/Contents/far", "../../far");
  folder.MakeLink("archive", "far/archive");
  const auto forget = [](std::vector<Posix::FolderEntry>& entries) {
    for (Posix::FolderEntry& entry : entries) entry.inode = 0;
    Support::SortByName(entries);
  };
  for (const int failCall : {0, 3}) {
    FaultyFileOps faults({.failCall = failCall,
                          .error = EACCES,
                          .only = Support::FileCall::kListFolder,
                          .order = forget});
    const Printed printed = Capture([&] { EXPECT_FALSE(Flatten()); });
    EXPECT_EQ(printed.err, "Error: output and input paths are identical\n");
    EXPECT_EQ(faults.FailedPath().ends_with("far"), failCall != 0);
  }
  EXPECT_EQ(folder.Read("far/archive"), "far");
}

TEST_F(Flattening, OnlySoManyFilesAreReachedThroughLinks) {
  for (int i = 0; i < 1000; ++i) folder.Write("d/" + std::to_string(i), "");
  for (int i = 0; i < 100; ++i) folder.MakeLink("X.widget/Contents/l" + std::to_string(i), "../../d");
  const BundlePlan most = PlanContents(Path("X.widget"), Path("archive"));
  EXPECT_EQ(most.failure, "");
  std::size_t steps = 0;
  for (BundlePlan::Position at = 0; at < most.End(); at = most.Next(at)) ++steps;
  EXPECT_EQ(steps, kMostLinkedFiles + 2);
  folder.MakeLink("X.widget/Contents/one-more", "a");
  folder.Write("archive", "old");
  const Printed printed = Capture([&] { EXPECT_FALSE(Flatten()); });
  EXPECT_EQ(printed.err,
            "Error: more than 100000 files are reached through links\nError: failed to write files\n");
  EXPECT_EQ(folder.Read("archive"), "old");
}

// Their order never rests on the hash alone.
TEST(FoldedName, EqualHashesAreNotEqualNames) {
  std::vector<FoldedName> names;
  for (const char* name : {"b", "\xF4\x90\x80\x80", "c", "\xF4\x90\x80\x80", "A"}) {
    names.emplace_back(name, 1);
  }
  EXPECT_FALSE(HasEqualNames(names));
  names.emplace_back("a", 2);
  EXPECT_FALSE(HasEqualNames(names)) << "of equal hashes only";
  names.emplace_back("B", 1);
  EXPECT_TRUE(HasEqualNames(names));
}

TEST_F(Flattening, WithoutATemporaryPathNothingIsWritten) {
  folder.MakeFolder("place/Contents");
  const StCurrentDirectory inside(Path("place"));
  setenv("TMPDIR", folder.MakeFolder("\xFF").c_str(), 1);
  const Printed printed =
      Capture([&] { EXPECT_FALSE(FlattenBundle(Path("X.widget"), Path("X.widget"), false, false)); });
  unsetenv("TMPDIR");
  EXPECT_EQ(printed.err, "Error: no temporary file can be made\n");
  EXPECT_TRUE(std::filesystem::is_empty(folder.Path("place/Contents")));
}

TEST_F(Flattening, TheMetaDataRecord) {
  OxString text;
  const auto document = ReadWobFile(Path("X.widget/Contents/main.wob").native_string(), text);
  ASSERT_TRUE(document);
  OxDataFile archive(FlatFile::kWidget, Path("archive").native_string());
  ASSERT_TRUE(archive.Open(OxDataFile::kOpenRead | OxDataFile::kOpenWrite | OxDataFile::kOpenCreate));
  WriteMetaData(OxXMLDoc::Make(), archive);
  EXPECT_EQ(Capture([&] { WriteMetaData(document, archive); }).out, "");
  OxBuffer data;
  ASSERT_TRUE(archive.GetRecord("__METADATA__", data));
  EXPECT_EQ(data.view(), std::string_view("\0\0\0\0"
                                          "1.5\0\0\0\0i.png\0",
                                          17));
  document->GetRoot()->RemoveAttribute("version");
  EXPECT_EQ(Capture([&] { WriteMetaData(document, archive); }).out,
            "Warning: Widget does not seem to have a 'version' attribute.\n");
}

}  // namespace
