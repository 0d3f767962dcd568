#include "Xml/OxXMLDoc.h"

#include <utility>

#include "Xml/XMLText.h"
#include "Xml/XMLWriter.h"

using NodePtr = Hux::SmartPtr<OxXMLNode>;

OxXMLDoc::OxXMLDoc() {
  SetDocument(*this, this);
}

Hux::SmartPtr<OxXMLDoc> OxXMLDoc::Make() {
  return Hux::SmartPtr<OxXMLDoc>::Adopt(new OxXMLDoc());
}

OxXMLDoc::~OxXMLDoc() {
  dies_ = true;
  // A root element that was taken out of the tree is held here alone, or outlives its document.
  for (const NodePtr& node : {root_, NodePtr(docType_)}) {
    if (node && XMLTree::Parent(*node) == nullptr) XMLTree::MoveTo(*node, nullptr);
  }
  root_ = nullptr;
  docType_ = nullptr;
  ReleaseChildren(children_);
  ReleaseAttributes();
  SetDocument(*this, nullptr);
}

const OxString& OxXMLDoc::GetName() const {
  static const OxString kName = FixedName("#document");
  return kName;
}

OxString OxXMLDoc::GetAsString(int indent) const {
  return XMLWriter::Write(*this, indent);
}

// ---- Children

bool OxXMLDoc::IsDocumentCorrect(const NodePtr& node) const {
  return node && XMLTree::Document(*node) == this;
}

bool OxXMLDoc::AllowChild(const NodePtr& node) const {
  if (!node) return false;
  switch (node->GetNodeType()) {
    case kPINode:
    case kCommentNode:
    case kDocTypeNode:
      return true;
    case kElementNode:
      return !root_;
    default:
      return false;
  }
}

void OxXMLDoc::ChildAdded(const NodePtr& node) {
  OxXMLNode::ChildAdded(node);
  if (node->GetNodeType() == kElementNode && !root_) root_ = node;
  if (node->GetNodeType() == kDocTypeNode) docType_ = node;
}

void OxXMLDoc::ChildRemoved(const NodePtr& node) {
  OxXMLNode::ChildRemoved(node);
  if (docType_.get() == node.get()) docType_ = nullptr;
}

NodePtr OxXMLDoc::CloneSelf() const {
  return Copied(Make());
}

Hux::SmartPtr<OxXMLElementNode> OxXMLDoc::GetRoot() const {
  const OxXMLNode* child = children_.first.get();
  while (child != nullptr && child->GetNodeType() != kElementNode) child = XMLTree::Next(*child);
  return NodePtr(Hux::make_ref(const_cast<OxXMLNode*>(child)));
}

// ---- Making nodes

Hux::SmartPtr<OxXMLElementNode> OxXMLDoc::CreateElementNode(const OxXMLName& name) {
  return Own(OxXMLElementNode::Make(name));
}

Hux::SmartPtr<OxXMLAttrNode> OxXMLDoc::CreateAttrNode(const OxXMLName& name, OxString value) {
  return Own(OxXMLAttrNode::Make(name, std::move(value)));
}

Hux::SmartPtr<OxXMLTextNode> OxXMLDoc::CreateTextNode(OxString text) {
  return Own(OxXMLTextNode::Make(std::move(text)));
}

Hux::SmartPtr<OxXMLCDATANode> OxXMLDoc::CreateCDATANode(OxString text) {
  return Own(OxXMLCDATANode::Make(std::move(text)));
}

Hux::SmartPtr<OxXMLCommentNode> OxXMLDoc::CreateCommentNode(OxString text) {
  return Own(OxXMLCommentNode::Make(std::move(text)));
}

Hux::SmartPtr<OxXMLPINode> OxXMLDoc::CreatePINode(const OxXMLName& target, OxString data) {
  return Own(OxXMLPINode::Make(target, std::move(data)));
}

Hux::SmartPtr<OxXMLDocTypeNode> OxXMLDoc::CreateDocTypeNode(const OxXMLName& name) {
  return Own(OxXMLDocTypeNode::Make(name));
}

// ---- Attributes and entities

void OxXMLDoc::AddAttribute(const OxString& name, const OxString& value) {
  SetAttributeQuiet(name, value);
}

bool OxXMLDoc::GetAttributeValue(const OxString& name, OxString& out) const {
  return GetAttribute(name, out);
}

bool OxXMLDoc::GetEntityReplacementText(const OxString& name, OxString& out) const {
  if (docType_) return docType_->GetEntity(name, out);
  const std::string_view predefined = XMLText::PredefinedEntity(name.view());
  out = OxString(predefined);
  return !predefined.empty();
}

// ---- Whole trees

std::int32_t OxXMLDoc::ImportNode(const NodePtr& node, bool deep, NodePtr& out) {
  const bool isImportable =
      node && node->GetNodeType() != kDocumentNode && node->GetNodeType() != kDocTypeNode;
  out = isImportable ? XMLTree::CloneFor(*this, *node, deep) : nullptr;
  return isImportable ? kOxXMLSuccess : kOxXMLNotSupported;
}

void OxXMLDoc::Index() {
  if (!isIndexDirty_) return;
  std::uint32_t number = 0;
  for (OxXMLNode* node = this; node != nullptr; node = XMLTree::NextBelow(*node, *this)) {
    XMLTree::SetIndex(*node, ++number);
    if (const OxXMLNamedNodeMap* attributes = XMLTree::Attributes(*node)) {
      attributes->ForEach([&](const NodePtr& attribute) { XMLTree::SetIndex(*attribute, ++number); });
    }
  }
  isIndexDirty_ = false;
}
