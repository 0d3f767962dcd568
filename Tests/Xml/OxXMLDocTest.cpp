#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Xml/XmlSupport.h"

namespace {

using Support::Child;
using Support::Dump;
using Support::ParseDoc;
using Support::Text;
using NodePtr = Hux::SmartPtr<OxXMLNode>;

// The children backwards: what the other half of the links says.
std::string Backwards(const OxXMLNode& node) {
  std::string names;
  for (NodePtr child = node.GetLastChild(); child; child = child->GetPreviousSibling()) {
    names += Text(child->GetName());
  }
  return names;
}

TEST(OxXMLDoc, WhatADocumentTakes) {
  const auto doc = OxXMLDoc::Make();
  const auto root = doc->CreateElementNode("r");
  EXPECT_EQ(doc->AppendChild(root), 0);
  for (const NodePtr& refused :
       std::vector<NodePtr>{doc->CreateElementNode("s"), doc->CreateTextNode("x"),
                            doc->CreateCDATANode("x"), doc->CreateAttrNode("x", "y"), doc, nullptr}) {
    EXPECT_EQ(doc->AppendChild(refused), 3);
  }
  EXPECT_EQ(doc->AppendChild(OxXMLCommentNode::Make("x")), 4);
  EXPECT_EQ(doc->AppendChild(doc->CreateCommentNode("c")), 0);
  EXPECT_EQ(doc->InsertChildBefore(doc->CreatePINode("p", "q"), root), 0);
  EXPECT_EQ(doc->AppendChild(doc->CreateDocTypeNode("r")), 0);
  EXPECT_EQ(Dump(*doc), "?p q? r !c! D'r'");
  EXPECT_TRUE(doc->GetRoot() == root);
  EXPECT_TRUE(doc->GetDocType());

  // The document type can be taken away and given again; the root element stays the only one ever.
  EXPECT_EQ(doc->ReplaceChild(doc->CreateElementNode("s"), root), 3);
  EXPECT_TRUE(doc->RemoveChild(root));
  EXPECT_TRUE(doc->RemoveChild(doc->GetDocType()));
  EXPECT_FALSE(doc->GetRoot());
  EXPECT_FALSE(doc->GetDocType());
  EXPECT_EQ(doc->AppendChild(root), 3);
}

TEST(OxXMLNode, WhatNodesTakeAndRefuse) {
  const auto doc = OxXMLDoc::Make();
  const auto other = OxXMLDoc::Make();
  const auto element = doc->CreateElementNode("e");
  const auto inner = doc->CreateElementNode("i");
  EXPECT_EQ(element->AppendChild(inner), 0);
  EXPECT_EQ(inner->AppendChild(element), 3);
  for (const NodePtr& refused :
       std::vector<NodePtr>{element, doc, doc->CreateDocTypeNode("e"), doc->CreateAttrNode("a", "b")}) {
    EXPECT_EQ(element->AppendChild(refused), 3);
  }
  EXPECT_EQ(element->AppendChild(other->CreateTextNode("x")), 4);
  EXPECT_EQ(doc->CreateTextNode("x")->AppendChild(inner), 3);
  EXPECT_EQ(doc->CreatePINode("p", "")->AppendChild(doc->CreateTextNode("x")), 3);
  const auto attribute = doc->CreateAttrNode("a", "b");
  EXPECT_EQ(attribute->AppendChild(inner), 3);
  EXPECT_EQ(attribute->AppendChild(doc->CreateTextNode("c")), 0);
  EXPECT_EQ(Text(attribute->GetValue()), "bc");
  EXPECT_EQ(OxXMLElementNode::Make("x")->AppendChild(OxXMLTextNode::Make("y")), 0);
  EXPECT_EQ(Dump(*element), "e(i)");
}

TEST(OxXMLNode, MovingReplacingAndRemoving) {
  const auto doc = ParseDoc("<r><a/><b/><c/><d/></r>");
  const auto root = doc->GetRoot();
  const NodePtr a = Child(*root, 0);
  const NodePtr b = Child(*root, 1);
  const NodePtr c = Child(*root, 2);
  const NodePtr d = Child(*root, 3);
  EXPECT_EQ(root->AppendChild(a), 0);
  EXPECT_EQ(Dump(*root), "r(b c d a)");
  EXPECT_EQ(root->InsertChildBefore(d, b), 0);
  EXPECT_EQ(Dump(*root), "r(d b c a)");
  EXPECT_EQ(root->InsertChildBefore(b, b), 0);
  EXPECT_EQ(root->ReplaceChild(b, b), 0);
  EXPECT_EQ(b->AppendChild(c), 0);
  EXPECT_EQ(Dump(*root), "r(d b(c) a)");
  EXPECT_EQ(Backwards(*root), "abd");

  EXPECT_EQ(root->InsertChildBefore(a, c), 8);
  EXPECT_EQ(root->InsertChildBefore(a, nullptr), 8);
  EXPECT_EQ(root->InsertChildBefore(nullptr, a), 3);
  EXPECT_EQ(root->InsertChildBefore(OxXMLTextNode::Make("x"), c), 8);
  EXPECT_EQ(root->InsertChildBefore(OxXMLTextNode::Make("x"), a), 4);
  EXPECT_EQ(b->InsertChildBefore(root, c), 3);
  EXPECT_EQ(root->ReplaceChild(OxXMLTextNode::Make("x"), c), 4);
  EXPECT_EQ(root->ReplaceChild(root, c), 3);
  EXPECT_EQ(root->ReplaceChild(a, c), 8);
  EXPECT_EQ(root->ReplaceChild(a, nullptr), 8);
  EXPECT_EQ(Dump(*root), "r(d b(c) a)");

  EXPECT_EQ(root->ReplaceChild(a, b), 0);  // Its own next sibling.
  EXPECT_EQ(Dump(*root), "r(d a)");
  EXPECT_FALSE(b->GetParent());
  EXPECT_FALSE(b->GetNextSibling());
  EXPECT_EQ(root->ReplaceChild(c, d), 0);
  EXPECT_EQ(Dump(*root), "r(c a)");
  EXPECT_EQ(Backwards(*root), "ac");
  EXPECT_FALSE(root->RemoveChild(d));
  EXPECT_FALSE(root->RemoveChild(nullptr));
  root->RemoveAllChildren();
  EXPECT_FALSE(root->HasChildNodes());
  EXPECT_FALSE(a->GetParent());
}

TEST(OxXMLNode, AttributesAreUniqueAndInOrderOfNames) {
  const auto doc = OxXMLDoc::Make();
  const auto element = doc->CreateElementNode("e");
  for (const char* name : {"b", "\xF0\x9F\x98\x80", "a", "\xEF\xBF\xBD", "b", "ab"})
    element->SetAttribute(name, name);
  EXPECT_EQ(Dump(*element),
            "e{a=a ab=ab b=b \xF0\x9F\x98\x80=\xF0\x9F\x98\x80 \xEF\xBF\xBD=\xEF\xBF\xBD}");
  OxString value("old");
  EXPECT_TRUE(element->GetAttribute("ab", value));
  EXPECT_FALSE(element->GetAttribute("none", value));
  EXPECT_TRUE(value.empty());
  element->RemoveAttribute("none");
  element->RemoveAttribute("ab");
  element->RemoveAttributeQuiet("\xEF\xBF\xBD");

  const auto fresh = doc->CreateAttrNode("b", "new");
  const auto old = element->GetAttributeNode("b");
  element->SetAttributeNode(fresh);
  EXPECT_FALSE(old->GetOwner());
  EXPECT_TRUE(fresh->GetOwner() == NodePtr(element));
  EXPECT_FALSE(fresh->GetParent());
  EXPECT_FALSE(element->RemoveAttributeNode(old));
  const auto second = doc->CreateElementNode("f");
  second->SetAttributeNode(fresh);  // An attribute belongs to one element.
  EXPECT_FALSE(element->GetAttributeNode("b"));
  EXPECT_TRUE(second->RemoveAttributeNode(fresh));
  EXPECT_EQ(second->GetAttributes().Length(), 0U);
}

TEST(OxXMLNamedNodeMap, SmallAndLarge) {
  const auto doc = OxXMLDoc::Make();
  const auto element = doc->CreateElementNode("e");
  OxXMLNamedNodeMap& map = element->GetAttributes();
  const auto name = [](int i) { return OxString().format("n%03d", i * 37 % 100); };
  for (int i = 0; i < 100; ++i) EXPECT_TRUE(map.SetNamedItem(doc->CreateAttrNode(name(i), name(i))));
  for (int i = 0; i < 100; i += 2) EXPECT_TRUE(map.RemoveNamedItem(name(i)));
  EXPECT_FALSE(map.RemoveNamedItem(name(0)));
  EXPECT_TRUE(map.SetNamedItem(doc->CreateAttrNode(name(1), "again")));
  EXPECT_FALSE(map.SetNamedItem(doc->CreateTextNode("x")));
  EXPECT_FALSE(map.SetNamedItem(nullptr));
  ASSERT_EQ(map.Length(), 50U);
  EXPECT_FALSE(map.Item(50));
  for (std::size_t i = 1; i < map.Length(); ++i) {
    EXPECT_TRUE(map.Item(i - 1)->GetName() < map.Item(i)->GetName());
  }
  EXPECT_EQ(Text(map.GetNamedItem(name(1))->GetValue()), "again");

  // A copy shares the attributes, a clone has its own, and so has another element after an assignment.
  const OxXMLNamedNodeMap copy = map;
  const OxXMLNamedNodeMap clone = map.Clone();
  const auto other = doc->CreateElementNode("f");
  other->SetAttribute("gone", "x");
  other->GetAttributes() = map;
  EXPECT_TRUE(copy.Item(7) == map.Item(7));
  EXPECT_FALSE(clone.Item(7) == map.Item(7));
  EXPECT_EQ(other->GetAttributes().Length(), 50U);
  EXPECT_TRUE(map.RemoveItem(map.Item(7)));
  EXPECT_EQ(map.Length() + 1, copy.Length());
  EXPECT_EQ(clone.Length(), copy.Length());
  EXPECT_TRUE(copy.Item(8).dynamic_cast_to<OxXMLAttrNode>()->GetOwner() == NodePtr(element));
}

TEST(OxXMLAttrNode, ValueAndChildren) {
  const auto doc = ParseDoc("<!DOCTYPE r [<!ENTITY e 'E&amp;'>]><r a='x'/>");
  const auto attribute = doc->GetRoot()->GetAttributeNode("a");
  const struct {
    const char* text;
    const char* value;
  } cases[] = {{"", ""},
               {"&e;&lt;&none;&amp;lt;", "E&amp;<&none;&lt;"},
               {"& &; &a &#65; &e", "& &; &a &#65; &e"},
               {"&a\xC2\xB7;&e\xC2\xB7;", "&a\xC2\xB7;&e\xC2\xB7;"}};
  for (const auto& row : cases) {
    attribute->SetValue(row.text);
    EXPECT_EQ(Text(attribute->GetValue()), row.value);
  }
  EXPECT_EQ(Text(OxXMLAttrNode::Make("a", "&lt;&e;")->GetValue()), "<&e;");

  const NodePtr text = attribute->GetFirstChild();
  EXPECT_TRUE(text->GetParent() == NodePtr(attribute));
  text.dynamic_cast_to<OxXMLTextNode>()->AppendData("!&");
  EXPECT_EQ(attribute->AppendChild(doc->CreateTextNode("gt;")), 0);
  EXPECT_EQ(Text(attribute->GetValue()), "&a\xC2\xB7;&e\xC2\xB7;!>");
  EXPECT_EQ(Text(attribute->Clone(true)->GetValue()), "&a\xC2\xB7;&e\xC2\xB7;!>");
  attribute->SetValue("new");
  EXPECT_FALSE(text->GetParent());
  EXPECT_TRUE(attribute->HasChildNodes());
  attribute->RemoveAllChildren();
  EXPECT_TRUE(attribute->GetValue().empty());
}

TEST(OxXMLDoc, IndexNumbersInDocumentOrder) {
  const auto doc = ParseDoc("<?xml v='1'?><r b='' a=''><x c=''/>t</r>");
  const auto root = doc->GetRoot();
  const auto indexes = [&] {
    doc->Index();
    std::string all = std::to_string(doc->GetIndex());
    for (const NodePtr& node : {NodePtr(root), NodePtr(root->GetAttributeNode("a")), Child(*root, 0),
                                NodePtr(Child(*root, 0)->GetAttributeNode("c")), Child(*root, 1)}) {
      all += Support::Joined({" ", std::to_string(node->GetIndex())});
    }
    return all;
  };
  EXPECT_EQ(indexes(), "1 3 4 6 7 8");
  root->RemoveAttribute("b");
  EXPECT_EQ(indexes(), "1 3 4 5 6 7");
  root->InsertChildBefore(doc->CreateCommentNode(""), Child(*root, 1));
  EXPECT_EQ(indexes(), "1 3 4 5 6 7");
  EXPECT_EQ(Child(*root, 2)->GetIndex(), 8U);
}

TEST(OxXMLNode, Searching) {
  const auto doc = ParseDoc("<r id='1'><a id='2'><b/><a id='3'/></a>x<b id='3' ID='4'/></r>");
  const auto found = [&](const OxXMLNode& node, const char* name) {
    OxXMLNodeList list;
    node.GetElementsByTagName(name, list);
    std::string names;
    for (std::size_t i = 0; i < list.Length(); ++i) {
      names += Text(list.Item(i)->GetName()) + Text(list.Item(i)->GetAttribute("id")) + " ";
    }
    EXPECT_FALSE(list.Item(list.Length()));
    return names;
  };
  EXPECT_EQ(found(*doc, "*"), "r1 a2 b a3 b3 ");
  EXPECT_EQ(found(*doc->GetRoot(), "a"), "a2 a3 ");
  EXPECT_EQ(found(*Child(*doc->GetRoot(), 0), "*"), "b a3 ");
  EXPECT_EQ(found(*doc, "A"), "");
  EXPECT_EQ(Text(doc->GetElementByID("3")->GetName()), "a");
  EXPECT_TRUE(doc->GetRoot()->GetElementByID("1") == NodePtr(doc->GetRoot()));
  EXPECT_FALSE(doc->GetElementByID("4"));
  EXPECT_FALSE(doc->GetElementByID(""));
  EXPECT_FALSE(Child(*doc->GetRoot(), 0)->GetElementByID("1"));
}

TEST(OxXMLNode, CloningAndImporting) {
  const auto doc = ParseDoc(
      "<?xml v='1'?><!DOCTYPE r [<!ENTITY e 'x'>]><r a='1'><b><c/>t</b><![CDATA[d]]><!--e--><?p "
      "q?></r>");
  const auto root = doc->GetRoot();
  const NodePtr shallow = root->Clone(false);
  const NodePtr deep = root->Clone(true);
  EXPECT_EQ(Dump(*shallow), "r{a=1}");
  EXPECT_EQ(Dump(*deep), Dump(*root));
  EXPECT_FALSE(deep->GetParent());
  EXPECT_EQ(deep->GetLine(), 0U);
  EXPECT_EQ(root->AppendChild(deep), 0);
  EXPECT_TRUE(root->RemoveChild(deep));
  const Hux::SmartPtr<OxXMLDoc> copy = doc->Clone(true);
  EXPECT_EQ(Dump(*copy), Dump(*doc));
  OxString text;
  EXPECT_TRUE(copy->GetEntityReplacementText("e", text));
  EXPECT_TRUE(copy->GetRoot()->GetOwnerDocument() == copy);
  EXPECT_EQ(copy->AppendChild(copy->CreateElementNode("second")), 3);

  const auto other = OxXMLDoc::Make();
  NodePtr imported;
  EXPECT_EQ(other->AppendChild(root->Clone(true)), 4);
  EXPECT_EQ(other->ImportNode(root, true, imported), 0);
  EXPECT_EQ(other->AppendChild(imported), 0);
  EXPECT_EQ(Dump(*other), Dump(*root));
  EXPECT_TRUE(imported->GetAttributeNode("a")->GetOwnerDocument() == other);
  EXPECT_EQ(other->ImportNode(imported, false, imported), 0);
  EXPECT_EQ(Dump(*imported), "r{a=1}");
  EXPECT_EQ(other->ImportNode(doc, true, imported), 9);
  EXPECT_FALSE(imported);
  EXPECT_EQ(other->ImportNode(doc->GetDocType(), true, imported), 9);
  EXPECT_EQ(other->ImportNode(nullptr, true, imported), 9);
}

int CodeOf(const auto& call) {
  try {
    call();
    return 0;
  } catch (const OxXMLDOMException& exception) {
    return exception.GetCode();
  }
}

TEST(OxXMLCharDataNode, DataByCharacters) {
  const auto text = OxXMLTextNode::Make("h\xC3\xA9llo");
  EXPECT_EQ(text->GetLength(), 5U);
  EXPECT_EQ(Text(text->GetSubstring(1, 2)), "\xC3\xA9l");
  EXPECT_EQ(Text(text->GetSubstring(3, 100)), "lo");
  text->InsertData(1, "--");
  text->DeleteData(3, 1);
  text->ReplaceData(4, 100, "y!");
  text->ReplaceData(0, 0, "\xE2\x82\xAC");
  EXPECT_EQ(Text(text->GetValue()), "\xE2\x82\xACh--ly!");
  EXPECT_EQ(text->GetLength(), 7U);
  for (const OxString::Index offset : {-1, 7, 100}) {
    EXPECT_EQ(CodeOf([&] { text->InsertData(offset, "x"); }), 1) << offset;
    EXPECT_EQ(CodeOf([&] { text->DeleteData(offset, 1); }), 1) << offset;
    EXPECT_EQ(CodeOf([&] { text->GetSubstring(offset, 1); }), 1) << offset;
    EXPECT_EQ(CodeOf([&] { text->ReplaceData(offset, 1, "x"); }), 1) << offset;
  }
  EXPECT_EQ(CodeOf([&] { text->DeleteData(0, -1); }), 1);
  EXPECT_EQ(CodeOf([&] { OxXMLCommentNode::Make("")->InsertData(0, "x"); }), 1);
  text->AppendData("\xC3\xA9");
  text->DeleteData(0, 100);
  EXPECT_EQ(text->GetLength(), 0U);

  // A zero is a character like the others.
  const auto parsed = ParseDoc("<r>a&#0;\xC3\xA9z</r>");
  const auto zero = Child(*parsed->GetRoot(), 0).dynamic_cast_to<OxXMLTextNode>();
  zero->InsertData(1, "-");
  zero->ReplaceData(4, 1, "yz");
  zero->DeleteData(0, 1);
  EXPECT_EQ(Text(zero->GetSubstring(1, 2)), std::string("\0\xC3\xA9", 3));
  EXPECT_EQ(Text(zero->SplitText(2)->GetValue()), "\xC3\xA9yz");
  EXPECT_EQ(Text(zero->GetValue()), std::string("-\0", 2));
}

TEST(OxXMLTextNode, SplitAndNormalize) {
  const auto doc = ParseDoc("<r>abc<b>xy</b>z</r>");
  const auto root = doc->GetRoot();
  const auto first = Child(*root, 0).dynamic_cast_to<OxXMLTextNode>();
  const auto inner = Child(*Child(*root, 1), 0).dynamic_cast_to<OxXMLTextNode>();
  EXPECT_EQ(Text(first->SplitText(1)->GetValue()), "bc");
  EXPECT_TRUE(first->SplitText(1)->GetValue().empty());
  EXPECT_TRUE(inner->SplitText(0)->GetOwnerDocument() == doc);
  EXPECT_EQ(CodeOf([&] { first->SplitText(2); }), 1);
  EXPECT_EQ(CodeOf([&] { first->SplitText(-1); }), 1);
  EXPECT_EQ(Dump(*root), "r('a' '' 'bc' b('' 'xy') 'z')");
  root->Normalize();
  EXPECT_EQ(Dump(*root), "r('abc' b('xy') 'z')");
  EXPECT_EQ(Text(OxXMLTextNode::Make("ab")->SplitText(1)->GetValue()), "b");
}

TEST(OxXMLNode, NoLinkOutlivesWhatItPointsTo) {
  NodePtr element;
  NodePtr inner;
  NodePtr attribute;
  NodePtr detachedRoot;
  {
    const auto doc = ParseDoc("<r><a/><e x='&lt;' y=''><i/></e><b/></r>");
    element = Child(*doc->GetRoot(), 1);
    inner = element->GetFirstChild();
    attribute = element->GetAttributeNode("x");
  }
  // The survivors' own tree is whole, and belongs to no document.
  EXPECT_FALSE(element->GetParent());
  EXPECT_FALSE(element->GetNextSibling());
  EXPECT_FALSE(element->GetPreviousSibling());
  EXPECT_FALSE(inner->GetOwnerDocument());
  EXPECT_FALSE(attribute->GetOwnerDocument());
  EXPECT_TRUE(inner->GetParent() == element);
  EXPECT_EQ(Text(attribute->GetValue()), "<");
  element->SetAttribute("z", "made without a document");
  element = nullptr;
  EXPECT_FALSE(inner->GetParent());
  EXPECT_FALSE(attribute.dynamic_cast_to<OxXMLAttrNode>()->GetOwner());
  attribute->SetValue("x");
  {
    const auto doc = ParseDoc("<r><i/></r>");
    detachedRoot = doc->GetRoot();
    doc->RemoveChild(detachedRoot);
  }
  EXPECT_FALSE(detachedRoot->GetFirstChild()->GetOwnerDocument());
}

// Names and texts are counted without locks, so documents must not share them.
TEST(OxXMLNode, DocumentsShareNothing) {
  const auto doc = ParseDoc("<r a='v'><b c='w'/><?p q?></r>");
  const auto root = doc->GetRoot();
  const auto other = OxXMLDoc::Make();
  NodePtr imported;
  ASSERT_EQ(other->ImportNode(root, true, imported), 0);
  const NodePtr copy = doc->Clone(true)->GetFirstChild();
  for (const NodePtr& from : {imported, copy}) {
    EXPECT_NE(&from->GetName(), &root->GetName());
    EXPECT_NE(&Child(*from, 0)->GetName(), &Child(*root, 0)->GetName());
    EXPECT_NE(&Child(*from, 1)->GetName(), &Child(*root, 1)->GetName());
    EXPECT_NE(&from->GetAttributes().Item(0)->GetName(), &root->GetAttributes().Item(0)->GetName());
  }
  const auto attribute = root->GetAttributeNode("a");
  const OxString& name = attribute->GetName();
  auto many = OxXMLDoc::Make();
  many->AppendChild(many->CreateElementNode("m"));
  for (int i = 0; i < 50; ++i) many->GetRoot()->SetAttribute(OxString().format("n%d", i), "v");
  many = many->Clone(true);
  for (int i = 0; i < 50; ++i)
    EXPECT_TRUE(many->GetRoot()->GetAttributeNode(OxString().format("n%d", i)));
  const auto sharing = attribute->Clone(false);
  imported->SetAttributeNode(attribute);
  EXPECT_NE(&attribute->GetName(), &name);
}

}  // namespace
