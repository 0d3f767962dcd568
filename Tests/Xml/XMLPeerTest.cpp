#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include "Xml/XmlSupport.h"

// The judge is libxml2: what it makes of a document, after this system's rules for white space, must be
// what is made here.

namespace {

using Support::DumpsOfChildren;
using Support::ParseDoc;
using Support::Text;
using NodePtr = Hux::SmartPtr<OxXMLNode>;
using PeerDoc = std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)>;

// Well-formed documents that stay within the language of both parsers: ASCII names without colons, no
// carriage returns, no white space made by references in text.
class Generator {
 public:
  explicit Generator(unsigned seed) : random_(seed) {}

  std::string Prolog() {
    std::string text = Chance(2) ? "<?xml version=\"1.0\"?>\n" : "";
    text += Misc();
    declared_ = Chance(2);
    if (declared_) text += DocType();
    return text + Misc();
  }
  std::string Element(int depth) {
    const std::string name = Name();
    std::string text = "<" + name + Attributes();
    if (Chance(4)) return text + Pick({"/>", " />"});
    text += Pick({">", "\n>"});
    for (int left = static_cast<int>(random_() % 7); left > 0; --left) {
      text += Pick({Space(), "some text", "\xE2\x82\xAC\n two", Reference(), Comment(), "<?pi x?>",
                    "<![CDATA[ <raw> & ]] ]]>;", depth < 5 ? Element(depth + 1) : "deep",
                    declared_ ? Pick({"&t;", "&w;"}) : "z"});
    }
    return text + "</" + name + Pick({">", " >"});
  }
  std::string Misc() {
    std::string text;
    while (Chance(3)) text += Space() + Pick({Comment(), "<?pi some data ?>", "<?other?>"});
    return text;
  }

 private:
  bool Chance(int in) { return random_() % static_cast<unsigned>(in) == 0; }
  std::string Pick(const std::vector<std::string>& from) { return from[random_() % from.size()]; }
  std::string Name() { return Pick({"a", "b", "_c", "image", "window-2", "x.y"}); }
  std::string Space() { return Pick({" ", "\n", "  ", "\t\n "}); }

  std::string DocType() {
    return "<!DOCTYPE r " + Pick({"", "SYSTEM 'sys' ", "PUBLIC '-//P' \"pub's\" "}) +
           "[<!ELEMENT r (#PCDATA|a|b)*><!ATTLIST r k CDATA #IMPLIED l (x|y) 'x'>\n<!ENTITY % p '<!-- p "
           "-->'> %p;"
           "<!ENTITY w 'word  &#38;amp; &#x263A;'><!NOTATION n SYSTEM 'n'><!-- ' --><?q ' ?>"
           "<!ENTITY t ' &w; <b k=\"&w;\">in</b><!--e-->'><!ENTITY w 'second'>]>";
  }
  std::string Comment() { return Pick({"<!---->", "<!-- <b> & -->", "<!--\n- -->"}); }
  std::string Reference() {
    std::string reference =
        Pick({"&lt;", "&gt;", "&amp;", "&quot;", "&apos;", "&#65;", "&#x20AC;", "&amp;lt;"});
    return declared_ && Chance(2) ? "&w;" : reference;
  }
  std::string Attributes() {
    std::string text;
    std::map<std::string, bool> used;
    for (std::string name = Name(); Chance(2); name = Name()) {
      if (std::exchange(used[name], true)) continue;
      std::string value;
      while (!Chance(3))
        value += Pick({"v 1", "'", "\xC3\xA9", ">", " \n\t ", "&#10;", "&#9;", Reference()});
      const bool quotes = value.find('\'') != std::string::npos || Chance(2);
      text += Space() + name + Pick({"=", " = "}) + (quotes ? "\"" + value + "\"" : "'" + value + "'");
    }
    return text;
  }
  std::mt19937 random_;
  bool declared_ = false;
};

PeerDoc PeerParse(const std::string& text) {
  constexpr int kOptions = XML_PARSE_NOENT | XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
  return {xmlReadMemory(text.data(), static_cast<int>(text.size()), "x", nullptr, kOptions),
          &xmlFreeDoc};
}

std::string PeerText(const xmlChar* text) {
  return text == nullptr ? "" : reinterpret_cast<const char*>(text);
}

bool IsSpace(char c) {
  return c == ' ' || c == '\n' || c == '\t' || c == '\r';
}

// Lenient: trimmed. Strict: nothing at the front, one space for each run.
std::string WhitespaceRules(const std::string& text, bool strict) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (result.empty() && IsSpace(text[i])) continue;
    if (strict && IsSpace(text[i])) {
      if (result.back() != ' ') result += ' ';
    } else {
      result += text[i];
    }
  }
  while (!strict && !result.empty() && IsSpace(result.back())) result.pop_back();
  return result;
}

std::string PeerDump(const xmlNode& node, bool strict);

std::vector<std::string> PeerChildren(const xmlNode* child, bool strict) {
  std::vector<std::string> children;
  while (child != nullptr) {
    if (child->type != XML_TEXT_NODE) {
      children.push_back(PeerDump(*child, strict));
      child = child->next;
      continue;
    }
    std::string text;
    for (; child != nullptr && child->type == XML_TEXT_NODE; child = child->next)
      text += PeerText(child->content);
    text = WhitespaceRules(text, strict);
    if (!text.empty()) children.push_back(Support::Joined({"'", text, "'"}));
  }
  return children;
}

