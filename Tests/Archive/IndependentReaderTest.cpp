#include <cstdio>
#include <memory>

#include <gtest/gtest.h>

#include "Archive/ArchiveHelpers.h"

namespace {

// SHA-1 of "", "hello" and 3000 times "x", computed elsewhere.
constexpr char kOfNothing[] = "da39a3ee5e6b4b0d3255bfef95601890afd80709";
constexpr char kOfHello[] = "aaf4c61ddcc5e8a2dabede0f3b482cd9aea9434d";
constexpr char kOfXs[] = "f212f0ceb6b86884f0515c68d357b3a261c003cf";

std::string Listing(const Support::TemporaryFolder& folder, int outgrown) {
  const std::string command =
      std::string("'" OX_PYTHON "' '" OX_SOURCE_DIR "/Tests/Archive/read_archive.py' '") +
      folder.Path("a") + "' " + std::to_string(outgrown) + " 2>&1";
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen(command.c_str(), "r"), &pclose);
  std::string output;
  for (int c = std::fgetc(pipe.get()); c != EOF; c = std::fgetc(pipe.get()))
    output += static_cast<char>(c);
  return output;
}

std::string Line(const std::string& name, std::size_t size, const char* digest) {
  return name + '\t' + std::to_string(size) + '\t' + digest + '\n';
}

TEST(IndependentReader, AgreesOnNewAndEditedArchives) {
  const Support::TemporaryFolder folder;
  const std::string xs(3000, 'x');
  for (const short mode : {kCreate, kCreateProtected}) {
    OxDataFile file(kWidget, folder.Path("a").c_str());
    ASSERT_TRUE(file.Open(mode));
    Add(file, "Images/\xC3\xA9t\xC3\xA9.png", xs);
    Add(file, "empty", "");
    Add(file, "hello", "hello");
    Add(file, "gone", "gone");
    file.Close();
    EXPECT_EQ(Listing(folder, 0), Line("Images/\xC3\xA9t\xC3\xA9.png", 3000, kOfXs) +
                                      Line("empty", 0, kOfNothing) + Line("hello", 5, kOfHello) +
                                      Line("gone", 4, "a6dfdeaa3a44a4c52d44284847d7160892b4017e"));

    // Rewritten in place, moved to the end, deleted; index and name table keep their blocks.
    ASSERT_TRUE(file.Open(kEdit));
    file.DeleteRecord("gone");
    Add(file, "IMAGES/\xC3\x89t\xC3\xA9.png", "hello");
    file.Close();
    EXPECT_EQ(Listing(folder, 0), Line("Images/\xC3\xA9t\xC3\xA9.png", 5, kOfHello) +
                                      Line("empty", 0, kOfNothing) + Line("hello", 5, kOfHello));
    ASSERT_TRUE(file.Open(kEdit));
    Add(file, "Empty", xs);
    file.Close();
    EXPECT_EQ(Listing(folder, 1), Line("Images/\xC3\xA9t\xC3\xA9.png", 5, kOfHello) +
                                      Line("hello", 5, kOfHello) + Line("Empty", 3000, kOfXs))
        << "the name table has outgrown its block";
  }
}

}  // namespace
