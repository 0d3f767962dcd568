#include <gtest/gtest.h>

#include "Archive/ArchiveHelpers.h"
#include "Support/DocumentDump.h"

namespace {

TEST(FlatFile, SmallestArchiveIsTheDumpOfTheDocument) {
  const Support::TemporaryFolder folder;
  for (const bool scrambled : {false, true}) {
    OxDataFile file(kWidget, folder.Path("a").c_str());
    ASSERT_TRUE(file.Open(scrambled ? kCreateProtected : kCreate));
    EXPECT_EQ(file.IsProtected(), scrambled);
    EXPECT_EQ(folder.Read("a").size(), 72U);
    file.Close();
    std::string expected = Support::DocumentDump("flat-archive-format.md", 2);
    expected[64] = scrambled ? '\1' : '\0';
    EXPECT_EQ(Hex(folder.Read("a")), Hex(expected));
  }
}

}  // namespace
