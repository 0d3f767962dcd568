#include <cstdint>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "Flattening.h"
#include "Listing.h"
#include "Posix/FileOps.h"
#include "Streams.h"
#include "Support/Damage.h"
#include "Support/TemporaryFolder.h"
#include "Unflattening.h"
#include "Utilities/TextDecoding.h"
#include "Xml/OxXMLDoc.h"
#include "Xml/OxXMLParser.h"

// Every truncation and every changed byte of what comes from strangers.
namespace {

using Support::ForEachDamage;
using Support::TemporaryFolder;

bool Parses(const OxString& text, bool strict, const Hux::SmartPtr<OxXMLDoc>& document) {
  OxXMLParser parser;
  parser.SetStrict(strict);
  const OxXMLError error = parser.Parse(text, document);
  const bool parsed = error.GetError() == OxXMLError::kNoError;
  EXPECT_TRUE(parsed || (error.GetLine() > 0 && !error.GetDescription().empty()));
  return parsed;
}

TEST(Damage, ADescriptionParsesOrFailsWithItsLine) {
  const std::string good =
      "<?xml version='1.0' encoding='utf-8'?>\n<!DOCTYPE widget [<!ENTITY e 'v'> <!ATTLIST widget a "
      "CDATA "
      "'1'>]>\n<!--c--><widget a='&e;&#65;' b=\"\xC3\xA9\"><x><![CDATA[<]]></x>&amp;t&e;<y/></widget>";
  std::string all;
  for (int change = 1; change < 256; ++change) all += static_cast<char>(change);
  int parsed = 0, damages = 0;
  const auto judge = [&](const std::string& bytes) {
    unsigned int encoding = 0xFFFFFFFF;
    const OxString text = WobHandleCharacterEncodings(OxBuffer(bytes.data(), bytes.size()), encoding);
    for (const bool strict : {true, false}) {
      const Hux::SmartPtr<OxXMLDoc> document = OxXMLDoc::Make();
      if (!Parses(text, strict, document)) continue;
      ++parsed;
      EXPECT_TRUE(document->GetAsString(-1) == document->Clone(true)->GetAsString(-1));
    }
  };
  Capture([&] { damages = ForEachDamage(good, all, judge); });
  std::cout << damages << " damages, each parsed in both modes\n";
  EXPECT_GT(parsed, damages / 4) << "harmless ones among " << damages;
  EXPECT_LT(parsed, damages) << "of " << 2 * damages;
}

TEST(Damage, AnArchiveReachesNothingBesidesItsBundle) {
  const TemporaryFolder folder;
  const auto path = [&](const char* name) { return OxPath(folder.Path(name).c_str()); };
  folder.Write("X.widget/Contents/main.wob", "<widget/>");
  folder.Write("X.widget/Contents/s/b", "second");
  for (const bool protect : {false, true}) {
    ASSERT_TRUE(FlattenBundle(path("X.widget"), path("good"), protect, false));
    const int damages = ForEachDamage(folder.Read("good"), "\x01\xFF", [&](const std::string& bytes) {
      folder.Write("box/in/archive", bytes);
      Capture([&] {
        ListFileContents(path("box/in/archive"), true);
        UnflattenFile(path("box/in/archive"), path("box/out/bundle"), true);
      });
      std::vector<Posix::FolderEntry> entries;
      Posix::Files().ListFolder(folder.Path("box").c_str(), entries);
      Posix::Files().ListFolder(folder.Path("box/in").c_str(), entries);
      if (folder.Exists("box/out")) Posix::Files().ListFolder(folder.Path("box/out").c_str(), entries);
      EXPECT_LE(entries.size(), 4U) << "in, out, archive, bundle";
      EXPECT_TRUE(folder.Read("box/in/archive") == bytes);
    });
    EXPECT_GT(damages, 700);
    std::cout << damages << " damages\n";
  }
}

constexpr int kHeadAt = 16, kTailAt = 24, kNameTableAt = 48;  // In the file header.
constexpr int kNameAt = 4, kLengthAt = 8, kNextAt = 16;       // In a record header.
constexpr std::uint64_t kNoBlock = ~std::uint64_t{0}, kSomewhere = 1 << 20;

std::string Put(std::string bytes, std::uint64_t at, std::uint64_t number, int size = 8) {
  for (int i = 0; i < size; ++i)
    bytes[static_cast<std::size_t>(at) + static_cast<std::size_t>(i)] =
        static_cast<char>(number >> 8 * i);
  return bytes;
}

std::uint64_t Number(const std::string& bytes, std::uint64_t at) {
  const char* const first = bytes.data() + static_cast<std::size_t>(at);
  std::uint64_t number = 0;
  for (std::size_t i = 8; i-- > 0;) number = number << 8 | static_cast<unsigned char>(first[i]);
  return number;
}

// An archive of four records, and an old bundle where it is extracted to.
class DamagedArchive : public testing::Test {
 protected:
  enum Verdict { kSound, kSome, kNone };

