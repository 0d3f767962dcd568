#include <algorithm>
#include <new>
#include <string>

#include <gtest/gtest.h>

#include "Xml/XmlSupport.h"

// Hostile shapes at the size where a recursion, a quadratic loop or unbounded growth would end the run.

namespace {

using Support::Outcome;
using Support::ParseDoc;

constexpr std::size_t kMany = 1000000;

std::string Repeat(const std::string& text, std::size_t count) {
  std::string all;
  all.reserve(text.size() * count);
  for (std::size_t i = 0; i < count; ++i) all += text;
  return all;
}

// Every operation that walks a whole tree.
void WalkEverything(const Hux::SmartPtr<OxXMLDoc>& doc, std::size_t elements) {
  doc->Index();
  OxXMLNodeList list;
  doc->GetElementsByTagName("*", list);
  EXPECT_EQ(list.Length(), elements);
  EXPECT_FALSE(doc->GetElementByID("nobody"));
  doc->GetRoot()->Normalize();
  const OxString written = doc->GetAsString(-1);
  const auto copy = doc->Clone(true);
  EXPECT_EQ(copy->GetAsString(-1).size(), written.size());
  const auto other = OxXMLDoc::Make();  // It has to outlive what it imported.
  Hux::SmartPtr<OxXMLNode> imported;
  EXPECT_EQ(other->ImportNode(doc->GetRoot(), true, imported), 0);
}

TEST(XMLBudget, AMillionLevels) {
  const std::string text = Repeat("<a>", kMany) + Repeat("</a>", kMany);
  const auto doc = ParseDoc(text);
  WalkEverything(doc, kMany);
  EXPECT_THROW(doc->GetAsString(0), std::bad_alloc);  // 2 TB of indentation.
  EXPECT_EQ(Outcome(Repeat("<a>", kMany), false), "Unexpected EOF at line 1");
  // 5 GB, half of it in front of end tags, are seen before anything is written.
  constexpr std::size_t kDeep = 50000;
  EXPECT_THROW(ParseDoc(Repeat("<a>", kDeep) + Repeat("</a>", kDeep))->GetAsString(0), std::bad_alloc);
}

TEST(XMLBudget, AMillionSiblings) {
  WalkEverything(ParseDoc("<r>" + Repeat("<a/>x", kMany) + "</r>"), kMany + 1);
  const auto doc = ParseDoc("<r>" + Repeat("x<!---->", kMany) + "</r>");
  const auto root = doc->GetRoot();
  for (auto child = root->GetFirstChild(); child;) {
    const auto next = child->GetNextSibling();
    if (child->GetNodeType() == OxXMLNode::kCommentNode) root->RemoveChild(child);
    child = next;
  }
  root->Normalize();
  EXPECT_EQ(root->GetFirstChild()->GetValue().size(), kMany);
  EXPECT_TRUE(root->GetFirstChild() == root->GetLastChild());
}

TEST(XMLBudget, AMillionAttributes) {
  std::string text = "<a";
  for (std::size_t i = kMany; i > 0; --i) text += " a" + std::to_string(i * 7919 % kMany) + "='1'";
  const auto doc = ParseDoc(text + " a5='2'/>");
  const OxXMLNamedNodeMap& attributes = doc->GetRoot()->GetAttributes();
  ASSERT_EQ(attributes.Length(), kMany);
  for (std::size_t i = 1; i < kMany; ++i) {
    ASSERT_TRUE(attributes.Item(i - 1)->GetName() < attributes.Item(i)->GetName());
  }
  EXPECT_EQ(doc->GetRoot()->GetAttribute("a5"), OxString("2"));
  WalkEverything(doc, 1);
}

// By index in turn, and from both ends: each change must not send the next look-up back to the front.
TEST(XMLBudget, ManyAttributesByIndex) {
  const auto doc = OxXMLDoc::Make();
  const auto element = doc->CreateElementNode("e");
  for (std::size_t i = 0; i < kMany / 10; ++i) element->SetAttribute(OxString(std::to_string(i)), "1");
  OxXMLNamedNodeMap& map = element->GetAttributes();
  for (std::size_t i = 0; i < map.Length(); ++i) {
    const OxString name = map.Item(i)->GetName();
    ASSERT_TRUE(map.SetNamedItem(doc->CreateAttrNode(name, "2")));
    ASSERT_TRUE(map.Item(i)->GetName() == name);
  }
  for (std::size_t left = map.Length(), at = left / 2; left > 0; --left, at = std::min(at, left - 1)) {
    const auto item = map.Item(at);
    ASSERT_TRUE(item->GetValue() == "2");
    ASSERT_TRUE(map.RemoveItem(item));
    if (left == 2) break;
  }
  EXPECT_EQ(map.Length(), 1U);
}

// From the front, from the end and in the middle, with characters of two bytes.
TEST(XMLBudget, ATextInPieces) {
  constexpr std::size_t kPieces = kMany / 2;
  const auto doc = OxXMLDoc::Make();
  const auto root = doc->CreateElementNode("r");
  const auto whole = doc->CreateTextNode(OxString(Repeat("\xC3\xA9x", kPieces).c_str()));
  root->AppendChild(whole);
  auto tail = whole->SplitText(kPieces);
  for (std::size_t left = kPieces; left > 2; left -= 2) tail = tail->SplitText(2);
  for (std::size_t left = kPieces - 2; left > 0; left -= 2) whole->SplitText(static_cast<long>(left));
  OxXMLNodeList pieces;
  root->GetChildren(pieces);
  ASSERT_EQ(pieces.Length(), kPieces);
  for (std::size_t i = 0; i < kPieces; ++i) ASSERT_EQ(pieces.Item(i)->GetValue(), OxString("\xC3\xA9x"));
  root->Normalize();
  EXPECT_EQ(whole->GetLength(), 2 * kPieces);
}

// Neither may cost the whole depth, or the whole subtree, each time.
TEST(XMLBudget, FilledElementsAtDepth) {
  const auto doc = OxXMLDoc::Make();
  Hux::SmartPtr<OxXMLNode> deepest = doc->CreateElementNode("r");
  const auto top = deepest;
  for (std::size_t i = 0; i < kMany / 5; ++i) {
    const auto filled = doc->CreateElementNode("a");
    filled->AppendChild(doc->CreateElementNode("b"));
    ASSERT_EQ(deepest->AppendChild(filled), 0);
    deepest = filled;
  }
  EXPECT_EQ(deepest->AppendChild(top), 3);
  EXPECT_EQ(deepest->GetParent()->GetParent()->AppendChild(deepest), 0);
}

TEST(XMLBudget, LongTokens) {
  const std::string run(std::size_t{100} << 20, 'x');
  EXPECT_EQ(ParseDoc("<a>" + run + "</a>")->GetRoot()->GetFirstChild()->GetValue().size(), run.size());
  const std::string part = run.substr(0, kMany);
  const std::string amps(kMany, '&');
  for (const std::string& text :
       {"<a>" + Repeat("& ]] -", kMany) + "</a>", "<a b='" + amps + "'/>",
        "<a>" + Repeat("&a", kMany) + "</a>", "<!--" + Repeat("-a--", kMany) + "-->",
        "<a><![CDATA[" + Repeat("]]", kMany) + "]]></a>", "<?p " + Repeat("??", kMany) + "?>",
        "<" + part + " " + part + "='" + part + "'></" + part + ">",
        "<!DOCTYPE a [" + Repeat("% <! & ;", kMany) + "]>", "<a>" + Repeat("\n", kMany) + "</a>",
        "<!DOCTYPE a [<!ELEMENT b " + Repeat("(", kMany) + "c" + Repeat(")", kMany) + ">]>"}) {
    ParseDoc(text);
  }
}

// A chain of entities e0, e1, ... each `copies` references to the one before, the first with `text`.
std::string Chain(int levels, int copies, const std::string& text, const std::string& sign) {
  const bool parameter = sign == "&#37;";
  const std::string kind = parameter ? "<!ENTITY % e" : "<!ENTITY e";
  std::string declarations = kind + "0 '" + text + "'>";
  for (int i = 1; i <= levels; ++i) {
    declarations += kind + std::to_string(i) + " '" +
                    Repeat(sign + "e" + std::to_string(i - 1) + ";", static_cast<std::size_t>(copies)) +
                    "'>";
  }
  return declarations;
}

TEST(XMLBudget, ExponentialEntitiesEndAsTheReferencesTheyAre) {
  const std::string bomb = "<!DOCTYPE r [" + Chain(40, 10, "0123456789", "&") + "]>";
  const auto text = ParseDoc(bomb + "<r>&e40;</r>")->GetRoot()->GetFirstChild()->GetValue();
  EXPECT_LT(text.size(), XMLExpansionBudget::kThreshold * 2);
  EXPECT_GT(text.size(), XMLExpansionBudget::kThreshold / 2);
  EXPECT_TRUE(text.ends_with("&e39;"));
  // One budget for all values, and an honest reference still works below it.
  const auto attributes = ParseDoc(bomb + "<r a='&e3;' b='&e40;' c='&e40;' d='&e40;'/>")->GetRoot();
  EXPECT_EQ(attributes->GetAttribute("a").size(), 10000U);
  EXPECT_EQ(attributes->GetAttribute("d"), OxString("&e40;"));

  ParseDoc("<!DOCTYPE r [" + Chain(40, 10, "<!ENTITY x \"y\">", "&#37;") + "%e40;]><r/>");
  ParseDoc("<!DOCTYPE r [" + Chain(40, 10, "", "&") + "]><r>&e40;</r>");
}

TEST(XMLBudget, LongChainsOfEntities) {
  constexpr int kLinks = 200000;
  const std::string chain = "<!DOCTYPE r [" + Chain(kLinks, 1, "&e200000;x", "&") + "]>";
  const auto doc = ParseDoc(chain + "<r>&e200000;</r>");
  EXPECT_EQ(doc->GetRoot()->GetFirstChild()->GetValue(), OxString("&e200000;x"));
  EXPECT_EQ(Outcome(chain + "<r>&e200000;<", true),
            "Syntax Error (Expected element tag name) on line 1.");
}

// Each subset is read on to what ends its instruction, which follows them all.
TEST(XMLBudget, SubsetsThatReadOnBehindTheirEnd) {
  const std::string subset = "<!DOCTYPE r [<?]>";
  const std::string rest = "<!-- ?><!ENTITY e 'x'>]--><r a='&e;'/>";
  const auto outcome = [&](std::size_t subsets, std::size_t gap) {
    const std::string text = Outcome(Repeat(subset, subsets) + std::string(gap, '\n') + rest, true);
    return text.substr(text.find_last_of(" !") + 1);
  };
  EXPECT_EQ(outcome(1, kMany * 2), "r{a=x}");
  EXPECT_EQ(outcome(100, 0), "r{a=x}");
  EXPECT_EQ(Outcome(Repeat(subset, kMany / 10) + rest, true), "Unknown entity 'e' at line 1");
  ParseDoc(Repeat("<!DOCTYPE r [<!--]>", kMany / 10) + "<r/>");
  ParseDoc("<!DOCTYPE r [<!ENTITY e '</r>" + Repeat("<!DOCTYPE r [<?&#93;>", kMany / 10) + "'>]><r>&e;");
  EXPECT_EQ(Outcome(Repeat("<!DOCTYPE a [<!--]>", kMany / 20) + "<a/><!-- -->" +
                        Repeat("<!ENTITY x 'y'>", kMany / 20),
                    false),
            "Illegal element encountered at line 1");
}

TEST(XMLBudget, HonestEntitiesMayGrowWithTheDocument) {
  const std::string big(std::size_t{1} << 20, 'x');
  const std::string text = "<!DOCTYPE r [<!ENTITY e '" + big + "'>]><r>" + Repeat("&e;", 16) + "</r>";
  EXPECT_EQ(ParseDoc(text)->GetRoot()->GetFirstChild()->GetValue().size(), big.size() * 16);
  // Values without quotes are stored as written and grow only when they are read.
  const std::string unquoted =
      "<!DOCTYPE r [<!ENTITY e '" + big + "'>]><r a=" + Repeat("&e;", 1000) + " />";
  const OxString value = ParseDoc(unquoted)->GetRoot()->GetAttribute("a");
  EXPECT_EQ(value.size(), 16 * big.size() + std::size_t{984} * 3);

  // Writing a tree, or searching it, has one budget for all such values, reading one has its own.
  const std::string many =
      "<!DOCTYPE r [<!ENTITY e '" + big + "'>]><r>" + Repeat("<a id=&e; />", 19) + "<a id=&e;20 /></r>";
  const auto doc = ParseDoc(many);
  const std::size_t unexpanded = doc->GetDocType()->GetAsString(-1).size();
  for (const auto& tree : {Hux::SmartPtr<OxXMLNode>(doc), doc->Clone(true)}) {
    const std::size_t written = tree->GetAsString(-1).size() - unexpanded;
    EXPECT_GT(written, 16 * big.size());
    EXPECT_LT(written, 17 * big.size());
  }
  const OxString last(big + "20");
  EXPECT_TRUE(doc->GetRoot()->GetLastChild()->GetAttribute("id") == last);
  EXPECT_TRUE(doc->GetElementByID(OxString(big)) == doc->GetRoot()->GetFirstChild());
  EXPECT_FALSE(doc->GetElementByID(last));
}

}  // namespace
