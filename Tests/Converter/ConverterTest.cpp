#include <string>
#include <vector>

#include "Converter.h"
#include "PathExpansion.h"
#include "Posix/Paths.h"
#include "Streams.h"

namespace {

TEST(Converter, OverwritesThePassPhraseInTheArguments) {
  std::vector<std::string> texts = {"Converter", "-p",    "secret", "-sign",        "x",
                                    "-cert",     "y.crt", "-p",     "no text: \xFF"};
  std::vector<char*> arguments;
  for (std::string& text : texts) arguments.push_back(text.data());
  for (const int count : {7, 9}) {
    Capture([&] { EXPECT_EQ(RunConverter(count, arguments.data()), 1); });
  }
  EXPECT_EQ(texts[2], std::string(6, '\0'));
  EXPECT_EQ(texts[8], std::string(10, '\0'));

  texts = {"Converter", "-cert", "-p", "-o", "no text: \xFF", "-key", "k", "-p", "secret"};
  for (std::size_t i = 0; i < texts.size(); ++i) arguments[i] = texts[i].data();
  Capture([&] { EXPECT_EQ(RunConverter(9, arguments.data()), 1); });
  EXPECT_EQ(texts[8], std::string(6, '\0')) << "behind what was refused";
  EXPECT_EQ(texts[2], "-p") << "a value";
}

TEST(Converter, ShowsTheUsageEvenWithoutItsOwnName) {
  const Printed printed = Capture([] { EXPECT_EQ(RunConverter(0, nullptr), 0); });
  EXPECT_TRUE(printed.err.starts_with("Usage: "));
}

TEST(ExpandPath, PutsTheHomeDirectoryInTheTildesPlace) {
  const std::string home = Posix::HomeOfEffectiveUser().value();
  const std::pair<const char*, std::string> kCases[] = {
      {"~", home}, {"~/x", home + "/x"}, {"~root", home + "/root"}, {"a/~", "a/~"}, {"", ""}};
  for (const auto& [path, expanded] : kCases) {
    EXPECT_EQ(ExpandPath(path).native_string().view(), expanded) << path;
  }
}

}  // namespace
