#include <cstdlib>
#include <iostream>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Foundation/OxString.h"
#include "Foundation/StringComparison.h"
#include "Foundation/UnicodeConversion.h"
#include "Support/Text.h"

namespace {

using Support::Text;

std::vector<std::string> Texts(const std::vector<OxString>& pieces) {
  std::vector<std::string> texts;
  for (const OxString& piece : pieces) texts.push_back(Text(piece));
  return texts;
}

using Strings = std::vector<std::string>;
const OxString kHello("h\xC3\xA9llo");

TEST(OxString, EveryWayToBeEmpty) {
  const unsigned short* noUnits = nullptr;
  const char* noText = nullptr;
  for (const OxString& empty : {OxString(), OxString(""), OxString(noText), OxString(nullptr),
                                OxString(noUnits), OxString("abc", 0)}) {
    EXPECT_TRUE(empty.empty());
    EXPECT_EQ(empty.size(), 0U);
    EXPECT_STREQ(empty.c_str(), "");
    EXPECT_EQ(*empty.u_str(), 0);
    OxBuffer bytes("old");
    EXPECT_EQ(empty.get_utf8(bytes), nullptr);
  }
}

TEST(OxString, IntegersAreCodePoints) {
  EXPECT_EQ(Text(OxString(0x1F600)), "\xF0\x9F\x98\x80");
  EXPECT_EQ(Text(OxString('a')), "a");
  const OxString zero = 0;
  EXPECT_EQ(zero.length(), 1U);
  EXPECT_EQ(zero.size(), 1U);
  EXPECT_EQ(Text(OxString(0xD800U)), "\xEF\xBF\xBD");
  EXPECT_EQ(Text(OxString(-1)), "\xEF\xBF\xBD");
}

TEST(OxString, RefusesWhatIsNoUtf8AndEndsEmpty) {
  for (const char* bad : {"\xC3", "a\xC3(", "\x80", "\xF8\x88\x80\x80\x80", "ab\xE2\x82"}) {
    OxString text("before");
    EXPECT_THROW(text.set(bad), OxString::InvalidEncoding) << bad;
    EXPECT_TRUE(text.empty());
    EXPECT_EQ(text.size(), 0U);
  }
  for (const char* accepted : {"\xC0\x80", "\xED\xA0\x80", "\xF7\xBF\xBF\xBF"})
    EXPECT_EQ(OxString(accepted).length(), 1U);
  for (std::size_t place = 0; place < 70; ++place) {  // Long text is judged many bytes at once.
    std::string around(70, 'x');
    EXPECT_EQ(OxString(around.insert(place, "\xC3\xA9\xF0\x9F\x98\x80").c_str()).length(), 72U);
    for (const char* bad : {"\xA9", "\xE2\x82", "\xC3\xC3\xA9", "\xC3\xA9\xA9", "\xF8"}) {
      EXPECT_THROW(OxString((around + around).insert(place, bad).c_str()), OxString::InvalidEncoding);
    }
  }
  const unsigned short lone[] = {0xDC00, 0x41};
  OxString text("before");
  EXPECT_THROW(text.set(lone, 2), ::InvalidEncoding);
  EXPECT_TRUE(text.empty());
}

TEST(OxString, Utf16ThereAndBack) {
  const OxString text("a\xC3\xA9\xF0\x9F\x98\x80");
  OxBuffer units;
  ASSERT_NE(text.get_utf16(units), nullptr);
  EXPECT_EQ(units.length(), 8U);
  EXPECT_EQ(OxString(text.u_str()), text);
  OxString changed(text);
  ASSERT_NE(changed.u_str(), nullptr);
  changed += "!";
  EXPECT_EQ(OxString(changed.u_str()), changed);
  EXPECT_EQ(OxString("\xF4\x90\x80\x80").get_utf16(units), nullptr);
  EXPECT_EQ(units.length(), 0U);
  EXPECT_EQ(*OxString("\xF4\x90\x80\x80").u_str(), 0);
}

TEST(OxString, SearchUnits) {
  EXPECT_EQ(kHello.find("llo", 0), 2);
  EXPECT_EQ(kHello.find('l', 0), 3);  // Bytes.
  EXPECT_EQ(kHello.rfind('l', -1), 3);
  EXPECT_EQ(kHello.rfind('l', 2), 2);
  EXPECT_EQ(kHello.rfind("l", 2UL), 2);
  EXPECT_EQ(kHello.find(0xE9, 0), 1);
  EXPECT_EQ(OxString("abc").find(0x161, 0), -1);  // Not 'a', its low byte.
  EXPECT_EQ(kHello.find("l", 5), -1);
  EXPECT_EQ(kHello.find("", 0), -1);
  EXPECT_EQ(kHello.find("l", -2), -1);
  EXPECT_EQ(kHello.rfind("l", -2), -1);
  EXPECT_EQ(OxString("aXbX", 4).rfind("X", -1), 3);
}

TEST(OxString, WalksStopAtAZeroInsideTheText) {
  const OxString text("a\0b", 3);
  EXPECT_EQ(text.find("b"), -1);
  EXPECT_EQ(text.find('b'), -1);
  EXPECT_EQ(text.find(0), -1);
  EXPECT_FALSE(text.ends_with("b"));
  EXPECT_FALSE(text.ends_with_nocase("B"));
  EXPECT_FALSE(OxString("\0a", 2).starts_with(OxString("\0", 1)));
  EXPECT_EQ(Text(OxString("aaa").replace("a", OxString("\0", 1))), std::string("\0aa", 3));
}

TEST(OxString, EndsAndBeginnings) {
  EXPECT_FALSE(kHello.starts_with(""));
  EXPECT_TRUE(kHello.starts_with_nocase(""));
  EXPECT_TRUE(kHello.starts_with_nocase("H\xC3\x89"));
  EXPECT_TRUE(kHello.starts_with("h\xC3\xA9"));
  EXPECT_TRUE(kHello.ends_with("\xC3\xA9llo"));
  EXPECT_FALSE(kHello.ends_with(""));
  EXPECT_TRUE(kHello.ends_with_nocase("LLO"));
  EXPECT_FALSE(OxString("o").ends_with_nocase("llo"));
  EXPECT_TRUE(kHello.contains("ll"));
}

TEST(OxString, IndexIsABytePastTheFirst) {
  EXPECT_EQ(OxString("abc")[1], 'b');
  EXPECT_EQ(OxString("\xC3\xA9")[0], 0xE9);
  EXPECT_EQ(OxString("a\xC3\xA9"
                     "b")[2],
            static_cast<signed char>(0xA9));
  EXPECT_THROW(OxString("abc")[3], OxString::OutOfRange);
  EXPECT_THROW(OxString()[0], OxString::OutOfRange);
}

TEST(OxString, ComparesUtf16UnitsWithSimpleFolding) {
  struct Case {
    const char* a;
    const char* b;
    int exact;
    int folded;
  };
  const Case cases[] = {
      {"a", "B", 1, -1},
      {"abc", "ab", 1, 1},
      {"\xC3\xA9", "\xC3\x89", 1, 0},
      {"\xC3\x9F", "ss", 1, 1},                                // Sharp s: no full folding.
      {"\xE2\x84\xAA", "k", 1, 0},                             // Kelvin sign.
      {"\xF0\x90\x80\x80", "\xEF\xBD\x81", -1, -1},            // A surrogate pair sorts below U+FF41.
      {"\xED\xA0\x81\xED\xB0\xA8", "\xF0\x90\x90\x80", 1, 0},  // A pair stored as two characters.
      {"x\xED\xA0\x81\xED\xB0\xA8", "x\xED\xA0\x81\xED\xB0\x80", 1, 0},  // Only the low halves differ.
      {"x\xED\xA0\x81\xED\xB0\x80", "x\xED\xA0\x81z", 1, 1},
      {"x\xD0\x9F.", "x\xD0\xBF", -1, 1},
      {"a\xF4\x90\x80\x80", "b", 1, 1},
      {"\xF4\x90\x80\x80", "a", 1, 1},
      {"a", "\xF4\x90\x80\x80", 1, 1},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(OxString(c.a).compare(c.b), c.exact) << c.a << " " << c.b;
    EXPECT_EQ(OxString(c.a).compare(c.b, OxString::kCaseInsensitive), c.folded) << c.a << " " << c.b;
    EXPECT_EQ(CompareNoCase(c.a, c.b), c.folded);
    if (c.folded == 0) {
      EXPECT_EQ(HashNoCase(c.a), HashNoCase(c.b));
    }
  }
  EXPECT_TRUE(OxString("a") < OxString("b"));
  EXPECT_EQ(HashNoCase("Icon.PNG"), HashNoCase("icon.png"));
}

TEST(OxString, TextsThatFoldAlikeHashAlikeAtEveryLength) {
  const std::string plain = "kelvin sign and letters [of] every @kind, 0123456789kk";
  std::set<std::size_t> hashes;
  for (std::size_t length = 0; length <= plain.size(); ++length) {
    const OxString small(plain.substr(0, length).c_str());
    EXPECT_EQ(HashNoCase(OxString(small).to_upper().view()), HashNoCase(small.view())) << length;
    EXPECT_EQ(HashNoCase(OxString(small).replace('k', 0x212A).view()), HashNoCase(small.view()))
        << length;
    hashes.insert(HashNoCase(small.view()));
  }
  EXPECT_EQ(hashes.size(), plain.size() + 1);
}

TEST(OxStringDeathTest, AnotherProcessHashesDifferently) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // Runs the program anew instead of forking alone.
  const auto hash = [] { return std::to_string(HashNoCase("name")); };
  EXPECT_EXIT(
      {
        std::cerr << "hash " << hash() << '\n';
        std::exit(0);
      },
      testing::ExitedWithCode(0),
      testing::AllOf(testing::HasSubstr("hash "), testing::Not(testing::HasSubstr(hash()))));
}

