// What nodes stand: hooks that change the tree, classes of users that look around, a lack of memory.

#include <functional>
#include <new>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "Support/FailingAllocations.h"
#include "Xml/XmlSupport.h"

namespace {

using Support::Child;
using Support::Dump;
using Support::ParseDoc;
using Support::Text;
using NodePtr = Hux::SmartPtr<OxXMLNode>;

// An element that writes down which hooks were called.
class Watching : public OxXMLElementNode {
 public:
  Watching() : OxXMLElementNode("w") {}
  void AttributeChanged(const OxString& name, const OxString& value) override {
    Note('=', name + "=" + value);
  }
  void AttributeRemoved(const OxString& name) override { Note('-', name); }
  void ChildAdded(const NodePtr& node) override { Note('+', node->GetName()); }
  void ChildRemoved(const NodePtr& node) override { Note('~', node->GetName()); }

  std::string log;

 private:
  void Note(char kind, const OxString& what) {
    log += kind;
    log += what.view();
    log += ' ';
  }
};

TEST(OxXMLNode, Hooks) {
  const auto element = Hux::SmartPtr<Watching>::Adopt(new Watching());
  element->SetAttribute("a", "1");
  element->SetAttribute("a", "2");
  element->SetAttributeQuiet("a", "3");
  element->SetAttributeQuiet("b", "4");
  element->GetAttributeNode("b")->SetValue("5");
  element->GetAttributeNode("b")->SetValueQuiet("6");
  element->GetAttributeNode("b")->SetUnparsedValue("7");
  element->RemoveAttribute(element->GetAttributeNode("b")->GetName());
  element->RemoveAttribute("none");
  element->RemoveAttributeQuiet("a");
  EXPECT_EQ(element->log, "=a=1 =a=2 =a=2 =b=5 -b ");
  element->log.clear();
  const auto one = OxXMLElementNode::Make("one");
  element->AppendChild(one);
  element->AppendChild(one);
  element->ReplaceChild(OxXMLElementNode::Make("two"), one);
  element->RemoveAllChildren();
  EXPECT_EQ(element->log, "+one ~one +one ~one +two ~two ");
}

// An element whose next hook does something; its copy does the same.
class Meddling : public OxXMLElementNode {
 public:
  using Action = std::function<void(OxXMLElementNode&)>;

  Meddling() : OxXMLElementNode("m") {}
  void ChildAdded(const NodePtr&) override { Run(); }
  void ChildRemoved(const NodePtr&) override { Run(); }
  void AttributeChanged(const OxString&, const OxString&) override { Run(); }
  NodePtr CloneSelf() const override {
    const auto copy = Hux::SmartPtr<Meddling>::Adopt(new Meddling());
    copy->action = action;
    return copy;
  }

  Action action;

 private:
  void Run() {
    if (const Action once = std::exchange(action, nullptr)) once(*this);
  }
};

// When its text is removed for the first time, it gets another one.
class MeddlingAttribute : public OxXMLAttrNode {
 public:
  MeddlingAttribute() : OxXMLAttrNode("n", "v") {}
  void ChildRemoved(const NodePtr&) override {
    if (const NodePtr next = std::exchange(more, nullptr)) AppendChild(next);
  }

