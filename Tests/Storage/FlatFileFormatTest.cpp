#include <gtest/gtest.h>

#include "Storage/ArchiveHelpers.h"

namespace {

constexpr char kNone[] = "FFFFFFFFFFFFFFFF";

TEST(FlatFile, SmallestArchiveIsHeaderIndexAndNameTable) {
  const Support::TemporaryFolder folder;
  for (const bool scrambled : {false, true}) {
    OxDataFile file(kWidget, folder.Path("a").c_str());
    ASSERT_TRUE(file.Open(scrambled ? kCreateProtected : kCreate));
    EXPECT_EQ(file.IsProtected(), scrambled);
    EXPECT_EQ(folder.Read("a").size(), 72U);
    file.Close();
    const std::string header = std::string("77646774") + "00000000" + "00000000" + "00000000" + kNone +
                               kNone + kNone + kNone + "6800000000000000" + "4800000000000000" +
                               (scrambled ? "01000000" : "00000000") + "00000000";
    const std::string index =
        std::string("20000000") + "FFFFFFFF" + "00000000" + "01000000" + kNone + kNone;
    const std::string names =
        std::string("20000000") + "FEFFFFFF" + "00000000" + "01000000" + kNone + kNone;
    EXPECT_EQ(Hex(folder.Read("a")), header + index + names);
  }
}

}  // namespace