TEST(OxString, SubstringsAndErasing) {
  EXPECT_EQ(Text(kHello.substr(1, 2)), "\xC3\xA9l");
  EXPECT_EQ(Text(OxString("abc").substr(1, -1)), "bc");
  EXPECT_EQ(Text(OxString("abc").substr(1, 99)), "bc");
  EXPECT_EQ(Text(OxString("abc").substr(5, 1)), "");
  EXPECT_EQ(Text(OxString("abc").substr(1, 0)), "");
  EXPECT_EQ(Text(OxString("abc").substr(0, -2)), "");
  OxString text(kHello);
  EXPECT_EQ(Text(text.erase(1, 2)), "hlo");
  EXPECT_EQ(Text(text.erase(1, -1)), "h");
  OxString wrong("abcdef");
  wrong.erase(4, 3);
  EXPECT_EQ(Text(wrong), "abcd");
  EXPECT_EQ(wrong.length(), 3U);
  OxString wrapped("abc");
  wrapped.erase(2, 9);
  OxBuffer units;
  EXPECT_EQ(Text(OxString(wrong).replace("d", "xy")), "abcxy");
  EXPECT_EQ(wrong.replace("a", "xy").length(), 4U);
  EXPECT_EQ(wrapped.get_utf16(units), nullptr);
  EXPECT_EQ(wrapped.compare("ab"), 1);
}

