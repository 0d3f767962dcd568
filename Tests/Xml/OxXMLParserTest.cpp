#include <fstream>
#include <iterator>
#include <span>
#include <string>

#include <gtest/gtest.h>

#include "Xml/XmlSupport.h"

namespace {

using Support::Dump;
using Support::Outcome;
using Support::ParseDoc;
using Support::Text;

// What a text becomes in strict and in lenient mode; "=" for the same.
struct Case {
  const char* text;
  const char* strict;
  const char* lenient;
};

void Check(std::span<const Case> cases) {
  for (const Case& row : cases) {
    EXPECT_EQ(Outcome(row.text, true), row.strict) << row.text;
    const char* lenient = std::string_view(row.lenient) == "=" ? row.strict : row.lenient;
    EXPECT_EQ(Outcome(row.text, false), lenient) << row.text;
  }
}

const char kIllegalElement[] = "Illegal element encountered at line 1";
const char kEOF[] = "Unexpected EOF at line 1";
const char kTagName[] = "Syntax Error (Expected element tag name) on line 1.";
const char kStartTag[] = "Syntax Error (Unexpected token parsing element) on line 1.";
const char kMalformed[] = "Syntax Error (Malformed entity) on line 1.";

TEST(OxXMLParser, TopLevel) {
  const Case cases[] = {
      {"", "", "="},
      {" \r\n\t ", "", "="},
      {"<a/>", "a", "="},
      {" <!--x--> <?p q?> <a/> <!--y--> ", "!x! ?p q? a !y!", "="},
      {"<a>x</a><b><c/></b><!--z-->", "a('x') !z!", "="},
      {"<a/><b", kStartTag, "="},
      {"abc", kIllegalElement, "="},
      {"\n<a/>\n&lt;", "Illegal element encountered at line 3", "="},
      {"</a>", kIllegalElement, "="},
      {"<![CDATA[x]]>", kIllegalElement, "="},
      {"< a/>", kIllegalElement, "="},
      {"<!x>", kIllegalElement, "="},
      {"<!doctype a>", kIllegalElement, "="},
      {"<1/>", kIllegalElement, "="},
      {"<\xC3\xA9/>", kIllegalElement, "="},
      {"<", kIllegalElement, "="},
  };
  Check(cases);
}

TEST(OxXMLParser, Tags) {
  const Case cases[] = {
      {"<a></a>", "a", "="},
      {"<a ></a >", "a", "="},
      {"<a\n/>", "a", "="},
      {"<a><b><c/></b><b/></a>", "a(b(c) b)", "="},
      {"<a></A>", "Mismatched end tag: Expected 'a', got 'A' at line 1.", "a"},
      {"<a>\n\n</b>", "Mismatched end tag: Expected 'a', got 'b' at line 3.", "="},
      {"<a></ab>", "Mismatched end tag: Expected 'a', got 'ab' at line 1.", "="},
      {"<a></b", "Mismatched end tag: Expected 'a', got 'b' at line 1.", "="},
      {"<a></ a>", kTagName, "="},
      {"<a></>", kTagName, "="},
      {"<a></a", "Syntax Error (Expected '>') on line 1.", "="},
      {"<a></a b>", "Syntax Error (Unexpected token) on line 1.", "="},
      {"<a>", kEOF, "="},
      {"<a><b></b>", kEOF, "="},
      {"<a", kStartTag, "="},
      {"<a/ >", kStartTag, "="},
      {"<a \"b\">", kStartTag, "="},
      {"<a><1/></a>", kTagName, "="},
      {"<a>< b/></a>", kTagName, "="},
      {"<a><!x></a>", kTagName, "="},
      {"<a><", kTagName, "="},
  };
  Check(cases);
}

TEST(OxXMLParser, Attributes) {
  const Case cases[] = {
      {"<a z='1' b=\"2\" m = '3'/>", "a{b=2 m=3 z=1}", "="},
      {"<a b='1'c='2'/>", "a{b=1 c=2}", "="},
      {"<a b='1' b='2' b='3'/>", "a{b=3}", "="},
      {"<a b='\"' c=\"'\" d='<>'/>", "a{b=\" c=' d=<>}", "="},
      {"<a b=''/>", "a{b=}", "="},
      {"<a b='1\n2\t3\r\n4\r5  6'/>", "a{b=1 2 3 4 5  6}", "="},
      {"<a b='&#10;&#9;&#x20;&#13;x'/>", "a{b=\n\t \rx}", "="},
      {"<a b='&lt;&gt;&amp;&quot;&apos;'/>", "a{b=<>&\"'}", "="},
      {"<a b='&amp;lt;&amp;amp;&amp;x;&amp;#65;'/>", "a{b=&lt;&amp;&x;&#65;}", "="},
      {"<a b='&#38;lt;'/>", "a{b=&lt;}", "="},
      {"<a b='&x;'/>", "Unknown entity 'x' at line 1", "="},
      {"<a b='x & y&'/>", kMalformed, "a{b=x & y&}"},
      {"<a b='x&y'/>", kMalformed, "a{b=x&y}"},
      {"<a b='\xC3\xA9\xF0\x9F\x98\x80'/>", "a{b=\xC3\xA9\xF0\x9F\x98\x80}", "="},
      {"<a b=c/>", "Illegal attribute encountered at line 1", "a{b=c}"},
      {"<a b=c d=e'f>x</a>", "Illegal attribute encountered at line 1", "a{b=c d=e'f}('x')"},
      {"<a b=&lt;&x;/>", "Illegal attribute encountered at line 1", "a{b=<&x;}"},
      {"<a b=x/y/>", "Illegal attribute encountered at line 1", kStartTag},
      {"<a b=/>", "Illegal attribute encountered at line 1",
       "Syntax Error (Missing attribute value) on line 1."},
      {"<a b=x\x01/>", "Illegal attribute encountered at line 1",
       "Illegal character encountered (0x1) at line 1"},
      {"<a b= ", kEOF, "="},
      {"<a\nb='x\n", "Unterminated string on line 3", "="},
      {"<a b>", "Syntax Error (Expected '=') on line 1.", "="},
      {"<a b 'c'/>", "Syntax Error (Expected '=') on line 1.", "="},
  };
  Check(cases);
}

TEST(OxXMLParser, Text) {
  const Case cases[] = {
      {"<a>  x   y  </a>", "a('x y ')", "a('x   y')"},
      {"<a>\r\nx\r\n\ty</a>", "a('x y')", "a('x\r\n\ty')"},
      {"<a> \n </a>", "a", "="},
      {"<a>x<b/> y <b/></a>", "a('x' b 'y ' b)", "a('x' b 'y' b)"},
      {"<a>&lt;&amp;&#65;&#x42;&apos;</a>", "a('<&AB'')", "="},
      {"<a>&amp;lt;</a>", "a('&lt;')", "="},
      {"<a>&#32;x &#32; y&#10;</a>", "a(' x   y\n')", "a('x   y')"},
      {"<a>&#32;</a>", "a(' ')", "a"},
      {"<a>x &lt;</a>", "a('x <')", "="},
      {"<a>&</a>", kMalformed, "a('&')"},
      {"<a>x & y &; &#; &#xg; &b</a>", kMalformed, "a('x & y &; &#; &#xg; &b')"},
      {"<a>&x;</a>", "Unknown entity 'x' at line 1", "="},
      {"<a>]]> \x01 \xC3\xA9</a>", "a(']]> \x01 \xC3\xA9')", "="},
      {"<a>x", kEOF, "="},
      {"<a>x\n &", "Syntax Error (Malformed entity) on line 2.", "Unexpected EOF at line 2"},
      {"<a>\xC0\xBC</a>", "a('\xC0\xBC')", "="},
  };
  Check(cases);
}

TEST(OxXMLParser, CDATAAndComments) {
  const Case cases[] = {
      {"<a><![CDATA[ <b> &lt; ]] ]]]></a>", "a([ <b> &lt; ]] ]])", "="},
      {"<a>x<![CDATA[]]>y</a>", "a('x' [] 'y')", "="},
      {"<a><![CDATA[x", kEOF, "="},
      {"<a><![CDATA[\xEF\xBF\xBD\xE0\xA4\x85\xED\x9F\xBF]]></a>",
       "a([\xEF\xBF\xBD\xE0\xA4\x85\xED\x9F\xBF])", "="},
      {"<a><![CDATA[\n\x1F]]></a>", "Illegal character encountered (0x1F) at line 2", "="},
      {"<a><![CDATA[\xED\xA0\x80]]></a>", "Illegal character encountered (0xD800) at line 1", "="},
      {"<a><!--\xEF\xBF\xBF--></a>", "Illegal character encountered (0xFFFF) at line 1", "="},
      {"<!--\xF4\x90\x80\x80-->", "Illegal character encountered (0x110000) at line 1", "="},
      {"<!--\x01-->", "Illegal character encountered (0x1) at line 1", "="},
      {"<!----><!-- - -->", "!! ! - !", "="},
      {"<!-- a -- b -->",
       "Double hyphens are illegal in comments except as part of the end tag \"-->\" (line 1)",
       "! a -- b !"},
      {"<!--a--->",
       "Double hyphens are illegal in comments except as part of the end tag \"-->\" (line 1)", "!a-!"},
      {"<!--x", "!x!", "="},
      {"<a><!--x", kEOF, "="},
      {"<--x-->", kIllegalElement, "!x!"},
      {"<a><--x--></a>", kTagName, "a(!x!)"},
      {"<!DOCTYPE a [<--'--><!ENTITY e 'x'>]><a>&e;</a>", "Unterminated string on line 1",
       "D'a' a('x')"},
      {"<-x-->", kIllegalElement, "="},
  };
  Check(cases);
}

TEST(OxXMLParser, ProcessingInstructions) {
  const Case cases[] = {
      {"<?p?><?p ?><?p  x y ?><?p?"
       "?><?p x?"
       "?>",
       "?p ? ?p ? ?p x y ? ?p ?? ?p x??", "="},
      {"<a>x<?p <&>?></a>", "a('x' ?p <&>?)", "="},
      {"<? p?>", "Syntax Error (Malformed Processing Instruction) on line 1.", "="},
      {"<?2p?>", "Syntax Error (Malformed Processing Instruction) on line 1.", "="},
      {"<?", "Syntax Error (Malformed Processing Instruction) on line 1.", "="},
      {"<?p x>\n", "Unexpected EOF at line 2", "="},
      {"<?p x?", kEOF, "="},
      {"<?xml version='1.0' encoding=\"x&amp;y\"?><a/>", "encoding=x&y version=1.0 a", "="},
      {"<a/><?xml b='2'?>", "b=2 a", "="},
      {"<?XML b='2'?>", "b=2 ?XML b='2'?", "="},
      {"<?xml?>", "", "="},
      {"<?xml b?>", "Syntax Error (Expected '=') on line 1.", "="},
      {"<?xml b='1' 'c'?>", "Syntax Error (Unexpected token) on line 1.", "="},
      {"<?xml b='?>'?>", "b=?>", "="},
      {"<?xml b='?>", "Unterminated string on line 1", "="},
      {"<?xmlx b?>", "?xmlx b?", "="},
  };
  Check(cases);
}

TEST(OxXMLParser, ADocumentCanAskForStrictModeForItself) {
  const std::string hyphens = "<!-- a -- b -->";
  const std::string refused =
      "Double hyphens are illegal in comments except as part of the end tag \"-->\" (line 1)";
  for (const char* value : {"yes", "1", "true"}) {
    const std::string ask = std::string("<?wobblefield xml-strict='") + value + "'?>";
    EXPECT_EQ(Outcome(ask + hyphens, false), refused) << value;
    EXPECT_EQ(Outcome(hyphens + ask, false),
              "! a -- b ! ?wobblefield xml-strict='" + std::string(value) + "'?");
  }
  for (const char* other : {"xml-strict='on'", "xml-strict='YES'", "XML-strict='yes'", "x='yes'", ""}) {
    EXPECT_NE(Outcome(std::string("<?wobblefield ") + other + "?>" + hyphens, false), refused) << other;
  }
  EXPECT_EQ(Outcome("<?WobbleField a='b' xml-strict=\"yes\"?>" + hyphens, false), refused);
  // From the next pseudo-attribute on.
  EXPECT_EQ(Outcome("<?wobblefield xml-strict=yes b=c?>", false),
            "Illegal attribute encountered at line 1");

  OxXMLParser parser;
  parser.SetStrict(false);
  const OxString asking("<?wobblefield xml-strict='yes'?>");
  EXPECT_EQ(parser.Parse(asking, OxXMLDoc::Make()).GetError(), OxXMLError::kNoError);
  EXPECT_FALSE(parser.IsStrict());
}

TEST(OxXMLParser, NodesKnowTheirLines) {
  const auto doc =
      ParseDoc("<?p\n?>\n<a b='1'\n c='2'>\n\n text\n<!--x\n--><b\n/>\n<![CDATA[\n]]>t</a>");
  EXPECT_EQ(doc->GetFirstChild()->GetLine(), 1U);
  const auto root = doc->GetRoot();
  EXPECT_EQ(root->GetLine(), 3U);
  EXPECT_EQ(root->GetAttributeNode("b")->GetLine(), 3U);
  EXPECT_EQ(root->GetAttributeNode("c")->GetLine(), 4U);
  std::string lines;
  for (auto node = root->GetFirstChild(); node; node = node->GetNextSibling()) {
    lines += std::to_string(node->GetLine()) + " ";
  }
  EXPECT_EQ(lines, "6 7 8 10 11 ");
  const auto declared = ParseDoc("\n<?xml a='1'\nb='2'?>");
  EXPECT_EQ(declared->GetAttributeNode("a")->GetLine(), 2U);
  EXPECT_EQ(declared->GetAttributeNode("b")->GetLine(), 3U);
}

TEST(OxXMLParser, AFailureKeepsWhatWasComplete) {
  const OxString text("<!--x--><a/><!--y--><b><c/></d>");
  const auto doc = OxXMLDoc::Make();
  OxXMLParser parser;
  const OxXMLError error = parser.Parse(text, doc);
  EXPECT_EQ(error.GetError(), OxXMLError::kMismatchedEndTag);
  EXPECT_EQ(Text(error.GetText()), "Expected 'b', got 'd'");
  EXPECT_EQ(Dump(*doc), "!x! a !y!");
  EXPECT_EQ(parser.Parse(text, nullptr).GetError(), OxXMLError::kSyntaxError);
}

TEST(OxXMLParser, WhatNothingNamesIsAnUnknownError) {
  const std::string zero("<a>x\0y</a>", 10);
  EXPECT_EQ(Outcome(zero, false), "Syntax Error (Unknown error) on line 1.");
  EXPECT_EQ(Outcome(std::string(1, '\0'), true), "Syntax Error (Unknown error) on line 1.");

  struct Refusing : OxXMLDoc {
    void ChildAdded(const Hux::SmartPtr<OxXMLNode>&) override { throw OxXMLDOMException(8); }
  };
  OxXMLParser parser;
  const OxString text("\n<a/>");
  const OxXMLError error = parser.Parse(text, Hux::SmartPtr<OxXMLDoc>::Adopt(new Refusing()));
  EXPECT_EQ(error.GetError(), OxXMLError::kDOMException);
  EXPECT_EQ(Text(error.GetText()), "8");
  EXPECT_EQ(error.GetLine(), 2U);
}

TEST(OxXMLError, TheDocumentHasEveryMessage) {
  EXPECT_EQ(Text(OxXMLError(OxXMLError::kMismatchedEndTag, "T%s%d", 4000000000U).GetDescription()),
            "Mismatched end tag: T%s%d at line 4000000000.");
  std::ifstream file(OX_SOURCE_DIR "/Docs/description-files.md");
  const std::string document{std::istreambuf_iterator<char>(file), {}};
  for (std::int32_t kind = 0; kind <= OxXMLError::kDOMException; ++kind) {
    const OxXMLError error(static_cast<OxXMLError::Error>(kind), "...", 77777);
    std::string row =
        Support::Joined({"| ", std::to_string(kind), " | ", error.GetDescription().view(), " |"});
    if (const std::size_t line = row.find("77777"); line != std::string::npos) {
      row = Support::Joined({row.substr(0, line), "N", row.substr(line + 5)});
    }
    EXPECT_NE(document.find(row), std::string::npos) << row;
  }
}

}  // namespace
