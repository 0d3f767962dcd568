#include "Flattening.h"
#include "Streams.h"
#include "Support/FaultyFileOps.h"
#include "Support/TemporaryFolder.h"
#include "Unflattening.h"

namespace {

using Support::FaultyFileOps;
using Support::TemporaryFolder;

class Unflattening : public testing::Test {
 protected:
  Unflattening() {
    folder.Write("X.widget/Contents/main.wob", "<widget/>");
    folder.Write("X.widget/Contents/sub/b", "second");
    FlattenBundle(Path("X.widget"), Path("archive"), false, false);
  }

  OxPath Path(const char* name) const { return OxPath(folder.Path(name).c_str()); }

  TemporaryFolder folder;
};

// Either the result is false, or every file is there; the one silent exception is a file that cannot be
// opened. The archive is never touched.
TEST_F(Unflattening, WhicheverCallFailsTheResultTellsIt) {
  const std::string archive = folder.Read("archive");
  folder.Write("out/old", "old");
  for (int n = 1;; ++n) {
    SCOPED_TRACE(n);
    ASSERT_LT(n, 1000);
    FaultyFileOps faults({.failCall = n, .error = EIO});
    bool succeeded = false;
    const Printed printed =
        Capture([&] { succeeded = UnflattenFile(Path("archive"), Path("out"), true); });
    if (!faults.Fired()) break;
    EXPECT_EQ(folder.Read("archive"), archive);
    if (!succeeded || printed.out.starts_with("Unable to open")) continue;
    const bool skippedOne = printed.out == "Extracted main.wob\n" || printed.out == "Extracted sub/b\n";
    EXPECT_TRUE(skippedOne || folder.Read("out/Contents/sub/b") == "second") << printed.out;
    EXPECT_FALSE(folder.Exists("out/old"));
  }
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

TEST_F(Unflattening, AnArchiveInsideTheBundleToBeDeletedStopsIt) {
  folder.Write("out/kept", "old");
  folder.Write("out/deep/archive", folder.Read("archive"));
  folder.MakeLink("link", folder.Path("out/deep/archive"));
  for (const char* archive : {"out/deep/archive", "link"}) {
    Capture([&] { EXPECT_FALSE(UnflattenFile(Path(archive), Path("out"), false)); });
    EXPECT_TRUE(folder.Exists("out/kept") && folder.Exists("out/deep/archive"));
  }
}

// Only callers other than the program's entry, and its "-flat -unflat", give identical paths.
TEST_F(Unflattening, IdenticalPathsPutTheBundleBesideTheArchive) {
  ASSERT_TRUE(UnflattenFile(Path("archive"), Path("archive"), false));
  std::vector<Posix::FolderEntry> entries;
  ASSERT_EQ(Posix::Files().ListFolder(folder.path().c_str(), entries), 0);
  EXPECT_EQ(entries.size(), 3U);
  for (const auto& entry : entries) {
    if (entry.name == "archive" || entry.name == "X.widget") continue;
    EXPECT_EQ(folder.Read(entry.name + "/Contents/sub/b"), "second");
  }
}

}  // namespace
