#include <iostream>
#include <string>

#include "Flattening.h"
#include "Listing.h"
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

}  // namespace
