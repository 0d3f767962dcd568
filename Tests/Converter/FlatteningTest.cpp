#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "BundleTest.h"
#include "Listing.h"
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

TEST_F(Flattening, AFileOfTheBundleIsNotWrittenOverByItsOtherName) {
  std::filesystem::create_hard_link(folder.Path("X.widget/Contents/a"), folder.Path("archive"));
  {
    const FaultyFileOps kept({.failCall = 1, .error = EACCES, .only = Support::FileCall::kRemoveFile});
    const Printed printed = Capture([&] { EXPECT_FALSE(Flatten()); });
    EXPECT_EQ(printed.err, "Error: ConvertWidgetBundle: Caught exception!\n");
  }
  EXPECT_TRUE(Flatten());
  EXPECT_EQ(folder.Read("X.widget/Contents/a"), "first");
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
