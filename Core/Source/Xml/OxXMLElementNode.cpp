#include "Xml/OxXMLElementNode.h"

#include "Xml/OxXMLTextNode.h"
#include "Xml/XMLTree.h"
#include "Xml/XMLWriter.h"

using NodePtr = Hux::SmartPtr<OxXMLNode>;

Hux::SmartPtr<OxXMLElementNode> OxXMLElementNode::Make(const OxXMLName& name) {
  return Hux::SmartPtr<OxXMLElementNode>::Adopt(new OxXMLElementNode(name));
}

OxXMLElementNode::~OxXMLElementNode() {
  ReleaseChildren(children_);
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
  if (!node->HasChildNodes()) return true;
  const OxXMLNode* ancestor = XMLTree::Parent(*this);
  while (ancestor != nullptr && ancestor != node.get()) ancestor = XMLTree::Parent(*ancestor);
  return ancestor == nullptr;
}

NodePtr OxXMLElementNode::CloneSelf() const {
  const Hux::SmartPtr<OxXMLElementNode> copy = Make(name_);
  copy->value_ = value_;
  copy->CopyFrom(*this);
  return copy;
}

void OxXMLElementNode::Normalize() {
  OxXMLNode* node = children_.first.get();
  while (node != nullptr) {
    OxXMLNode* following = XMLTree::NextBelow(*node, *this);
    OxXMLNode* before = XMLTree::Previous(*node);
    const bool merge =
        before != nullptr && before->GetNodeType() == kTextNode && node->GetNodeType() == kTextNode;
    if (merge) {
      static_cast<OxXMLTextNode*>(before)->AppendData(XMLTree::Value(*node));
      XMLTree::Parent(*node)->RemoveChild(Hux::make_ref(node));
    }
    node = following;
  }
}
