#include "Xml/XMLWriter.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>
#include <string>
#include <string_view>
#include <typeinfo>
#include <utility>
#include <vector>

#include "Xml/XMLExpansion.h"
#include "Xml/XMLPack.h"
#include "Xml/XMLText.h"

namespace {

constexpr std::string_view kDeclaration = "<?xml version=\"1.0\" encoding=\"utf-8\"?>";
constexpr std::uint64_t kIndentBytes = 2;

// A node, or a record that nobody has asked for as one.
struct Item {
  std::uint32_t kind = 0;
  const OxXMLNode* node = nullptr;  // Null for a record.
  XMLPack::Record record = {};      // Without a node.
  XMLPacked attributes = {};        // Of a record that is an element.
  bool isEmpty = false;             // Without children.
  bool holdsMore = false;           // Than text; as far as it is known.
};

Item ItemOf(const OxXMLNode& node) {
  Item item;
  item.kind = static_cast<std::uint32_t>(node.GetNodeType());
  item.node = &node;
  return item;
}

Item ItemOf(const XMLPack& pack, XMLPack::Place place) {
  Item item;
  item.record = pack.Read(place, 0);
  item.kind = item.record.kind;
  item.attributes = {&pack, item.record.begin, item.record.begin};
  if (item.kind == OxXMLNode::kElementNode) item.attributes.end = pack.EndOfAttributes(item.record);
  item.isEmpty = item.attributes.end == item.record.end;
  return item;
}

bool IsElement(const Item& item) {
  return item.kind == OxXMLNode::kElementNode;
}

// A nesting depth, which may pass the largest int that a caller begins with.
using Depth = std::int64_t;

// By how much the children of a node are indented more than the node.
int ChildStep(const Item& item, Depth indent) {
  return IsElement(item) && indent >= 0 ? 1 : 0;
}

bool HoldsMoreThanText(const OxXMLNode& node) {
  const OxXMLNode* child = XMLTree::FirstChild(node);
  while (child != nullptr && child->GetNodeType() == OxXMLNode::kTextNode) child = XMLTree::Next(*child);
  return child != nullptr;
}

// Goes through records in document order: `enter(item, indent)` for each, and `leave(item, indent)` after the last
// child of an element that has any. Gives whether there is more than text outside of elements.
template <typename Enter, typename Leave>
bool WalkRecords(const XMLPacked& records, Depth indent, Enter& enter, Leave& leave) {
  std::vector<Item> open(1);
  open.front().record.end = records.end;
  for (XMLPack::Place place = records.begin;;) {
    while (place == open.back().record.end) {
      if (open.size() == 1) return open.front().holdsMore;
      indent -= ChildStep(open.back(), indent);
      leave(open.back(), indent);
      open.pop_back();
    }
    const Item item = ItemOf(*records.pack, place);
    enter(item, indent);
    if (item.kind != OxXMLNode::kTextNode) open.back().holdsMore = true;
    const bool goesDown = IsElement(item) && !item.isEmpty;
    place = goesDown ? item.attributes.end : item.record.end;
    if (!goesDown) continue;
    indent += ChildStep(item, indent);
    open.push_back(item);
  }
}

// The same for a tree of nodes, with the records in it.
template <typename Enter, typename Leave>
void Walk(const OxXMLNode& top, Depth indent, Enter enter, Leave leave) {
  const OxXMLNode* node = &top;
  for (;;) {
    Item item = ItemOf(*node);
    item.isEmpty =
        XMLTree::PackedChildren(*node).pack == nullptr && XMLTree::FirstChild(*node) == nullptr;
    enter(item, indent);
    // Asked again: a class of a user's that was asked for its value may have looked at the records, which makes nodes.
    const XMLPacked packed = item.isEmpty ? XMLPacked() : XMLTree::PackedChildren(*node);
    const bool hasNodes = !item.isEmpty && packed.pack == nullptr;
    const OxXMLNode* child = hasNodes ? XMLTree::FirstChild(*node) : nullptr;
    if (packed.pack != nullptr) {
      item.holdsMore = WalkRecords(packed, indent + ChildStep(item, indent), enter, leave);
      leave(item, indent);
    } else if (child != nullptr) {
      indent += ChildStep(item, indent);
      node = child;
      continue;
    }
    while (node != &top && XMLTree::Next(*node) == nullptr) {
      node = XMLTree::Parent(*node);
      item = ItemOf(*node);
      item.holdsMore = HoldsMoreThanText(*node);
      indent -= ChildStep(item, indent);
      leave(item, indent);
    }
    if (node == &top) return;
    node = XMLTree::Next(*node);
  }
}

// Nested deep enough, a small tree has far more indentation than anything can hold.
std::uint64_t IndentBytes(const OxXMLNode& top, int indent) {
  if (indent < 0) return 0;
  std::uint64_t units = 0;
  const auto enter = [&units](const Item& item, Depth depth) {
    const unsigned lines = item.kind == OxXMLNode::kCDATANode  ? 2
                           : item.kind == OxXMLNode::kTextNode ? 0
                                                               : 1;
    units += lines * static_cast<std::uint64_t>(depth);
  };
  const auto leave = [&units](const Item& item, Depth depth) {
    if (item.holdsMore && IsElement(item)) units += static_cast<std::uint64_t>(depth);
  };
  Walk(top, indent, enter, leave);
  return units * kIndentBytes;
}

// Writes what a walk meets.
class Writer {
 public:
  void Enter(const Item& item, int indent);
  void Leave(const Item& item, int indent);
  OxString& Finish() { return Flush(); }