  NodePtr more = OxXMLTextNode::Make("more");
};

TEST(OxXMLNode, HooksMayChangeTheTree) {
  const auto make = [](Meddling::Action action, const std::string& texts = "") {
    auto element = Hux::SmartPtr<Meddling>::Adopt(new Meddling());
    for (const char c : texts) element->AppendChild(OxXMLTextNode::Make(OxString(&c, 1)));
    element->action = std::move(action);
    return element;
  };
  const auto clear = [](OxXMLElementNode& element) { element.RemoveAllChildren(); };
  const auto a = OxXMLElementNode::Make("a");
  const auto b = OxXMLElementNode::Make("b");

  // Merging: the neighbours of what was merged go, or what it was merged into goes elsewhere.
  auto old = make(clear, "xyz");
  old->Normalize();
  EXPECT_EQ(Dump(*old), "m");
  old = make([&](OxXMLElementNode& element) { a->AppendChild(element.GetFirstChild()); }, "xyz");
  const auto outer = OxXMLElementNode::Make("o");
  outer->AppendChild(old);
  outer->Normalize();
  EXPECT_EQ(Dump(*outer) + Dump(*a), "o(m('z'))a('xy')");
  a->RemoveAllChildren();

  // Moving: the place, the node itself or its new parent is elsewhere when the old parent's hook returns.
  const auto parent = OxXMLElementNode::Make("p");
  const auto into = [&](const NodePtr& child) {
    old = make(nullptr);
    old->AppendChild(child);
    parent->AppendChild(b);
  };
  into(a);
  old->action = [&](OxXMLElementNode&) { parent->RemoveChild(b); };
  EXPECT_EQ(parent->InsertChildBefore(a, b), 8);
  into(a);
  old->action = [&](OxXMLElementNode&) { parent->RemoveChild(b); };
  EXPECT_EQ(parent->ReplaceChild(a, b), 8);
  into(a);
  old->action = [&](OxXMLElementNode& element) { element.AppendChild(a); };
  EXPECT_EQ(parent->AppendChild(a), 3);
  EXPECT_EQ(Dump(*old) + Dump(*parent), "m(a)p(b)");
  into(a);
  old->action = [&](OxXMLElementNode&) { a->AppendChild(parent); };
  EXPECT_EQ(parent->AppendChild(a), 3);
  EXPECT_EQ(Dump(*a), "a(p(b))");
  a->RemoveAllChildren();

  // The replaced one's hook removes the new one; the last reference to the parent goes.
  old = make([](OxXMLElementNode& element) { element.RemoveChild(element.GetFirstChild()); }, "x");
  EXPECT_EQ(old->ReplaceChild(a, old->GetFirstChild()), 0);
  EXPECT_EQ(Dump(*old), "m");
  auto* raw = old.get();
  raw->AppendChild(a);
  raw->action = [&](OxXMLElementNode&) { old = nullptr; };
  raw->RemoveAllChildren();
  EXPECT_FALSE(a->GetParent());
  old = make([&](OxXMLElementNode&) { old = nullptr; });
  old.get()->SetAttribute("n", "v");
  EXPECT_FALSE(old);
  old = make(nullptr);
  old->SetAttribute("n", "v");
  old->action = [](OxXMLElementNode& element) { element.RemoveAttributeQuiet("n"); };
  old->SetAttribute(old->GetAttributes().Item(0)->GetName(), "w");
  EXPECT_EQ(Dump(*old), "m");

  // The copy's hook takes the copy of the child out, whose own children follow.
  old = make(nullptr);
  old->AppendChild(OxXMLElementNode::Make("c"));
  old->GetFirstChild()->AppendChild(OxXMLElementNode::Make("d"));
  old->AppendChild(OxXMLElementNode::Make("e"));
  old->action = clear;
  EXPECT_EQ(Dump(*old->Clone(true)), "m(e)");

  const auto attribute = Hux::SmartPtr<MeddlingAttribute>::Adopt(new MeddlingAttribute());
  const NodePtr more = attribute->more;
  EXPECT_TRUE(attribute->HasChildNodes());
  attribute->SetValue("w");
  EXPECT_EQ(Text(attribute->GetValue()), "w");
  EXPECT_FALSE(more->GetParent());
}

// Otherwise they would nest without end, or in a circle.
// An element whose next hook does something first, and then uses what it was called with.
class Late : public OxXMLElementNode {
 public:
  Late() : OxXMLElementNode("late") {}
  void AttributeChanged(const OxString& name, const OxString&) override { Note(name); }
  void AttributeRemoved(const OxString& name) override { Note(name); }
  void ChildRemoved(const NodePtr& node) override {
    Note(node->GetName());
    OxXMLElementNode::ChildRemoved(node);
  }

  std::function<void()> action;
  std::string* log = nullptr;