  DamagedArchive() {
    for (const char* name : {"a", "main.wob", "s/b", "zebra.png"}) {
      folder_.Write("X.widget/Contents/" + std::string(name), name[0] == 'm' ? "<widget/>" : name);
    }
    FlattenBundle(Path("X.widget"), Path("archive"), false, false);
    good_ = folder_.Read("archive");
    for (std::uint64_t at = Number(good_, kHeadAt); at != kNoBlock; at = Number(good_, at + kNextAt)) {
      records_.push_back(at);
    }
  }

  OxPath Path(const char* name) const { return OxPath(folder_.Path(name).c_str()); }

  // Lists and extracts; what is said, and what is done, have to go together.
  Verdict Judge(const std::string& bytes, int complete = 4) {
    folder_.Write("archive", bytes);
    std::filesystem::remove_all(folder_.Path("out"));
    folder_.Write("out/old", "old");
    bool result = false;
    const std::string listed = Capture([&] { ListFileContents(Path("archive"), false); }).err;
    std::string err = Capture([&] { result = UnflattenFile(Path("archive"), Path("out"), false); }).err;
    const std::string line = "Error: '" + folder_.Path("archive") + "' is damaged, ";
    const std::string some = line + "some of its records cannot be read\n";
    const Verdict verdict = err.ends_with(some)                                 ? kSome
                            : err == line + "none of its records can be read\n" ? kNone
                                                                                : kSound;
    EXPECT_EQ(result, err.empty());
    EXPECT_EQ(listed, verdict == kSound ? "" : some);
    EXPECT_EQ(folder_.Exists("out/old"), verdict == kNone);
    int whole = 0;
    for (const char* name : {"a", "main.wob", "s/b", "zebra.png"}) {
      const std::string file = "Contents/" + std::string(name);
      whole += folder_.Exists("out/" + file) &&
               folder_.Read("out/" + file) == folder_.Read("X.widget/" + file);
    }
    EXPECT_TRUE(whole == complete || verdict != kSound) << "a loss that nobody is told of";
    EXPECT_EQ(folder_.Exists("out/Contents"), verdict != kNone && complete > 0);
    return verdict;
  }

  TemporaryFolder folder_;
  std::string good_;
  std::vector<std::uint64_t> records_;
};

TEST_F(DamagedArchive, IsToldWhereverItIsCut) {
  ASSERT_EQ(records_.size(), 4U);
  EXPECT_EQ(Judge(good_), kSound);
  for (std::size_t length = 72; length < good_.size(); ++length) {
    SCOPED_TRACE(length);
    EXPECT_NE(Judge(good_.substr(0, length)), kSound);
  }
}

TEST_F(DamagedArchive, IsToldWhateverLinkOrNameIsBent) {
  for (const std::uint64_t target : {kNoBlock, kSomewhere, records_[0], ~std::uint64_t{7}}) {
    SCOPED_TRACE(target);
    Judge(Put(good_, kHeadAt, target));
    EXPECT_EQ(Judge(Put(good_, kTailAt, target)), kSound) << "nothing is lost";
    for (const std::uint64_t record : records_) Judge(Put(good_, record + kNextAt, target));
  }
  constexpr std::uint32_t kTableBytes = 25;
  for (const std::uint64_t record : records_) {
    for (const std::uint32_t offset : {0xFFFFFFFFU, 0xFFFFFFFEU, 1000U, kTableBytes}) {
      EXPECT_EQ(Judge(Put(good_, record + kNameAt, offset, 4)), kSome) << offset;
    }
  }
  const std::size_t name = good_.rfind("zebra.png");
  EXPECT_EQ(Judge(Put(good_, name, 0xFF, 1)), kSome);
  EXPECT_EQ(Judge(Put(good_, name, 0, 1)), kSome);
  EXPECT_EQ(Judge(Put(good_, kNameTableAt, kSomewhere)), kNone);
  EXPECT_EQ(Judge(Put(good_, Number(good_, kNameTableAt) + kLengthAt, 26, 4)), kSome);
}

TEST_F(DamagedArchive, IsOneThatWasNeverClosed) {
  std::string killed = good_;
  for (std::size_t at = kHeadAt; at < 64; at += 8) killed = Put(killed, at, kNoBlock);
  EXPECT_EQ(Judge(killed), kNone);
  EXPECT_EQ(Judge(killed.substr(0, 72), 0), kSound) << "an archive of nothing";
}

TEST_F(DamagedArchive, IsNotOneWithoutNamesButItsBundleStays) {
  folder_.Write("archive", Put(good_, kNameTableAt, kNoBlock));
  folder_.Write("out/old", "old");
  EXPECT_EQ(Capture([&] { ListFileContents(Path("archive"), false); }).err, "");
  EXPECT_NE(Capture([&] { EXPECT_FALSE(UnflattenFile(Path("archive"), Path("out"), false)); }).err, "");
  EXPECT_TRUE(folder_.Exists("out/old"));
}

}  // namespace
