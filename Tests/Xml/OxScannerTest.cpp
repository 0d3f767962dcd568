#include <string>

#include <gtest/gtest.h>

#include "Xml/OxXMLScanner.h"

namespace {

using Kind = OxScanner::MatchKind;

// A scanner with the text that it scans.
template <typename Scanner>
struct Over : Scanner {
  explicit Over(const OxString& all, std::uint32_t line = 1) : text(all) { this->SetData(text, line); }
  const OxString text;
};

std::string Rest(OxScanner& scanner) {
  OxString rest;
  scanner.Match([](std::uint32_t) { return true; }, Kind::kZeroOrMore, rest);
  return std::string(rest.view());
}

TEST(OxScanner, ReadsByCodePointAndStopsAtTheEnd) {
  EXPECT_TRUE(OxScanner().IsEOF());
  Over<OxScanner> scanner("a\xC3\xA9\xF0\x9F\x98\x80z");
  EXPECT_EQ(scanner.PeekAhead(0), 'a');
  EXPECT_EQ(scanner.PeekAhead(2), 0x1F600U);
  EXPECT_EQ(scanner.PeekAhead(4), 0U);
  std::uint32_t c = 0;
  EXPECT_TRUE(scanner.GetNextChar(c));
  EXPECT_EQ(c, 0xE9U);
  EXPECT_TRUE(scanner.PeekAhead(OxString("\xC3\xA9\xF0\x9F\x98\x80")));
  EXPECT_FALSE(scanner.PeekAhead(OxString("\xC3\xA9z")));
  EXPECT_TRUE(scanner.Advance(2));
  EXPECT_FALSE(scanner.GetNextChar(c));
  EXPECT_TRUE(scanner.IsEOF());
  EXPECT_FALSE(scanner.Advance(1));
}

TEST(OxScanner, CountsLinesByLineFeeds) {
  const struct {
    const char* text;
    std::size_t characters;
    std::uint32_t line;
  } cases[] = {{"a\r\nb\nc", 4, 3}, {"a\rb\rc", 5, 1}, {"\r\r\n\n", 3, 3}, {"\n\n\n", 2, 3}};
  for (const auto& row : cases) {
    Over<OxScanner> scanner(row.text);
    EXPECT_TRUE(scanner.Advance(row.characters)) << row.text;
    EXPECT_EQ(scanner.GetLine(), row.line) << row.text;
  }
}

TEST(OxScanner, PushedTextNestsAndCountsNoLines) {
  Over<OxScanner> scanner("ab\nc", 7);
  EXPECT_TRUE(scanner.Match('a'));
  scanner.PushData("1\n3");
  EXPECT_TRUE(scanner.Match('1'));
  const OxScanner::Pos inside = scanner.GetPos();
  scanner.PushData("x\ny");
  EXPECT_EQ(scanner.Depth(), 2U);
  EXPECT_TRUE(scanner.PeekAhead("x\ny\n3b"));
  EXPECT_TRUE(scanner.Match("x\ny\n3b"));
  EXPECT_EQ(scanner.GetLine(), 7U);
  EXPECT_EQ(scanner.Depth(), 0U);
  EXPECT_EQ(Rest(scanner), "\nc");
  EXPECT_EQ(scanner.GetLine(), 8U);
  scanner.SetPos(inside);  // Before the second text was pushed, so it is not met again.
  EXPECT_EQ(scanner.GetLine(), 7U);
  EXPECT_EQ(Rest(scanner), "\n3b\nc");
  scanner.PushData("tail");
  EXPECT_FALSE(scanner.IsEOF());
  EXPECT_EQ(Rest(scanner), "tail");
}

TEST(OxScanner, MatchersTakeAllOrNothing) {
  Over<OxScanner> scanner("12ab12");
  OxString out;
  EXPECT_FALSE(scanner.Match("12x"));
  EXPECT_FALSE(scanner.MatchASCII("12ab123"));
  EXPECT_FALSE(scanner.MatchOneChoiceChar("xyz", out));
  EXPECT_TRUE(scanner.MatchChoice("xyz", Kind::kZeroOrMore, out));
  EXPECT_FALSE(scanner.MatchChoice("xyz", Kind::kOneOrMore, out));
  EXPECT_TRUE(out.empty());
  EXPECT_TRUE(scanner.MatchDigits(Kind::kExactlyOne, out));
  EXPECT_TRUE(scanner.MatchDigits(Kind::kOneOrMore, out));
  EXPECT_FALSE(scanner.MatchDigits(Kind::kOneOrMore, out));
  EXPECT_TRUE(scanner.MatchOneChoiceChar("xa", out));
  EXPECT_EQ(out.view(), "12a");
  EXPECT_EQ(Rest(scanner), "b12");
}

TEST(OxScanner, AZeroCannotBeRead) {
  Over<OxScanner> scanner(OxString("a\0b", 3));
  EXPECT_TRUE(scanner.Match('a'));
  EXPECT_FALSE(scanner.IsEOF());
  EXPECT_THROW(scanner.PeekAhead(0), OxString::const_iterator::OutOfBounds);
  EXPECT_THROW(scanner.Match('b'), OxString::const_iterator::OutOfBounds);
}

// `text` after a match, which gives `out`; "-" when it fails.
template <typename Matcher>
std::string Matched(const char* text, Matcher match) {
  Over<OxXMLScanner> scanner(text);
  OxString out;
  const bool matched = (scanner.*match)(out);
  return (matched ? std::string(out.view()) : "-") + "|" + Rest(scanner);
}

TEST(OxXMLScanner, NamesAreNarrow) {
  const auto name = [](const char* text) { return Matched(text, &OxXMLScanner::MatchName); };
  EXPECT_EQ(name("_a:b.c-1 x"), "_a:b.c-1| x");
  EXPECT_EQ(name("a\xC2\xB7z\xC3\xA9"), "a\xC2\xB7z|\xC3\xA9");
  EXPECT_EQ(name("\xC3\xA9"), "-|\xC3\xA9");
  EXPECT_EQ(name("1a"), "-|1a");
  EXPECT_EQ(name("\xC2\xB7"), "-|\xC2\xB7");
  EXPECT_EQ(Matched("1a.-=", &OxXMLScanner::MatchNameToken), "1a.-|=");
  EXPECT_EQ(Matched("=", &OxXMLScanner::MatchNameToken), "-|=");
}

TEST(OxXMLScanner, References) {
  const auto character = [](const char* text) { return Matched(text, &OxXMLScanner::MatchCharRef); };
  EXPECT_EQ(character("&#65;x"), "A|x");
  EXPECT_EQ(character("&#x41;"), "A|");
  EXPECT_EQ(character("&#x1F600;"), "\xF0\x9F\x98\x80|");
  EXPECT_EQ(character("&#4294967361;"), "A|");  // 2^32 + 65
  EXPECT_EQ(character("&#xD800;"), "\xEF\xBF\xBD|");
  for (const char* text : {"&#X41;", "&#;", "&#x;", "&#65", "&#6a;", "&# 65;", "&lt;", "#65;"}) {
    EXPECT_EQ(character(text), std::string("-|") + text);
  }
  EXPECT_EQ(Matched("&a.b;c", &OxXMLScanner::MatchEntityRef), "a.b|c");
  EXPECT_EQ(Matched("%p;", &OxXMLScanner::MatchPERef), "p|");
  for (const char* text : {"&;", "&a", "&a b;", "& a;", "&1;", "%a;"}) {
    EXPECT_EQ(Matched(text, &OxXMLScanner::MatchEntityRef), std::string("-|") + text);
  }
}

TEST(OxXMLScanner, TokensMayLieInSeveralSegments) {
  Over<OxXMLScanner> scanner("&xme; ");
  EXPECT_TRUE(scanner.Match('&'));
  EXPECT_TRUE(scanner.Match('x'));
  scanner.PushData("na");
  OxString out;
  EXPECT_TRUE(scanner.MatchName(out));
  EXPECT_EQ(out.view(), "name");
  EXPECT_EQ(Rest(scanner), "; ");

  scanner.SetData(scanner.text, 1);
  scanner.PushData("&#6");
  std::uint32_t c = 0;
  EXPECT_FALSE(scanner.TakeCharRef(c));  // Goes wrong in the second segment.
  EXPECT_EQ(Rest(scanner), "&#6&xme; ");
}

TEST(OxXMLScanner, WhitespaceNumbersAndClasses) {
  Over<OxXMLScanner> scanner(" \t\r\n x7f");
  OxString out;
  EXPECT_TRUE(scanner.MatchWhitespace(Kind::kExactlyOne));
  EXPECT_TRUE(scanner.MatchWhitespace(Kind::kOneOrMore));
  EXPECT_FALSE(scanner.MatchWhitespace(Kind::kOneOrMore));
  EXPECT_TRUE(scanner.MatchWhitespace(Kind::kZeroOrMore));
  EXPECT_EQ(scanner.GetLine(), 2U);
  EXPECT_FALSE(scanner.MatchNumber(out));
  EXPECT_FALSE(scanner.MatchHexDigit(out));
  EXPECT_TRUE(scanner.Match('x'));
  EXPECT_TRUE(scanner.MatchNumber(out));
  EXPECT_TRUE(scanner.MatchHexDigit(out));
  EXPECT_EQ(out.view(), "7f");

  std::string asciiString;
  std::string newlines;
  std::string publicID;
  for (std::uint32_t c = 0; c < 0x80; ++c) {
    if (OxXMLScanner::IsAsciiStringChar(c) && c < 0x2C) asciiString += static_cast<char>(c);
    if (OxXMLScanner::IsNewline(c)) newlines += static_cast<char>(c);
    if (XMLCharacters::IsPubIDChar(c) && !XMLCharacters::IsLetter(c) && !OxXMLScanner::IsDigit(c)) {
      publicID += static_cast<char>(c);
    }
  }
  EXPECT_EQ(asciiString, "\t !#$%&*+");
  EXPECT_EQ(newlines, "\n\f\r");
  EXPECT_EQ(publicID, "\n\r !#$%'()*+,-./:;=?@_");
  for (const std::uint32_t c : {0x0U, 0x1FU, 0xD800U, 0xDFFFU, 0xFFFEU, 0xFFFFU, 0x110000U}) {
    EXPECT_FALSE(XMLCharacters::IsChar(c)) << c;
  }
  for (const std::uint32_t c :
       {0x9U, 0xAU, 0xDU, 0x20U, 0xD7FFU, 0xE000U, 0xFFFDU, 0x10000U, 0x10FFFFU}) {
    EXPECT_TRUE(XMLCharacters::IsChar(c)) << c;
  }
  EXPECT_EQ(XMLCharacters::GetHexCharValue('g'), 0xFFFFFFFFU);
  EXPECT_EQ(XMLCharacters::GetHexCharValue('F'), 15U);
}

}  // namespace