TEST(OxString, TrimmingTakesAsciiControlsToo) {
  EXPECT_EQ(Text(OxString(" \tx \n").trim()), "x");
  EXPECT_EQ(Text(OxString("\x01\x7Fx\xC3\xA9\x1F").trim()), "x\xC3\xA9");
  EXPECT_EQ(Text(OxString("   ").trim_right()), "");
  EXPECT_EQ(Text(OxString("   ").trim_left()), "");
  EXPECT_EQ(Text(OxString("\xC2\xA0x").trim()), "\xC2\xA0x");
}

TEST(OxString, ReplacingAndCase) {
  EXPECT_EQ(Text(OxString("a.b.c").replace('.', 0xE9)),
            "a\xC3\xA9"
            "b\xC3\xA9"
            "c");
  EXPECT_EQ(Text(OxString("aaa").replace("a", "aa")), "aaaaaa");
  EXPECT_EQ(Text(OxString("aaaa").replace("aa", "a")), "aa");
  EXPECT_EQ(Text(OxString("abc").replace("", "x")), "abc");
  EXPECT_EQ(Text(OxString("a\xC3\xA9Z").to_upper()), "A\xC3\xA9Z");
  EXPECT_EQ(Text(OxString("A\xC3\x89Z").to_lower()), "a\xC3\x89z");
}

