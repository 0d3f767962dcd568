#include <array>
#include <cstring>
#include <span>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "Files/OxFile.h"
#include "Files/OxMappedFile.h"
#include "Support/FaultyFileOps.h"
#include "Support/TemporaryFolder.h"

namespace {

using Support::FaultyFileOps;
using Support::TemporaryFolder;

TEST(OxFile, OpenTellsWhyItCannot) {
  const TemporaryFolder folder;
  folder.Write("file", "x");
  folder.MakeFolder("folder");
  folder.MakeLink("dangling", folder.Path("nowhere"));
  folder.MakeLink("link", folder.Path("file"));
  ASSERT_EQ(mkfifo(folder.Path("fifo").c_str(), 0600), 0);
  const std::string tooLong(300, 'n');
  const struct {
    std::string path;
    unsigned long permission;
    FileStatus status;
  } cases[] = {{"file", 1, 0},        {"link", 1, 0},       {"link", 33, -1302},
               {"missing", 3, -43},   {"file", 0, -54},     {"file", 4, -54},
               {"folder", 1, -1302},  {"folder", 2, -1302}, {"fifo", 1, -1302},
               {"dangling", 3, -43},  {"dangling", 7, -48}, {"file/below", 1, -120},
               {"no/parent", 7, -43}, {tooLong, 7, -37},    {"new", 6, 0}};
  for (const auto& row : cases) {
    OxFile file(folder.Path(row.path).c_str());
    EXPECT_EQ(file.Open(row.permission), row.status) << row.path << ' ' << row.permission;
    EXPECT_EQ(file.WasCreated(), row.path == "new");
  }
  EXPECT_FALSE(folder.Exists("missing"));
  EXPECT_FALSE(folder.Exists("nowhere"));
  EXPECT_EQ(folder.Read("new"), "");
  EXPECT_EQ(folder.Read("file"), "x") << "opening never truncates";
}

TEST(OxFile, PositionsAndLengths) {
  const TemporaryFolder folder;
  OxFile file(folder.Path("f").c_str());
  std::array<char, 10> bytes{};
  unsigned long got = 99;
  EXPECT_EQ(file.Write("x", 0) + file.Write("x", 1), kStatusNotOpen);
  EXPECT_THROW(file.GetPosition(), OxFile::FileNotOpen);
  EXPECT_THROW(file.GetLength(), OxFile::FileNotOpen);
  ASSERT_EQ(file.Open(7), 0);
  EXPECT_EQ(file.Write("0123456789", 10) + file.SetPosition(8), 0);
  EXPECT_EQ(file.Read(bytes.data(), 5, &got), kStatusEndOfFile);
  EXPECT_EQ(got, 2U);
  EXPECT_EQ(file.SetPosition(10), 0);
  for (const std::uint64_t far : {std::uint64_t{11}, std::uint64_t{1} << 63, ~std::uint64_t{0}}) {
    EXPECT_EQ(file.SetPosition(far), kStatusEndOfFile);
    EXPECT_EQ(file.GetPosition(), 10U);
  }
  EXPECT_EQ(file.SetEOF(4), 0);
  EXPECT_EQ(file.GetPosition(), 10U) << "cutting leaves the position alone";
  {
    const FaultyFileOps full({.failCall = 1, .error = ENOSPC, .only = Support::FileCall::kWriteAt});
    EXPECT_EQ(file.Write("ab", 2), kStatusDiskFull);
    EXPECT_EQ(file.GetLength(), 4U);
  }
  EXPECT_EQ(file.Write("ab", 2), 0);
  EXPECT_EQ(folder.Read("f"), std::string("0123\0\0\0\0\0\0ab", 12));
  EXPECT_EQ(file.SetPosition(0) + file.GoToEOF(), 0);
  EXPECT_EQ(file.GetPosition(), 12U);

  OxFile reader(folder.Path("f").c_str());
  ASSERT_EQ(reader.Open(OxFile::kRead), 0);
  file.Write("more", 4);
  EXPECT_EQ(reader.GetLength(), 16U) << "a reader sees the file grow";
  EXPECT_EQ(reader.SetPosition(16), 0);
  EXPECT_NE(reader.SetEOF(16), 0) << "also where nothing would change";
  EXPECT_EQ(file.Delete(), 0);
  EXPECT_EQ(file.Delete(), kStatusFileNotFound);
  EXPECT_FALSE(file.Exists());
}

TEST(OxMappedFile, ChunksStopAtTheEnd) {
  const TemporaryFolder folder;
  OxMappedFile file;
  for (const std::string& path : {folder.Write("empty", ""), folder.Path("missing"), folder.path()}) {
    EXPECT_FALSE(file.Open(path.c_str())) << path;
  }
  ASSERT_TRUE(file.Open(folder.Write("f", "0123456789").c_str()));
  std::array<char, 10> bytes{};
  unsigned long got = 99;
  EXPECT_FALSE(file.ReadChunk(10, 0, bytes.data(), &got));
  EXPECT_FALSE(file.ReadChunk(~0UL, 2, bytes.data(), &got));
  EXPECT_EQ(got, 99U);
  EXPECT_FALSE(file.ReadChunk(8, 3, bytes.data(), &got));
  EXPECT_EQ(got, 2U);
  EXPECT_TRUE(file.ReadChunk(8, 2, bytes.data(), nullptr));
  EXPECT_EQ(std::string(bytes.data(), 2), "89");
  file.Close();
  EXPECT_FALSE(file.ReadChunk(0, 1, bytes.data(), nullptr));
}

}  // namespace
