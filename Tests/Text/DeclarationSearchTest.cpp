#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Posix/RegularExpression.h"
#include "Utilities/DeclarationSearch.h"
#include "Utilities/TextDecoding.h"

namespace {

using namespace std::string_literals;

const std::string kNothing = "(nothing)";

std::vector<std::string> LinesOf(std::string_view text) {
  std::vector<std::string> lines(1);
  for (const char c : text.substr(0, text.find('\0'))) {
    if (c == '\n') {
      lines.emplace_back();
    } else {
      lines.back() += c;
    }
  }
  return lines;
}

// The judge: the four expressions themselves, each on every line in turn.
std::string FindByExpressions(std::string_view text) {
  const std::string patterns[] = {
      "<\\?.*encoding=[\"']([^\"']+)",
      "<\\?.*encoding=([^ \n>]+)",
      "<meta.*charset=[\"']([^\"']+)",
      "<meta.*charset=([a-zA-Z0-9_-]+)",
  };
  for (const std::string& pattern : patterns) {
    for (const std::string& line : LinesOf(text)) {
      const auto found = Posix::SearchExpression(pattern, line.c_str(), true);
      if (!found.empty()) return line.substr(found[1].start, found[1].end - found[1].start);
    }
  }
  return kNothing;
}

TEST(DeclarationSearch, FindsWhatTheExpressionsFind) {
  const std::string words[] = {"<?",        "<",
                               "?",         "<meta",
                               "<META",     "<m",
                               "xml ",      "encoding=",
                               "EnCoding=", "encoding",
                               "charset=",  "CHARSET=",
                               "=",         "\"",
                               "'",         "utf-8",
                               "B",         " ",
                               ">",         "?>",
                               "\n",        "\r",
                               "\t",        "\xC3\xA9",
                               "\0"s,       std::string(64, '.')};
  std::mt19937 random(20240229);
  std::uniform_int_distribution<std::size_t> word(0, std::size(words) - 1);
  std::uniform_int_distribution<int> count(1, 16);
  int declared = 0;
  for (int i = 0; i < 15'000; ++i) {
    std::string text;
    for (int left = count(random); left > 0; --left) text += words[word(random)];
    const std::string expected = FindByExpressions(text);
    declared += expected == kNothing ? 0 : 1;
    ASSERT_EQ(FindDeclaredEncoding(text).value_or(kNothing), expected) << testing::PrintToString(text);
  }
  EXPECT_GT(declared, 500);
}

// Texts that would cost an expression the square of their length.
TEST(DeclarationSearch, HostileTextIsSearchedInOneGo) {
  const std::pair<const char*, std::string> cases[] = {{"<?", kNothing},
                                                       {"<meta", kNothing},
                                                       {"<?encoding=\"\"", "\"\""},
                                                       {"<?encoding=\n", kNothing},
                                                       {"<meta =", kNothing},
                                                       {"encoding=", "encoding="}};
  for (const auto& [piece, name] : cases) {
    std::string text = "<?";
    while (text.size() < 1'000'000) text += piece;
    EXPECT_EQ(FindDeclaredEncoding(text).value_or(kNothing), name) << piece;
  }
}

TEST(DeclarationSearch, NamesHaveNumbers) {
  const std::pair<const char*, unsigned int> cases[] = {
      {"Macintosh", 0},       {"utf-8", 0x08000100}, {"UTF8", 0},          {"shift_jis", 1},
      {"Shift-JIS", 1},       {"ISO-8859-1", 513},   {"iso-8859-9", 521},  {"ISO-8859-10", 522},
      {"ISO-8859-11", 523},   {"ISO-8859-12", 513},  {"ISO-8859-13", 525}, {"ISO-8859-15", 527},
      {"ISO-8859-16", 513},   {"iso-8859", 513},     {"ISO-885", 0},       {"us-ascii", 1536},
      {"windows-1252", 1280}, {"utf-8?", 0},         {"UTF-16", 0},
  };
  for (const auto& [name, number] : cases) {
    const std::string text = "<?xml version='1.0' encoding='"s + name + "'?>";
    EXPECT_EQ(WobCheckForExplicitEncoding(text.c_str()), number) << name;
  }
  EXPECT_EQ(WobCheckForExplicitEncoding(""), kWobEncodingUnknown);
  EXPECT_EQ(WobCheckForExplicitEncoding("<widget encoding='utf-8'>"), kWobEncodingUnknown);
}

}  // namespace