 private:
  void AppendNode(const Item& item, int indent);
  void AppendRecord(const Item& item, int indent);
  void AppendStart(const Item& element, int indent);
  void AppendAttribute(const OxXMLNode& attribute, int indent);
  void AppendPacked(const XMLPacked& attributes);
  OxString& Flush();

  OxString out_;
  std::string text_;  // What comes next: characters are counted faster in long pieces.
  XMLExpansionBudget budget_{0};
  const OxXMLNode* document_ = nullptr;  // Of the present node and the records in it.
  std::vector<XMLPack::Record> sorted_;  // The attributes of one element.
};

OxString& Writer::Flush() {
  out_.append_valid(text_);
  text_.clear();
  return out_;
}

std::string_view NameOf(const Item& element) {
  return element.node != nullptr ? element.node->GetName().view()
                                 : element.attributes.pack->Names().Text(element.record.name);
}

void Writer::Enter(const Item& item, int indent) {
  constexpr std::size_t kMany = 4096;
  if (text_.size() > kMany) Flush();
  if (item.node != nullptr) document_ = XMLTree::Document(*item.node);
  if (IsElement(item)) {
    AppendStart(item, indent);
  } else if (item.node != nullptr) {
    AppendNode(item, indent);
  } else {
    AppendRecord(item, indent);
  }
}

void Writer::AppendNode(const Item& item, int indent) {
  if (item.kind == OxXMLNode::kDocumentNode) {
    XMLText::AppendIndent(indent, text_);
    text_ += kDeclaration;
  } else if (typeid(*item.node) == typeid(OxXMLTextNode)) {
    XMLText::AppendEscaped(XMLTree::Value(*item.node).view(), false, text_);
  } else {
    text_ += item.node->GetAsString(indent).view();
  }
}

void Writer::AppendRecord(const Item& item, int indent) {
  const XMLPack& pack = *item.attributes.pack;
  const std::string_view text = pack.Text(item.record);
  switch (item.kind) {
    case OxXMLNode::kTextNode:
      return XMLText::AppendEscaped(text, false, text_);
    case OxXMLNode::kCDATANode:
      return XMLText::AppendCDATA(text, indent, text_);
    case OxXMLNode::kCommentNode:
      return XMLText::AppendComment(text, indent, text_);
    default:
      return XMLText::AppendInstruction(pack.Names().Text(item.record.name), text, indent, text_);
  }
}

void Writer::AppendStart(const Item& element, int indent) {
  text_ += '\n';
  XMLText::AppendIndent(indent, text_);
  text_.append("<").append(NameOf(element));
  const XMLPacked packed =
      element.node != nullptr ? XMLTree::PackedAttributes(*element.node) : element.attributes;
  if (packed.pack != nullptr) {
    AppendPacked(packed);
  } else if (const OxXMLNamedNodeMap* attributes = XMLTree::Attributes(*element.node)) {
    attributes->ForEach(
        [&](const Hux::SmartPtr<OxXMLNode>& attribute) { AppendAttribute(*attribute, indent); });
  }
  text_ += element.isEmpty ? "/>" : ">";
}

// An attribute of a derived class writes itself.
void Writer::AppendAttribute(const OxXMLNode& attribute, int indent) {
  text_ += ' ';
  if (typeid(attribute) != typeid(OxXMLAttrNode)) {
    text_ += attribute.GetAsString(indent).view();
    return;
  }
  text_ += attribute.GetName().view();
  XMLText::AppendValue(OxXMLAttrNode::ValueOf(attribute, budget_).view(), text_);
}

// In the order of the names, of which the last one counts.
void Writer::AppendPacked(const XMLPacked& attributes) {
  const XMLPack& pack = *attributes.pack;
  sorted_.clear();
  for (XMLPack::Place place = attributes.begin; place < attributes.end; place = sorted_.back().end) {
    sorted_.push_back(pack.Read(place, 0));
  }
  const auto less = [&pack](const XMLPack::Record& a, const XMLPack::Record& b) {
    const int order =
        OxXMLNamedNodeMap::CompareNames(pack.Names().Text(a.name), pack.Names().Text(b.name));
    return order != 0 ? order < 0 : a.begin < b.begin;
  };
  std::sort(sorted_.begin(), sorted_.end(), less);
  for (std::size_t i = 0; i < sorted_.size(); ++i) {
    const std::string_view name = pack.Names().Text(sorted_[i].name);
    if (i + 1 < sorted_.size() && pack.Names().Text(sorted_[i + 1].name) == name) continue;
    text_.append(" ").append(name);
    const std::string_view value = pack.Text(sorted_[i]);
    if (value.find('&') == std::string_view::npos) {
      XMLText::AppendValue(value, text_);
    } else {
      XMLText::AppendValue(OxXMLAttrNode::Resolve(value, document_, budget_).view(), text_);
    }
  }
}

// Text is written inline, so an element that holds nothing else ends on the line on which it began.
void Writer::Leave(const Item& item, int indent) {
  if (!IsElement(item)) return;
  if (item.holdsMore) {
    text_ += '\n';
    XMLText::AppendIndent(indent, text_);
  }
  text_.append("</").append(NameOf(item)).append(">");
}

}  // namespace

OxString XMLWriter::Write(const OxXMLNode& top, int indent) {
  constexpr std::uint64_t kShortest = sizeof("\n</>") - 1;  // An element without a name.
  if (IndentBytes(top, indent) + kShortest > std::numeric_limits<std::uint32_t>::max())
    throw std::bad_alloc();
  Writer writer;
  Walk(
      top, indent,
      [&writer](const Item& item, Depth depth) { writer.Enter(item, static_cast<int>(depth)); },
      [&writer](const Item& item, Depth depth) { writer.Leave(item, static_cast<int>(depth)); });
  return std::move(writer.Finish());
}