 private:
  void Note(const OxString& name) {
    std::string* const out = log;
    if (const auto once = std::exchange(action, nullptr)) once();
    *out += Text(name) + ' ';
  }
};

TEST(OxXMLNode, WhatHooksAreCalledWithStaysWhateverTheyDo) {
  const OxString name("a name that is too long to lie in the string itself");
  const auto other = ParseDoc("<r/>");
  std::string log;
  const auto make = [&] {
    auto element = Hux::SmartPtr<Late>::Adopt(new Late());
    element->log = &log;
    element->SetAttributeQuiet(name, "v");
    return element;
  };
  const std::function<void(Late&, const OxString&)> changes[] = {
      [](Late& element, const OxString& own) { element.SetAttribute(own, "w"); },
      [](Late& element, const OxString& own) { element.GetAttributeNode(own)->SetValue("w"); },
      [](Late& element, const OxString& own) { element.RemoveAttribute(own); }};
  for (const auto& change : changes) {
    auto element = make();
    const auto attribute = element->GetAttributeNode(name);
    element->action = [&] { other->GetRoot()->SetAttributeNode(attribute); };
    log.clear();
    change(*element, attribute->GetName());
    EXPECT_EQ(log.substr(0, name.size()), Text(name));
  }
  // The last reference to the node itself goes.
  const auto child = OxXMLElementNode::Make("child");
  const auto target = OxXMLElementNode::Make("target");
  const struct {
    std::function<void(Late&)> remove;
    std::string said;
  } removals[] = {{[&](Late& element) { element.RemoveChild(child); }, "child "},
                  {[&](Late&) { target->AppendChild(child); }, "child "},
                  {[&](Late& element) { element.RemoveAttribute(name); }, Text(name) + ' '}};
  for (const auto& [remove, said] : removals) {
    auto element = make();
    element->AppendChild(child);
    element->action = [&] { element = nullptr; };
    log.clear();
    remove(*element);
    EXPECT_FALSE(element);
    EXPECT_EQ(log, said);
    target->RemoveAllChildren();
  }
}

// An attribute and an element that are never empty.
class NeverEmptyAttribute : public OxXMLAttrNode {
 public:
  NeverEmptyAttribute() : OxXMLAttrNode("n", "v") {}
  void ChildRemoved(const NodePtr&) override { AppendChild(OxXMLTextNode::Make("again")); }
};
class NeverEmptyElement : public OxXMLElementNode {
 public:
  NeverEmptyElement() : OxXMLElementNode("e") {}
  void ChildRemoved(const NodePtr& node) override {
    OxXMLElementNode::ChildRemoved(node);
    AppendChild(OxXMLTextNode::Make("again"));
  }
};

TEST(OxXMLNode, RemovingAllChildrenEndsWhateverComesInTheirPlace) {
  const auto element = Hux::SmartPtr<NeverEmptyElement>::Adopt(new NeverEmptyElement());
  element->AppendChild(OxXMLTextNode::Make("1"));
  element->RemoveAllChildren();
  EXPECT_EQ(Dump(*element), "e('again')");
  const auto attribute = Hux::SmartPtr<NeverEmptyAttribute>::Adopt(new NeverEmptyAttribute());
  attribute->GetFirstChild();
  attribute->SetValue("new");
  EXPECT_EQ(Text(attribute->GetValue()), "new");
}

// Its value is how many children its element has.
class CountingAttribute : public OxXMLAttrNode {
 public:
  CountingAttribute() : OxXMLAttrNode("n", "") {}
  OxString GetValue() const override {
    int count = 0;
    for (NodePtr child = GetOwner()->GetFirstChild(); child; child = child->GetNextSibling()) ++count;
    return OxString().format("%d", count);
  }
};

// An element that looks at another node when it goes.
class LookingBack : public OxXMLElementNode {
 public:
  LookingBack() : OxXMLElementNode("b") {}
  ~LookingBack() override {
    if (other) {
      EXPECT_FALSE(other->GetParent() || other->GetPreviousSibling());
    }
  }

