#include <algorithm>
#include <filesystem>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Files/OpenFolders.h"
#include "Files/OxFileUtils.h"
#include "Support/FaultyFileOps.h"
#include "Support/Meddler.h"
#include "Support/TemporaryFolder.h"

namespace {

using Support::FaultyFileOps;
using Support::TemporaryFolder;

class OxFileUtilsTest : public testing::Test {
 protected:
  OxString Text(std::string_view name) const { return OxString(folder_.Path(name)); }
  OxPath Path(std::string_view name) const { return Text(name); }

  TemporaryFolder folder_;
};

TEST_F(OxFileUtilsTest, TestsFollowLinksAndDeletionsDoNot) {
  folder_.Write("out/kept", "x");
  folder_.MakeLink("in/deep/link", folder_.Path("out"));
  folder_.MakeLink("in/dangling", "nowhere");
  EXPECT_TRUE(OxFileUtils::IsFile(Path("in/deep/link/kept")));
  EXPECT_FALSE(OxFileUtils::Exists(Path("in/dangling")));
  EXPECT_FALSE(OxFileUtils::Exists(OxPath()));
  unsigned long attributes = 9;
  EXPECT_TRUE(OxFileUtils::GetAttributes(Path("in/deep/link"), attributes));
  EXPECT_EQ(attributes, 1U);
  EXPECT_TRUE(!OxFileUtils::GetAttributes(Path("missing"), attributes) && attributes == 0);
  long seconds = 9;
  EXPECT_TRUE(OxFileUtils::GetLastModified(Path("missing"), seconds) && seconds == 0);
  const timespec longAgo[2] = {{1'000'000'000, 0}, {1'000'000'000, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, folder_.Path("out/kept").c_str(), longAgo, 0), 0);
  EXPECT_TRUE(OxFileUtils::GetLastModified(Path("out/kept"), seconds) && seconds == 1'000'000'000);

  EXPECT_TRUE(WobDeleteFile(Text("missing")));
  EXPECT_FALSE(WobDeleteFile(Text("in")));
  EXPECT_TRUE(WobDeleteFile(Text("in/dangling")));
  EXPECT_FALSE(OxFileUtils::DeletePath(Path("in/dangling")));
  folder_.MakeLink("in/second", folder_.Path("out"));
  EXPECT_TRUE(WobDeleteDirectory(Text("in/second//")));
  EXPECT_TRUE(WobDeleteDirectory(Text("in")));
  EXPECT_FALSE(WobDeleteDirectory(Text("in")));
  EXPECT_FALSE(folder_.Exists("in"));
  EXPECT_TRUE(folder_.Exists("out/kept")) << "a link is removed, not what it leads to";
}

TEST_F(OxFileUtilsTest, FoldersOfAnyDepthAreMadeAndRemoved) {
  OxPath deep = Path("a");
  for (int i = 0; i < 200; ++i) deep /= OxPath("d");
  for (int i = 0; i < 2; ++i) EXPECT_TRUE(OxFileUtils::CreateDirectory(deep));
  folder_.Write("file", "");
  EXPECT_FALSE(WobCreateDirectory(Text("file")));
  EXPECT_FALSE(WobCreateDirectory(Text("file/below")));
  std::string hostile = "x";
  for (int i = 0; i < 150000; ++i) hostile += "/y";
  EXPECT_FALSE(WobCreateDirectory(Text(hostile))) << "without taking memory for the path to each name";
  EXPECT_FALSE(folder_.Exists("x"));
  std::size_t most = 2;
  const OxPath sparse = Path("c") / OxPath(OxString(std::string(3000, '/') + "d"));
  EXPECT_EQ(OxFileUtils::CreateDirectory(sparse, most), OxFileUtils::Creation::kDone);
  EXPECT_EQ(most, 0U) << "a separator is no folder";
  EXPECT_TRUE(WobCopyFile(Text("a"), Text("b")));
  EXPECT_TRUE(OxFileUtils::IsDirectory(OxPath(Path("b") / OxPath("d/d/d"))));
  EXPECT_TRUE(OxFileUtils::DeletePath(Path("a")));
  EXPECT_FALSE(folder_.Exists("a"));
}

TEST_F(OxFileUtilsTest, FoldersDeeperThanAnyPathAreDeleted) {
  folder_.MakeFolder("deep");
  OpenFolders way(OpenFolders::Links::kRefuse);
  ASSERT_EQ(way.Begin(folder_.Path("deep").c_str()), 0);
  for (int i = 0; i < 3000; ++i) {
    ASSERT_EQ(Posix::Files().MakeFolder(way.In("deeper"), 0777), 0);
    ASSERT_EQ(way.Enter("deeper"), 0);
  }
  EXPECT_TRUE(WobDeleteDirectory(Text("deep")));
  EXPECT_FALSE(folder_.Exists("deep"));
}

TEST_F(OxFileUtilsTest, DeletionStaysInsideWhateverIsSwappedMeanwhile) {
  const char* const swapped[] = {"old", "old/a", "old/a/b", "old/a/b/c"};
  for (const char* const name : swapped) {
    for (int call = 1;; ++call) {
      const TemporaryFolder folder;
      folder.Write("out/b/c/kept", "x");
      folder.Write("out/kept", "x");
      folder.Write("old/kept", "x");
      folder.Write("old/a/b/c/kept", "x");
      Support::Meddler meddler(call,
                               [&] { Support::SwapForALink(folder.Path(name), folder.Path("out")); });
      OxFileUtils::DeletePath(OxPath(OxString(folder.Path("old"))));
      if (!meddler.HasMeddled()) break;
      EXPECT_TRUE(folder.Exists("out/b/c/kept") && folder.Exists("out/kept")) << name << call;
    }
  }
}

TEST_F(OxFileUtilsTest, DeletionOfFoldersThatForbidSomething) {
  const bool isRoot = ::geteuid() == 0;
  if (isRoot) {
    ASSERT_EQ(::seteuid(65534), 0);
  }
  const TemporaryFolder folder;
  for (const mode_t mode : {0600U, 0300U, 0700U, 0000U}) {
    for (const bool isEmpty : {true, false}) {
      const std::string path = folder.MakeFolder("a/b");
      if (!isEmpty) folder.Write("a/b/c", "");
      ASSERT_EQ(::chmod(path.c_str(), mode), 0);
      const bool deleted = OxFileUtils::DeletePath(OxPath(OxString(folder.Path("a"))));
      EXPECT_EQ(deleted, mode == 0700 || (mode == 0600 && isEmpty)) << mode << isEmpty;
      if (!deleted) ::chmod(path.c_str(), 0700);
      std::filesystem::remove_all(folder.Path("a"));
    }
  }
  if (isRoot) {
    EXPECT_EQ(::seteuid(0), 0);
  }
}

TEST_F(OxFileUtilsTest, ListingsMatchTheWholeNameAndTellEveryEntry) {
  for (const char* name : {"B.wob", "a.wob", ".h.wob", "c.txt", "bad\xFF.wob"}) folder_.Write(name, "");
  folder_.MakeFolder("d.wob");
  folder_.MakeLink("e.wob", "c.txt");
  std::vector<OxPath> found{OxPath("old")};
  EXPECT_EQ(OxFileUtils::GetFolderContents(Path(""), "*.wob", found), 5);
  EXPECT_EQ(OxFileUtils::GetFolderContents(Path(""), "*", found), 6);
  EXPECT_EQ(OxFileUtils::GetFolderContents(Path("c.txt"), "*", found), 0);
  EXPECT_TRUE(found.empty());
  const OxPath tooLong(OxString(std::string(5000, 'x')));
  EXPECT_EQ(OxFileUtils::GetFolderContents(tooLong, "*", found), 0);

  std::vector<OxFolderEntry> entries;
  EXPECT_EQ(OxFileUtils::ListFolder(tooLong, "*", entries), -1);
  EXPECT_EQ(OxFileUtils::ListFolder(Path(""), "*.wob", entries), 6);
  std::string told;
  std::ranges::sort(entries, {}, [](const OxFolderEntry& entry) { return entry.name.view(); });
  for (const OxFolderEntry& entry : entries) {
    const char kind = "-dl?"[static_cast<int>(entry.kind)];
    told += kind + std::string(entry.name.view()) + (entry.isExact ? " " : "! ");
  }
  EXPECT_EQ(told, "-.h.wob -B.wob -a.wob -bad?.wob! dd.wob le.wob ");

  OxPath first;
  EXPECT_TRUE(OxFileUtils::LocateFirstFileMatching(Path(""), "*.wob", first));
  EXPECT_EQ(first.leaf(), "a.wob");
  EXPECT_FALSE(OxFileUtils::LocateFirstFileMatching(Path(""), ".*", first));
  const FaultyFileOps faults({.failCall = 1, .error = EACCES, .only = Support::FileCall::kListFolder});
  EXPECT_EQ(OxFileUtils::GetFolderContents(Path(""), "*", found), -1);
}

TEST_F(OxFileUtilsTest, UniqueNames) {
  for (const char* name : {"a.txt", "a 1.txt", "x", "x 1 "}) folder_.Write(name, "");
  EXPECT_EQ(OxFileUtils::GetUniqueName(Path(""), "new.txt"), "new.txt");
  EXPECT_EQ(OxFileUtils::GetUniqueName(Path(""), "a.txt"), "a 2.txt");
  EXPECT_EQ(OxFileUtils::GetUniqueName(Path(""), "x"), "x 2 ");
}

TEST_F(OxFileUtilsTest, MovesAndTheirConflicts) {
  const struct {
    const char* source;
    const char* destination;
    OxFileConflictMode mode;
    bool moved;
    const char* target;  // Where the source's content is afterwards.
  } cases[] = {
      {"one", "two", kConflictFail, true, "two"},
      {"one", "taken", kConflictFail, false, "one"},
      {"one", "taken", kConflictReplace, true, "taken"},
      {"one", "folder", kConflictFail, true, "folder/one"},
      {"a.d/one.txt", "folder", kConflictRename, true, "folder/one 1.txt"},
      {"a.d/taken", "folder", kConflictRename, true, "folder/taken 1"},
      {"one", "one", kConflictReplace, true, "one"},
      {"one", "hardlink", kConflictReplace, true, "one"},
      {"missing", "two", kConflictReplace, false, ""},
      {"one", "no/parent", kConflictFail, false, "one"},
      {"folder", "folder/below", kConflictFail, false, ""},
  };
  for (const int error : {0, EXDEV}) {
    for (const auto& row : cases) {
      const TemporaryFolder folder;
      const auto text = [&](const char* name) { return OxString(folder.Path(name)); };
      for (const char* name : {"one", "a.d/one.txt", "a.d/taken"}) folder.Write(name, "moved");
      for (const char* name : {"taken", "folder/one.txt", "folder/taken"}) folder.Write(name, "old");
      std::filesystem::create_hard_link(folder.Path("one"), folder.Path("hardlink"));
      const int first = error == 0 ? 0 : 1;
      const FaultyFileOps faults({first, error, Support::FileCall::kRenameWithoutReplacing});
      const bool moved = WobMoveFile(text(row.source), text(row.destination), row.mode);
      EXPECT_EQ(moved, row.moved) << row.destination << error;
      EXPECT_TRUE(*row.target == 0 || folder.Read(row.target) == "moved") << row.target << error;
      EXPECT_EQ(folder.Read("folder/taken"), "old");
    }
  }
}

TEST_F(OxFileUtilsTest, CopiesKeepContentLinksAndAttributes) {
  const std::string large(700000, 'x');
  const std::string script = folder_.Write("tree/bin/run", large);
  ASSERT_EQ(chmod(script.c_str(), 0750), 0);
  folder_.MakeLink("tree/link", "bin/run");
  EXPECT_TRUE(WobCopyFile(Text("tree"), Text("copy")));
  EXPECT_EQ(folder_.Read("copy/bin/run"), large);
  EXPECT_EQ(std::filesystem::read_symlink(folder_.Path("copy/link")), "bin/run");
  struct stat status = {};
  EXPECT_EQ(stat(folder_.Path("copy/bin/run").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0750U);
  folder_.Write("target/run", "old and to be replaced");
  EXPECT_TRUE(WobCopyFile(Text("tree/bin/run"), Text("target")));
  EXPECT_EQ(folder_.Read("target/run"), large);

  EXPECT_FALSE(WobCopyFile(Text("target/run"), Text("target")));
  EXPECT_FALSE(WobCopyFile(Text("tree"), Text("tree/bin/run/deeper")));
  folder_.MakeLink("aside", folder_.Path("tree/bin"));
  EXPECT_FALSE(WobCopyFile(Text("tree"), Text("aside"))) << "into itself, by way of a link";
  EXPECT_FALSE(WobCopyFile(Text("tree/bin"), Text("target/run/x")));
  ASSERT_EQ(mkfifo(folder_.Path("tree/fifo").c_str(), 0600), 0);
  EXPECT_FALSE(WobCopyFile(Text("tree"), Text("second")));
  folder_.Write("kept", "");
  EXPECT_FALSE(WobCopyFile(Text("tree/fifo"), Text("kept")));
  EXPECT_TRUE(folder_.Exists("kept"));
  EXPECT_FALSE(folder_.Exists("second")) << "no half copy stays";
  EXPECT_EQ(folder_.Read("target/run"), large);
}

TEST_F(OxFileUtilsTest, WholeFiles) {
  EXPECT_TRUE(WobWriteBinaryFile(Text("f"), "long text", 9));
  EXPECT_TRUE(WobWriteBinaryFile(Text("f"), OxBuffer("SHORT")));
  OxBuffer bytes("old");
  EXPECT_TRUE(WobReadBinaryFile(Text("f"), bytes));
  EXPECT_EQ(bytes.view(), "SHORTtext") << "the old tail stays";
  EXPECT_TRUE(WobWriteBinaryFile(Text("no/such/folder"), "x", 1)) << "statuses are not checked";
  EXPECT_TRUE(WobIsReadableFile(Text("f")));
  for (const OxString& path : {Text("missing"), Text(""), OxString()}) {
    EXPECT_FALSE(WobReadBinaryFile(path, bytes) || WobIsReadableFile(path)) << path.c_str();
  }

  EXPECT_TRUE(WobWriteTextFile(Text("f"), "caf\xC3\xA9"));
  EXPECT_TRUE(OxFileUtils::WriteTextFile(Path("f"), "!", OxFileUtils::kAppend));
  EXPECT_EQ(folder_.Read("f"), "caf\xC3\xA9!");
  EXPECT_FALSE(WobWriteTextFile(Text("no/such/folder"), "x"));
  OxString text;
  unsigned int encoding = 0x08000100;
  EXPECT_TRUE(WobReadTextFile(Text("f"), encoding, text));
  EXPECT_EQ(text, "caf\xC3\xA9!");
  EXPECT_FALSE(WobReadFile(Text("missing"), encoding, text));

  EXPECT_EQ(WobGetMD5ForFile(OxString(folder_.Write("abc", "abc"))), "900150983cd24fb0d6963f7d28e17f72");
  EXPECT_EQ(WobGetMD5ForFile(OxString(folder_.Write("empty", ""))), "");
  const FaultyFileOps full({.failCall = 1, .error = ENOSPC, .only = Support::FileCall::kWriteAt});
  EXPECT_FALSE(WobWriteTextFile(Text("f"), "x"));
}

TEST_F(OxFileUtilsTest, Places) {
  const OxString before = WobGetCurrentDirectory();
  folder_.MakeFolder("here");
  {
    StCurrentDirectory scope(Path("here"));
    EXPECT_EQ(WobGetCurrentDirectory(), Text("here"));
    EXPECT_EQ(WobAbsolutePath("a/../b"), Text("here/b"));
    scope.Restore();
    EXPECT_EQ(WobGetCurrentDirectory(), before);
    scope.Set();
    scope.Set();
  }
  EXPECT_EQ(WobGetCurrentDirectory(), before);
  folder_.MakeFolder("b\xFF");
  ASSERT_EQ(Posix::Files().ChangeFolder(folder_.Path("b\xFF").c_str()), 0);
  { StCurrentDirectory scope(Path("here")); }
  std::string restored;
  Posix::Files().CurrentFolder(restored);
  EXPECT_EQ(restored, folder_.Path("b\xFF"));
  EXPECT_TRUE(WobSetCurrentDirectory(before));
  EXPECT_FALSE(WobSetCurrentDirectory(Text("missing")));
  EXPECT_EQ(WobResolvePath(""), "");

  const OxPath temporary = OxFileUtils::GetNewTempFilePath();
  EXPECT_FALSE(OxFileUtils::Exists(temporary));
  EXPECT_TRUE(OxFileUtils::IsDirectory(temporary.branch_path()));
  EXPECT_EQ(temporary.leaf().length(), 16U);
  EXPECT_FALSE(WobGetNewTempFilePath() == temporary.native_string());
  OxPath standard("kept");
  EXPECT_FALSE(OxFileUtils::GetStandardDirectoryPath(static_cast<OxFileUtils::DirID>(1), standard));
  EXPECT_EQ(standard.native_string(), "kept");
}

}  // namespace
