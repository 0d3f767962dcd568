#include <cerrno>
#include <map>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "Posix/FileOps.h"
#include "Posix/ResultOf.h"
#include "Support/TemporaryFolder.h"

namespace {

using Posix::FileInfo;
using Posix::FileKind;
using Posix::Files;

Posix::Piece PieceOf(std::string_view text) {
  return std::as_bytes(std::span(text));
}

class FileOps : public testing::Test {
 protected:
  int Open(const std::string& name, unsigned flags) {
    return Files().Open(folder_.Path(name).c_str(), flags);
  }

  Support::TemporaryFolder folder_;
};

TEST_F(FileOps, OpensWithoutWaitingAndCreatesOnlyNewNames) {
  folder_.Write("file", "abc");
  folder_.MakeLink("dangling", folder_.Path("missing"));
  ASSERT_EQ(::mkfifo(folder_.Path("fifo").c_str(), 0600), 0);
  EXPECT_EQ(Open("missing", Posix::kOpenToRead), -ENOENT);
  EXPECT_EQ(Open("file/x", Posix::kOpenToRead), -ENOTDIR);
  EXPECT_EQ(Open("file", Posix::kOpenToWrite | Posix::kOpenNew), -EEXIST);
  EXPECT_EQ(Open("dangling", Posix::kOpenToWrite | Posix::kOpenNew), -EEXIST);
  EXPECT_FALSE(folder_.Exists("missing"));
  EXPECT_EQ(Files().Open("", Posix::kOpenToRead), -ENOENT);
  const int fifo = Open("fifo", Posix::kOpenToRead);
  FileInfo info;
  EXPECT_EQ(Files().OpenStatus(fifo, info), 0);
  EXPECT_EQ(info.kind, FileKind::kOther);
  EXPECT_EQ(Files().Close(fifo), 0);
  EXPECT_EQ(Files().Close(fifo), -EBADF);
}

TEST_F(FileOps, CallsAgainWhatASignalInterrupted) {
  int calls = 0;
  const auto call = [&](int failures, int error) {
    calls = 0;
    return Posix::ResultOf([&, failures, error] {
      errno = calls < failures ? EINTR : error;
      return ++calls <= failures || error != 0 ? -1 : 7;
    });
  };
  EXPECT_EQ(call(2, 0), 7);
  EXPECT_EQ(call(2, EIO), -EIO);
  EXPECT_EQ(calls, 3);
}

TEST_F(FileOps, WritesPiecesInOrderAndReadsAnywhere) {
  const int fd = Open("file", Posix::kOpenToRead | Posix::kOpenToWrite | Posix::kOpenNew);
  const Posix::Piece pieces[] = {PieceOf("ab"), PieceOf(""), PieceOf("cde")};
  EXPECT_EQ(Files().WriteAt(fd, pieces, 3), 5);
  EXPECT_EQ(folder_.Read("file"), std::string("\0\0\0abcde", 8));
  const std::vector<Posix::Piece> many(40, PieceOf("x"));
  EXPECT_THAT(Files().WriteAt(fd, many, 0), testing::AllOf(testing::Gt(0), testing::Le(40)));
  std::byte bytes[8] = {};
  EXPECT_EQ(Files().ReadAt(fd, bytes, 6), 8);
  EXPECT_EQ(Files().SetLength(fd, 2), 0);
  EXPECT_EQ(Files().ReadAt(fd, bytes, 2), 0);
  constexpr std::uint64_t kPastAnyFile = std::uint64_t{1} << 63;
  EXPECT_EQ(Files().ReadAt(fd, bytes, kPastAnyFile), -EINVAL);
  EXPECT_EQ(Files().WriteAt(fd, pieces, kPastAnyFile), -EFBIG);
  EXPECT_EQ(Files().SetLength(fd, kPastAnyFile), -EFBIG);
  EXPECT_EQ(Files().Close(fd), 0);
  EXPECT_EQ(folder_.Read("file"), "xx");
}

TEST_F(FileOps, ListsEveryEntryAsItIs) {
  folder_.Write(".hidden", "");
  folder_.MakeFolder("folder");
  folder_.MakeLink("link", "folder");
  std::vector<Posix::FolderEntry> entries = {{.name = "before"}};
  ASSERT_EQ(Files().ListFolder(folder_.path().c_str(), entries), 0);
  std::map<std::string, FileKind> kinds;
  for (const Posix::FolderEntry& entry : entries) kinds[entry.name] = entry.kind;
  FileInfo info;
  EXPECT_EQ(Files().LinkStatus(folder_.Path(entries.back().name).c_str(), info), 0);
  EXPECT_EQ(entries.back().inode, info.inode);
  EXPECT_THAT(kinds, testing::ElementsAre(testing::Pair(".hidden", FileKind::kRegular),
                                          testing::Pair("before", FileKind::kOther),
                                          testing::Pair("folder", FileKind::kFolder),
                                          testing::Pair("link", FileKind::kLink)));
  EXPECT_EQ(Files().ListFolder(folder_.Path(".hidden").c_str(), entries), -ENOTDIR);
  EXPECT_EQ(entries.size(), 4U);
}

TEST_F(FileOps, StatusFollowsLinksAndLinkStatusDoesNot) {
  const std::string file = folder_.Write("file", "abc");
  const std::string link = folder_.MakeLink("link", std::string(300, '/') + file);
  FileInfo direct;
  FileInfo followed;
  FileInfo ofLink;
  ASSERT_EQ(Files().Status(file.c_str(), direct), 0);
  ASSERT_EQ(Files().Status(link.c_str(), followed), 0);
  ASSERT_EQ(Files().LinkStatus(link.c_str(), ofLink), 0);
  EXPECT_TRUE(followed.IsSameObject(direct));
  EXPECT_EQ(followed.size, 3U);
  EXPECT_EQ(ofLink.kind, FileKind::kLink);
  std::string target = "old";
  EXPECT_EQ(Files().ReadLink(link.c_str(), target), 0);
  EXPECT_EQ(target, std::string(300, '/') + file);
  EXPECT_EQ(Files().ReadLink(file.c_str(), target), -EINVAL);
}

TEST_F(FileOps, RemovesAndRenamesOnlyWhatWasMeant) {
  const std::string file = folder_.Write("file", "abc");
  const std::string other = folder_.Write("other", "old");
  const std::string folder = folder_.MakeFolder("folder");
  EXPECT_EQ(Files().RemoveFile(folder.c_str()), -EISDIR);
  EXPECT_EQ(Files().RemoveFolder(folder_.path().c_str()), -ENOTEMPTY);
  EXPECT_EQ(Files().MakeFolder(folder.c_str(), Posix::kFolderPermissions), -EEXIST);
  EXPECT_EQ(Files().RenameWithoutReplacing(file.c_str(), other.c_str()), -EEXIST);
  EXPECT_EQ(folder_.Read("other"), "old");
  EXPECT_EQ(Files().RenameWithoutReplacing(file.c_str(), folder_.Path("new").c_str()), 0);
  EXPECT_EQ(Files().Rename(folder_.Path("new").c_str(), other.c_str()), 0);
  EXPECT_EQ(folder_.Read("other"), "abc");
  // The check and the rename that stand in for the missing call refuse the same.
  EXPECT_EQ(Files().RenameWithoutReplacing(folder.c_str(), folder_.Path("folder/inside").c_str()),
            -EINVAL);
}

TEST_F(FileOps, CopiesBytesPermissionsAndTime) {
  const std::string from = folder_.Write("from", "0123456789");
  folder_.Write("to", "");
  ASSERT_EQ(::chmod(from.c_str(), 04741), 0);
  const timespec longAgo[2] = {{1'000'000'000, 0}, {1'000'000'000, 0}};
  ASSERT_EQ(::utimensat(AT_FDCWD, from.c_str(), longAgo, 0), 0);
  const int source = Open("from", Posix::kOpenToRead);
  const int target = Open("to", Posix::kOpenToWrite);
  EXPECT_EQ(Files().CopyRange(source, 2, target, 1, 5), 5);
  EXPECT_EQ(folder_.Read("to"), std::string("\0", 1) + "23456");
  EXPECT_EQ(Files().CopyAttributes(source, target), 0);
  EXPECT_EQ(Files().Close(source) + Files().Close(target), 0);
  struct stat status = {};
  ASSERT_EQ(::stat(folder_.Path("to").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0741U);
  EXPECT_EQ(status.st_mtim.tv_sec, 1'000'000'000);
}

}  // namespace