// Support::Dump() for the judge's tree.
std::string PeerDump(const xmlNode& node, bool strict) {
  static const std::map<xmlElementType, OxXMLNode::NodeType> kTypes = {
      {XML_CDATA_SECTION_NODE, OxXMLNode::kCDATANode},
      {XML_COMMENT_NODE, OxXMLNode::kCommentNode},
      {XML_PI_NODE, OxXMLNode::kPINode},
      {XML_DTD_NODE, OxXMLNode::kDocTypeNode},
      {XML_ELEMENT_NODE, OxXMLNode::kElementNode}};
  const OxXMLNode::NodeType type = kTypes.at(node.type);
  std::map<std::string, std::string> values;
  std::vector<std::string> attributes, children;
  if (type == OxXMLNode::kElementNode) {
    for (const xmlAttr* attribute = node.properties; attribute != nullptr; attribute = attribute->next) {
      xmlChar* value = xmlNodeListGetString(node.doc, attribute->children, 1);
      values[PeerText(attribute->name)] = PeerText(value);
      xmlFree(value);
    }
    for (const auto& [name, value] : values) attributes.push_back(name + "=" + value);
    children = PeerChildren(node.children, strict);
  }
  return Support::DumpOf(type, PeerText(node.name), PeerText(node.content), attributes, children);
}

// The example bundles' descriptions, brought to UTF-8 by the judge, and what the generator makes.
std::vector<std::string> Corpus() {
  std::vector<std::string> corpus;
  for (unsigned seed = 1; seed <= 600; ++seed) {
    Generator generator(seed);
    corpus.push_back(generator.Prolog() + generator.Element(0) + generator.Misc());
  }
  const std::filesystem::path examples = std::filesystem::path(OX_SOURCE_DIR) / "Examples";
  if (!std::filesystem::exists(examples)) return corpus;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(examples)) {
    if (entry.path().extension() != ".wob") continue;
    std::ifstream file(entry.path(), std::ios::binary);
    const PeerDoc doc = PeerParse({std::istreambuf_iterator<char>(file), {}});
    EXPECT_TRUE(doc) << entry.path();
    xmlChar* utf8 = nullptr;
    int size = 0;
    xmlDocDumpMemoryEnc(doc.get(), &utf8, &size, "UTF-8");
    corpus.push_back(PeerText(utf8));
    xmlFree(utf8);
  }
  return corpus;
}

TEST(XMLPeer, TreesAreEqual) {
  for (const std::string& text : Corpus()) {
    const PeerDoc peer = PeerParse(text);
    ASSERT_TRUE(peer) << text;
    for (const bool strict : {true, false}) {
      // Without the declaration's pseudo-attributes, of which the judge keeps none.
      ASSERT_EQ(DumpsOfChildren(*ParseDoc(text, strict)), PeerChildren(peer->children, strict)) << text;
    }
  }
}

// What parsing the written text again changes, by the rules of the written form: the data of a CDATA
// section gains the line feed behind its opener and the indentation before its end, and in strict mode
// the line break (or a comment's indentation) that follows a text becomes its last space.
void ChangeAsWritten(const NodePtr& node, int indent, bool strict) {
  const NodePtr parent = node->GetParent();
  const NodePtr next = node->GetNextSibling();
  if (node->GetNodeType() == OxXMLNode::kCDATANode) {
    node->SetValue(OxString("\n") + node->GetValue() + OxXMLNode::IndentString(indent, ""));
  } else if (strict && node->GetNodeType() == OxXMLNode::kTextNode) {
    const bool alone = !next && node.get() == parent->GetFirstChild().get();
    const bool inLine = next ? next->GetNodeType() == OxXMLNode::kCommentNode && indent < 0 : alone;
    const OxString text = node->GetValue();
    if (!inLine && !text.ends_with(" ")) node->SetValue(text + " ");
  }
  const bool top = node->GetNodeType() == OxXMLNode::kDocumentNode;
  for (NodePtr child = node->GetFirstChild(); child; child = child->GetNextSibling()) {
    ChangeAsWritten(child, top || indent < 0 ? indent : indent + 1, strict);
  }
}

TEST(XMLPeer, WrittenDocumentsParseToTheSameTree) {
  for (const std::string& text : Corpus()) {
    for (const bool strict : {true, false}) {
      const auto doc = ParseDoc(text, strict);
      const auto docType = doc->GetDocType();
      for (const int indent : {-1, 0}) {
        const auto again = ParseDoc(doc->GetAsString(indent).view(), strict);
        const NodePtr expected = doc->Clone(true);
        ChangeAsWritten(expected, indent, strict);
        ASSERT_EQ(DumpsOfChildren(*again), DumpsOfChildren(*expected)) << text;
        if (docType) {
          ASSERT_EQ(Text(again->GetDocType()->GetAsString(0)), Text(docType->GetAsString(0)));
        }
      }
    }
  }
}

}  // namespace
