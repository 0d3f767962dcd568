#include <climits>
#include <new>
#include <string>

#include <gtest/gtest.h>

#include "Xml/XmlSupport.h"

namespace {

using Support::Dump;
using Support::ParseDoc;
using Support::Text;

TEST(XMLWriter, ElementsWithTheirContent) {
  const struct {
    const char* text;
    const char* written;  // The root element at depth 0.
  } cases[] = {
      {"<a/>", "\n<a/>"},
      {"<a>x</a>", "\n<a>x</a>"},
      {"<a><b/></a>", "\n<a>\n  <b/>\n</a>"},
      {"<a>x<b>y<c/>z</b></a>", "\n<a>x\n  <b>y\n    <c/>z\n  </b>\n</a>"},
      {"<a><!--c--></a>", "\n<a>  <!--c-->\n</a>"},
      {"<a><?p q?><?r?></a>", "\n<a>\n  <?p q?>\n  <?r ?>\n</a>"},
      {"<a><![CDATA[<&]]></a>", "\n<a>\n  <![CDATA[\n<&  ]]>\n\n</a>"},
      {"<a z='1' a='2'/>", "\n<a a=\"2\" z=\"1\"/>"},
      {"<a z='1' a='2' z='&amp;lt;'/>", "\n<a a=\"2\" z=\"&amp;lt;\"/>"},
      {"<a b='&quot;&lt;&gt;&apos;&amp;&#10;&#13;&#9;\xC3\xA9'/>",
       "\n<a b=\"&quot;&lt;&gt;&apos;&amp;&#10;&#13;&#9;\xC3\xA9\"/>"},
      {"<a>x&lt;\n\"'&amp;y</a>", "\n<a>x&lt;\n&quot;&apos;&amp;y</a>"},
  };
  for (const auto& row : cases) {
    const auto doc = ParseDoc(row.text);
    EXPECT_EQ(Text(doc->GetRoot()->GetAsString(0)), row.written) << row.text;
    doc->Index();  // Makes every node.
    EXPECT_EQ(Text(doc->GetRoot()->GetAsString(0)), row.written) << row.text;
  }
}

TEST(XMLWriter, DocumentsAndDepths) {
  const auto doc = ParseDoc(
      "<?xml version='9'?><!--c--><!DOCTYPE a PUBLIC 'p' 's\"' [ <!ENTITY e 'x'> "
      "]><a><b>\n</b><c/></a><?p q?>");
  const char declaration[] = "<?xml version=\"1.0\" encoding=\"utf-8\"?>";
  const char docType[] = "<!DOCTYPE a PUBLIC \"p\" 's\"' [<!ENTITY e 'x'>]>";
  EXPECT_EQ(Text(doc->GetAsString(0)),
            std::string(declaration) + "<!--c-->" + docType + "\n<a>\n  <b/>\n  <c/>\n</a>\n<?p q?>");
  EXPECT_EQ(Text(doc->GetAsString(-1)),
            std::string(declaration) + "<!--c-->" + docType + "\n<a>\n<b/>\n<c/>\n</a>\n<?p q?>");
  EXPECT_EQ(Text(doc->GetRoot()->GetAsString(2)), "\n    <a>\n      <b/>\n      <c/>\n    </a>");
  EXPECT_EQ(Text(doc->GetAsString(1)).substr(0, 6), "  <?xm");
  EXPECT_EQ(Text(ParseDoc("<!DOCTYPE a SYSTEM 's'>")->GetDocType()->GetAsString(1)),
            "  <!DOCTYPE a SYSTEM \"s\">");
  for (const char* empty : {"<!DOCTYPE a SYSTEM \"\">", "<!DOCTYPE a PUBLIC \"\" \"\">"}) {
    EXPECT_EQ(Text(ParseDoc(empty)->GetDocType()->Clone(true)->GetAsString(0)), empty);
  }
  EXPECT_THROW(doc->GetRoot()->GetAsString(INT_MAX), std::bad_alloc);
  EXPECT_EQ(Text(OxXMLNode::IndentString(2, "x")), "    x");
  EXPECT_EQ(Text(OxXMLNode::IndentString(-1, "x")), "x");
  EXPECT_EQ(Text(OxXMLNode::Escape("\n<", false)), "\n&lt;");
  EXPECT_EQ(Text(OxXMLNode::Escape("\n<", true)), "&#10;&lt;");
}

}  // namespace
