#include <algorithm>
#include <csignal>
#include <string>
#include <vector>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "Flattening.h"
#include "Listing.h"
#include "Streams.h"
#include "Support/DocumentDump.h"
#include "Support/FaultyFileOps.h"
#include "Support/TemporaryFolder.h"

namespace {

using Support::FaultyFileOps;
using Support::TemporaryFolder;

class Flattening : public testing::Test {
 protected:
  Flattening() {
    folder.Write("X.widget/Contents/main.wob", "<widget version='1.5' image='i.png'/>");
    folder.Write("X.widget/Contents/a", "first");
    folder.Write("X.widget/Contents/sub/b", "second");
  }

  OxPath Path(const char* name) const { return OxPath(folder.Path(name).c_str()); }
  bool Flatten() const { return FlattenBundle(Path("X.widget"), Path("archive"), false, false); }
  std::string Names(const char* archive = "archive") const {
    return Capture([&] { ListFileContents(Path(archive), false); }).out;
  }
  // The entries of every folder in byte order.
  static void Sort(std::vector<Posix::FolderEntry>& entries) {
    std::ranges::sort(entries, {}, &Posix::FolderEntry::name);
  }

  TemporaryFolder folder;
};

TEST_F(Flattening, TheDocumentsDumpIsWhatTheToolWrites) {
  folder.Write("Hello.widget/Contents/hello.wob", "<widget/>\n");
  folder.Write("Hello.widget/Contents/Images/dot.png", "\x89PNG\r\n");
  ASSERT_TRUE(FlattenBundle(Path("Hello.widget"), Path("hello"), false, false));
  EXPECT_EQ(folder.Read("hello"), Support::DocumentDump("flat-archive-format.md", 1));
}

TEST_F(Flattening, AFullDiskLeavesNothing) {
  FaultyFileOps faults(
      {.failCall = 2, .error = ENOSPC, .only = Support::FileCall::kWriteAt, .keepFailing = true});
  const Printed printed = Capture([&] { EXPECT_FALSE(Flatten()); });
  EXPECT_EQ(printed.err, "Error: ConvertWidgetBundle: Caught exception!\n");
  EXPECT_FALSE(folder.Exists("archive"));
}

TEST_F(Flattening, AnInterruptionRemovesTheArchiveAndEndsTheProcess) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    EXPECT_EXIT(
        {
          std::signal(signal, SIG_DFL);
          FaultyFileOps interrupted({.order = [&](auto&) {
            if (folder.Exists("archive")) std::raise(signal);
          }});
          Flatten();
        },
        testing::KilledBySignal(signal), "");
    EXPECT_FALSE(folder.Exists("archive"));
  }
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

// The same path in another case reaches the branch that writes to a temporary file first.
TEST_F(Flattening, IdenticalPathsPutTheArchiveIntoTheBundleFolder) {
  ASSERT_TRUE(FlattenBundle(Path("X.widget"), Path("X.widget"), true, false));
  std::vector<Posix::FolderEntry> entries;
  ASSERT_EQ(Posix::Files().ListFolder(folder.Path("X.widget").c_str(), entries), 0);
  ASSERT_EQ(entries.size(), 2U);
  const std::string name = entries[entries[0].name == "Contents" ? 1 : 0].name;
  EXPECT_EQ(Names(("X.widget/" + name).c_str()).size(), std::string("main.wob\na\nsub/b\n").size());
}

// Of names that differ only in case the archive has what replacing one after the other leaves.
TEST_F(Flattening, TheLaterOfTwoNamesThatDifferInCaseIsStored) {
  folder.Write("X.widget/Contents/A", "bigger");
  folder.Write("X.widget/Contents/SUB/B", "2nd");
  folder.Write("X.widget/Contents/SUB/c", "c");
  folder.MakeLink("X.widget/Contents/SUB/d", "nowhere");
  folder.Write("X.widget/Contents/SUB/e", "not reached");
  folder.Write("X.widget/Contents/sub/e", "kept");
  FaultyFileOps sorted({.order = Sort});
  const Printed printed = Capture([&] { ASSERT_TRUE(Flatten()); });
  EXPECT_EQ(printed.err,
            "warning: 'A' and 'a' differ only in letter case, the later one is stored\n"
            "warning: 'SUB/B' and 'sub/b' differ only in letter case, the later one is stored\n"
            "Error: Unable to read d\n");
  EXPECT_EQ(Names(), "main.wob\nA\nSUB/c\nsub/b\nsub/e\n");
  OxDataFile archive(0x77646774, Path("archive").native_string());
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
class EveryFileSeemsLonger : public Posix::FileOps {
  int OpenStatus(int fd, Posix::FileInfo& info) override {
    const int result = FileOps::OpenStatus(fd, info);
    info.size += 1000;
    return result;
  }

  Posix::ScopedFileOps installed_{this};
};

TEST_F(Flattening, FilesThatAreShorterThanTheySayAreStoredAsTheyAre) {
  {
    const EveryFileSeemsLonger longer;
    EXPECT_EQ(Capture([&] { EXPECT_TRUE(Flatten()); }).err, "");
  }
  OxDataFile archive(0x77646774, Path("archive").native_string());
  ASSERT_TRUE(archive.Open(OxDataFile::kOpenRead));
  OxBuffer data;
  ASSERT_TRUE(archive.GetRecord("sub/b", data));
  EXPECT_EQ(data.view(), "second");
}

TEST_F(Flattening, ASocketIsNotRead) {
  const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = {}};
  folder.Path("X.widget/Contents/s").copy(address.sun_path, sizeof address.sun_path - 1);
  ASSERT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  const Printed printed = Capture([&] { EXPECT_FALSE(Flatten()); });
  close(fd);
  EXPECT_EQ(printed.err, "Error: Unable to read s\nError: failed to write files\n");
  EXPECT_FALSE(folder.Exists("archive"));
}

TEST_F(Flattening, TheMetaDataRecord) {
  OxString text;
  const auto document = ReadWobFile(Path("X.widget/Contents/main.wob").native_string(), text);
  ASSERT_TRUE(document);
  OxDataFile archive(0x77646774, Path("archive").native_string());
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