  NodePtr other;
};

TEST(OxXMLNode, ClassesOfUsersMayLookAroundAtAnyTime) {
  const auto doc = ParseDoc("<r><a/><b/>text<!--c--></r>");
  doc->GetRoot()->SetAttributeNode(Hux::SmartPtr<CountingAttribute>::Adopt(new CountingAttribute()));
  EXPECT_EQ(Text(doc->GetRoot()->GetAsString(-1)), "\n<r n=\"4\">\n<a/>\n<b/>text<!--c-->\n</r>");

  for (const bool below : {false, true}) {
    const auto top = OxXMLElementNode::Make("top");
    const auto middle = OxXMLElementNode::Make("middle");
    const auto looking = Hux::SmartPtr<LookingBack>::Adopt(new LookingBack());
    looking->other = OxXMLElementNode::Make("other");
    top->AppendChild(middle);
    middle->AppendChild(looking);
    (below ? middle : top)->AppendChild(looking->other);
  }

  const auto other = ParseDoc("<r/>");
  const auto name = [](int i) {
    return OxString().format("a name that is too long for the string itself %d", i);
  };
  for (int i = 0; i < 40; ++i) doc->GetRoot()->SetAttribute(name(i), "v");
  const OxXMLNamedNodeMap copy = doc->GetRoot()->GetAttributes();
  other->GetRoot()->SetAttributeNode(copy.GetNamedItem(name(20)).dynamic_cast_to<OxXMLAttrNode>());
  for (int i = 0; i < 40; ++i) EXPECT_TRUE(copy.GetNamedItem(name(i)));
}

TEST(OxXMLAttrNode, HasNoAttributes) {
  const auto doc = OxXMLDoc::Make();
  const auto attribute = doc->CreateAttrNode("a", "v");
  const auto other = doc->CreateAttrNode("b", "w");
  const NodePtr text = attribute->GetFirstChild();
  const auto withOne = doc->CreateElementNode("e");
  withOne->SetAttribute("d", "y");
  for (const NodePtr& node : {NodePtr(attribute), text}) {
    node->SetAttributeNode(other);
    node->SetAttribute("c", "x");
    node->SetAttributeQuiet("c", "x");
    EXPECT_FALSE(node->GetAttributes().SetNamedItem(other));
    EXPECT_FALSE(node->GetAttributes().SetNamedItem(attribute));
    node->GetAttributes() = withOne->GetAttributes();
    EXPECT_EQ(node->GetAttributes().Length(), 0U);
  }
  EXPECT_FALSE(other->GetOwner());
  const auto free = doc->CreateTextNode("t");
  free->SetAttributeNode(other);
  EXPECT_EQ(attribute->AppendChild(free), 3);
  free->RemoveAttributeNode(other);
  EXPECT_EQ(attribute->AppendChild(free), 0);
}

// Fails every allocation of `operation` in turn; what `state` returns must be what it was, until one succeeds.
void CheckFailures(const std::function<void()>& operation, const std::function<std::string()>& state) {
  const std::string before = state();
  for (int failAt = 1;; ++failAt) {
    bool failed = false;
    {
      const Support::FailingAllocations failing(failAt);
      try {
        operation();
      } catch (const std::bad_alloc&) {
        failed = true;
      }
    }
    if (!failed) {
      EXPECT_GT(failAt, 1) << "nothing was allocated";
      return;
    }
    EXPECT_EQ(state(), before) << "allocation " << failAt;
  }
}

TEST(OxXMLNode, NothingIsLostWhenMemoryIsShort) {
  const std::string value(100, 'v');
  const std::string longName(100, 'n');
  const auto doc = ParseDoc("<r><a n='" + value + "'/><b/>" + value + "<i/></r>");
  const auto other = ParseDoc("<r/>");
  const auto root = doc->GetRoot();
  const NodePtr a = Child(*root, 0);
  const NodePtr b = Child(*root, 1);
  const auto state = [&] { return Dump(*doc) + Dump(*other); };
  const auto attribute = a->GetAttributeNode("n");

  CheckFailures([&] { attribute->GetFirstChild(); }, state);
  CheckFailures([&] { attribute->SetValue(OxString(value + "w")); }, state);
  CheckFailures([&] { b->SetAttributeNode(attribute); }, state);
  CheckFailures([&] { other->GetRoot()->SetAttributeNode(attribute); }, state);
  EXPECT_EQ(Dump(*other), "r{n=" + value + "w}");
  for (int i = 0; i < 32; ++i) b->SetAttribute(OxString().format("n%d", i), "v");
  CheckFailures([&] { b->SetAttributeNode(attribute); }, state);  // The map changes its form.
  CheckFailures([&] { a->GetAttributes() = b->GetAttributes(); }, state);
  EXPECT_EQ(a->GetAttributes().Length(), 33U);

  const Hux::SmartPtr<OxXMLTextNode> text = Child(*root, 2);
  Hux::SmartPtr<OxXMLTextNode> tail;
  CheckFailures([&] { tail = text->SplitText(1); }, state);
  EXPECT_TRUE(text->GetNextSibling() == NodePtr(tail));
  const auto attrText = attribute->GetFirstChild().dynamic_cast_to<OxXMLTextNode>();
  CheckFailures([&] { attrText->SplitText(1); }, [&] { return Text(attribute->GetValue()); });
  CheckFailures([&] { root->Normalize(); }, [&] { return Text(root->GetAsString(-1)); });
  EXPECT_EQ(text->GetLength(), value.size());

  const auto type = doc->CreateDocTypeNode("r");
  type->SetLocalPath(OxString(value));
  const auto written = [&] { return Text(type->GetAsString(0)); };
  CheckFailures([&] { type->SetPublicPath(OxString(longName), OxString(longName)); }, written);
  CheckFailures([&] { type->SetLocalPath(OxString(longName)); }, written);
}

}  // namespace
