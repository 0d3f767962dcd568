#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "Files/OpenFolders.h"
#include "Support/FaultyFileOps.h"
#include "Support/TemporaryFolder.h"

namespace {

using Links = OpenFolders::Links;
using Support::TemporaryFolder;

// "0/1/2/..."
std::string Chain(int depth) {
  std::string path;
  for (int i = 0; i < depth; ++i) path += std::to_string(i) + "/";
  return path;
}

std::string OnlyEntry(const OpenFolders& way) {
  std::vector<Posix::FolderEntry> entries;
  EXPECT_EQ(Posix::Files().ListFolder(way.In("."), entries), 0);
  return entries.size() == 1 ? entries.front().name : "several";
}

void GoDown(OpenFolders& way, const std::string& first, int depth) {
  ASSERT_EQ(way.Begin(first.c_str()), 0);
  for (int i = 0; i < depth; ++i) ASSERT_EQ(way.Enter(std::to_string(i)), 0) << i;
}

void ComeBack(OpenFolders& way, int depth) {
  for (int i = depth - 1; i >= 0; --i) {
    ASSERT_EQ(way.Leave(), 0) << i;
    ASSERT_EQ(OnlyEntry(way), std::to_string(i));
  }
  EXPECT_EQ(way.Depth(), 1U);
}

TEST(OpenFolders, LeadDownAndBackWithFewHandles) {
  constexpr int kDepth = 300;
  const TemporaryFolder folder;
  folder.Write(Chain(kDepth) + "end", "");
  for (const rlim_t handles : {rlim_t{64}, rlim_t{12}}) {
    rlimit before = {};
    ::getrlimit(RLIMIT_NOFILE, &before);
    const rlimit few = {.rlim_cur = handles, .rlim_max = before.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &few);
    OpenFolders way(Links::kRefuse);
    GoDown(way, folder.path(), kDepth);
    EXPECT_EQ(OnlyEntry(way), "end");
    ComeBack(way, kDepth);
    ::setrlimit(RLIMIT_NOFILE, &before);
  }
}

TEST(OpenFolders, ReturnOnlyToWhatTheyCameFrom) {
  constexpr int kDepth = 40;
  const TemporaryFolder folder;
  folder.Write(Chain(kDepth) + "end", "");
  OpenFolders way(Links::kRefuse);
  GoDown(way, folder.path(), kDepth);
  std::filesystem::rename(folder.Path("0/1/2"), folder.Path("moved"));
  folder.Write(Chain(kDepth) + "end", "another's");
  EXPECT_EQ(OnlyEntry(way), "end");
  int result = 0;
  while (result == 0 && way.Depth() > 1) result = way.Leave();
  EXPECT_EQ(result, -ESTALE);
}

TEST(OpenFolders, FollowLinksWhereTheyMay) {
  const TemporaryFolder folder;
  folder.Write("real/in/file", "");
  folder.MakeLink("link", "real");
  folder.MakeLink("real/link", "in");
  OpenFolders strict(Links::kRefuse);
  EXPECT_LT(strict.Begin(folder.Path("link").c_str()), 0);
  EXPECT_EQ(strict.Begin(folder.Path("link/in").c_str()), 0);
  EXPECT_EQ(strict.Begin(folder.Path("real").c_str()), 0);
  EXPECT_LT(strict.Enter("link"), 0);
  EXPECT_EQ(strict.Enter("in"), 0);
  EXPECT_EQ(strict.Enter("file"), -ENOTDIR);
  EXPECT_EQ(strict.Depth(), 2U);
  OpenFolders lenient(Links::kFollow);
  EXPECT_EQ(lenient.Begin(folder.Path("link").c_str()), 0);
  EXPECT_EQ(lenient.Enter("link"), 0);
  EXPECT_EQ(OnlyEntry(lenient), "file");
}

}  // namespace
