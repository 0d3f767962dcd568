#include "Xml/OxXMLElementNode.h"

#include <utility>
#include <vector>

#include "Xml/OxXMLCDATANode.h"
#include "Xml/OxXMLCommentNode.h"
#include "Xml/OxXMLPINode.h"
#include "Xml/XMLWriter.h"

using NodePtr = Hux::SmartPtr<OxXMLNode>;

namespace {

// Of anything but an element.
NodePtr MakeNode(XMLPack& pack, const XMLPack::Record& record) {
  OxString text = OxString::from_valid(pack.Text(record));
  switch (record.kind) {
    case OxXMLNode::kAttributeNode:
      return OxXMLAttrNode::Make(pack.Names().Name(record.name), std::move(text));
    case OxXMLNode::kTextNode:
      return OxXMLTextNode::Make(std::move(text));
    case OxXMLNode::kCDATANode:
      return OxXMLCDATANode::Make(std::move(text));
    case OxXMLNode::kCommentNode:
      return OxXMLCommentNode::Make(std::move(text));
    default:
      return OxXMLPINode::Make(pack.Names().Name(record.name), std::move(text));
  }
}

}  // namespace

Hux::SmartPtr<OxXMLElementNode> OxXMLElementNode::Make(const OxXMLName& name) {
  return Hux::SmartPtr<OxXMLElementNode>::Adopt(new OxXMLElementNode(name));
}

OxXMLElementNode::~OxXMLElementNode() {
  ReleaseChildren(children_);
}

// ---- Unpacking

NodePtr OxXMLElementNode::Unpack(const Hux::SmartPtr<XMLPack>& pack, const XMLPack::Record& record,
                                 OxXMLNode* document) {
  NodePtr node;
  if (record.kind == kElementNode) {
    const Hux::SmartPtr<OxXMLElementNode> element = Make(pack->Names().Name(record.name));
    element->SetInside(pack, record);
    node = element;
  } else {
    node = MakeNode(*pack, record);
  }
  SetDocument(*node, document);
  node->SetLine(record.line);
  return node;
}

void OxXMLElementNode::SetInside(const Hux::SmartPtr<XMLPack>& pack, const XMLPack::Record& record) {
  if (record.begin == record.end) return;
  pack_ = pack;
  packedLine_ = record.line;
  attributesAt_ = record.begin;
  attributesEnd_ = pack->EndOfAttributes(record);
  childrenAt_ = attributesEnd_;
  childrenEnd_ = record.end;
}

// The node of the record at `place`, which moves on when the node is there.
template <typename Set>
void OxXMLElementNode::MakeUpTo(XMLPack::Place& place, XMLPack::Place end, Set set) {
  while (place < end) {
    const XMLPack::Record record = pack_->Read(place, packedLine_);
    set(Unpack(pack_, record, XMLTree::Document(*this)));
    place = record.end;
  }
  if (attributesAt_ == attributesEnd_ && childrenAt_ == childrenEnd_) pack_ = nullptr;
}

void OxXMLElementNode::MakeAttributes() {
  MakeUpTo(attributesAt_, attributesEnd_, [this](const NodePtr& node) { AddMade(node); });
}

void OxXMLElementNode::MakeChildren() {
  MakeUpTo(childrenAt_, childrenEnd_, [this](NodePtr node) { Link(std::move(node), nullptr); });
}

XMLPacked OxXMLElementNode::PackedAttributes() const {
  return attributesAt_ < attributesEnd_ ? XMLPacked{pack_.get(), attributesAt_, attributesEnd_}
                                        : XMLPacked();
}

XMLPacked OxXMLElementNode::PackedChildren() const {
  return childrenAt_ < childrenEnd_ ? XMLPacked{pack_.get(), childrenAt_, childrenEnd_} : XMLPacked();
}

OxString OxXMLElementNode::GetAsString(int indent) const {
  return XMLWriter::Write(*this, indent);
}

// Only a node with children of its own can hold this element.
bool OxXMLElementNode::AllowChild(const NodePtr& node) const {
  if (!node || node.get() == this) return false;
  switch (node->GetNodeType()) {
    case kTextNode:
    case kCDATANode:
    case kPINode:
    case kCommentNode:
      return true;
    case kElementNode:
      break;
    default:
      return false;
  }
  // Up from here and down from there in step, so that it costs the shorter way of the two.
  const OxXMLNode* ancestor = XMLTree::Parent(*this);
  const OxXMLNode* below = XMLTree::FirstMade(*node);
  while (ancestor != nullptr && below != nullptr) {
    if (ancestor == node.get()) return false;
    ancestor = XMLTree::Parent(*ancestor);
    below = XMLTree::NextMade(*below, *node);
  }
  return true;
}

NodePtr OxXMLElementNode::CloneSelf() const {
  return Copied(Make(name_));
}

// All of them are found before the first hook is called, which may change the tree.
void OxXMLElementNode::Normalize() {
  std::vector<NodePtr> texts;
  const auto isText = [](const OxXMLNode* node) {
    return node != nullptr && node->GetNodeType() == kTextNode;
  };
  OxXMLNode* node = XMLTree::FirstChild(*this);
  for (; node != nullptr; node = XMLTree::NextBelow(*node, *this)) {
    if (isText(node) && isText(XMLTree::Previous(*node))) texts.push_back(Hux::make_ref(node));
  }
  for (NodePtr& text : texts) {
    OxXMLNode* before = XMLTree::Previous(*text);
    if (!isText(before)) continue;
    XMLTree::EditValue(*before) += XMLTree::Value(*text);
    OxXMLNode* parent = XMLTree::Parent(*text);
    parent->RemoveChild(std::move(text));
  }
}