TEST(OxString, IntegersInText) {
  const std::pair<const char*, int> cases[] = {
      {"  -42abc", -42}, {"abc12", 12},     {"- 5", 0},
      {"", 0},           {"x-5", -5},       {"+7-3", 7},
      {"--5", 0},        {"4294967298", 2}, {"2147483648", -2147483647 - 1},
      {"0x10", 0},       {"1.5", 1}};
  for (const auto& [text, value] : cases) EXPECT_EQ(OxString(text).to_int(), value) << text;
  EXPECT_EQ(OxString("1.5").to_double(), 1.5);
}

TEST(OxString, UrlEscapes) {
  EXPECT_EQ(Text(OxString("a b/\xC3\xA9-_.").encode_url()), "a%20b%2F%C3%A9%2D%5F%2E");
  EXPECT_EQ(Text(OxString("a%20b%c3%A9+").decode_url()), "a b\xC3\xA9+");
  EXPECT_EQ(Text(OxString("%4g").decode_url()), "?");  // 4 * 16 + all ones.
  for (const char* bad : {"%4", "%", "a%", "%C3"}) {
    EXPECT_THROW(OxString(bad).decode_url(), OxString::InvalidEncoding) << bad;
  }
}

TEST(OxString, PiecesAndExpressions) {
  EXPECT_EQ(Texts(OxString("a,,b,").explode(',')), (Strings{"a", "", "b", ""}));
  EXPECT_EQ(Texts(OxString(",a").explode(',')), (Strings{"", "a"}));
  EXPECT_EQ(Texts(OxString("").explode(',')), Strings{});
  EXPECT_EQ(Texts(OxString("x=12;").findRE("([a-z]+)=([0-9]+)", OxString::kCaseSensitive)),
            (Strings{"x=12", "x", "12"}));
  EXPECT_EQ(Texts(OxString("AB").findRE("ab", OxString::kCaseInsensitive)), (Strings{"AB"}));
  EXPECT_EQ(Texts(OxString("ab").findRE("(", OxString::kCaseSensitive)), Strings{});
  EXPECT_EQ(Texts(OxString("\xC3\xA9xyz").findRE("y", OxString::kCaseSensitive)),
            (Strings{"z"}));  // Bytes as characters.
}

TEST(OxString, Formatting) {
  OxString text;
  EXPECT_EQ(Text(text.format("%s-%d", "a", 7)), "a-7");
  EXPECT_EQ(Text(text.format("%s", std::string(5000, 'x').c_str())), std::string(5000, 'x'));
  EXPECT_EQ(Text(text.format("%.0s", "x")), "");
}

TEST(OxString, IteratorsEndWithTheText) {
  std::vector<unsigned long> seen;
  for (const unsigned long c : kHello) seen.push_back(c);
  EXPECT_EQ(seen, (std::vector<unsigned long>{'h', 0xE9, 'l', 'l', 'o'}));
  EXPECT_EQ(*(kHello.begin() + 4), 'o');
  EXPECT_THROW(*kHello.end(), OxString::const_iterator::OutOfBounds);
  EXPECT_THROW(*(kHello.begin() + 5), OxString::const_iterator::OutOfBounds);
  const OxString zero("a\0b", 3);
  EXPECT_THROW(*++zero.begin(), OxString::const_iterator::OutOfBounds);
}

TEST(OxString, SourcesInsideTheOwnStorageWork) {
  OxString text("abc");
  for (int i = 0; i < 5; ++i) text += text;
  EXPECT_EQ(text.length(), 96U);
  text.set(text.c_str() + 93);
  EXPECT_EQ(Text(text), "abc");
  text.set(text.c_str() + 1, 1);
  EXPECT_EQ(Text(text), "b");
}

TEST(OxString, SecureClearLeavesNothingBehind) {
  OxString secret("  a secret that is longer than the object  ");
  secret.u_str();
  secret.trim();
  const char* storage = secret.c_str();
  ASSERT_TRUE(storage < reinterpret_cast<const char*>(&secret) ||
              storage >= reinterpret_cast<const char*>(&secret + 1));
  secret.secure_clear();
  EXPECT_TRUE(secret.empty());
  OxString small("short");
  small.secure_clear();
  OxString moved("short");
  const OxString* const wiped[] = {&small, &moved};
  const OxString owner(std::move(moved));
  for (const OxString* left : wiped) {
    const std::string_view object(reinterpret_cast<const char*>(left), sizeof *left);
    EXPECT_EQ(object.find("short"), std::string_view::npos);
  }
}

}  // namespace
