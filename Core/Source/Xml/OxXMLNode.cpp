#include "Xml/OxXMLNode.h"

#include <utility>

#include "Xml/OxXMLAttrNode.h"
#include "Xml/OxXMLDoc.h"
#include "Xml/OxXMLNamedNodeMap.h"
#include "Xml/OxXMLNodeList.h"
#include "Xml/XMLExpansion.h"
#include "Xml/XMLTree.h"

using NodePtr = Hux::SmartPtr<OxXMLNode>;

OxXMLNode::OxXMLNode() = default;

// Here, so that this node's document is still known while its attributes let go of it.
OxXMLNode::~OxXMLNode() {
  ReleaseAttributes();
}

OxString OxXMLNode::FixedName(const char* name) {
  OxString fixed(name);
  fixed.u_str();
  return fixed;
}

// ---- Destruction

void OxXMLNode::ReleaseAttributes() {
  attributes_.reset();
}

bool OxXMLNode::DocumentDies() const {
  return document_ != nullptr && document_->dying_;
}

// One chain of siblings at a time: what dies with its parent joins the chain first, so that no
// destructor meets children.
void OxXMLNode::ReleaseChildren(ChildLinks& children) {
  NodePtr chain = std::move(children.first);
  children.last = nullptr;
  while (chain) {
    const NodePtr node = std::move(chain);
    chain = std::move(node->next_);
    node->previous_ = nullptr;
    node->parent_ = nullptr;
    if (node->GetRefCount() > 1) {
      if (DocumentDies()) node->MoveTo(nullptr);
      continue;
    }
    ChildLinks* below = node->Children();
    if (below == nullptr || !below->first) continue;
    below->last->next_ = std::move(chain);
    chain = std::move(below->first);
    below->last = nullptr;
  }
}

// Makes this node, all below it and their attributes nodes of `document`. What is made later asks its parent.
void OxXMLNode::MoveTo(OxXMLDoc* document) {
  for (OxXMLNode* node = this; node != nullptr; node = XMLTree::NextMade(*node, *this)) {
    node->document_ = document;
    if (node->attributes_ == nullptr) continue;
    node->attributes_->ForEach([=](const NodePtr& attribute) {
      for (OxXMLNode* part = attribute.get(); part != nullptr;
           part = XMLTree::NextMade(*part, *attribute)) {
        part->document_ = document;
      }
    });
  }
}

// ---- Links

// Making children and attributes changes nothing that others can see, so constant nodes may do it.
OxXMLNode::ChildLinks* OxXMLNode::AllChildren() const {
  auto* self = const_cast<OxXMLNode*>(this);
  self->MakeChildren();
  return self->Children();
}

// Null when there never was one.
OxXMLNamedNodeMap* OxXMLNode::Attributes() const {
  const_cast<OxXMLNode*>(this)->MakeAttributes();
  return attributes_.get();
}

NodePtr OxXMLNode::GetFirstChild() const {
  const ChildLinks* children = AllChildren();
  return children == nullptr ? nullptr : children->first;
}

NodePtr OxXMLNode::GetLastChild() const {
  const ChildLinks* children = AllChildren();
  return Hux::make_ref(children == nullptr ? nullptr : children->last);
}

NodePtr OxXMLNode::GetParent() const {
  return Hux::make_ref(GetNodeType() == kAttributeNode ? nullptr : parent_);
}

Hux::SmartPtr<OxXMLDoc> OxXMLNode::GetOwnerDocument() const {
  return Hux::make_ref(document_);
}

bool OxXMLNode::HasChildNodes() const {
  const ChildLinks* children = AllChildren();
  return children != nullptr && children->first;
}

void OxXMLNode::GetChildren(OxXMLNodeList& list) const {
  for (NodePtr child = GetFirstChild(); child; child = child->next_) list.Add(child);
}

bool OxXMLNode::IsParentOf(const OxXMLNode* node) const {
  return node != nullptr && node->parent_ == this && node->GetNodeType() != kAttributeNode;
}

void OxXMLNode::Link(const NodePtr& child, OxXMLNode* before) {
  ChildLinks& children = *Children();
  OxXMLNode* after = before != nullptr ? before->previous_ : children.last;
  NodePtr& hook = after != nullptr ? after->next_ : children.first;
  child->parent_ = this;
  child->previous_ = after;
  child->next_ = std::move(hook);
  hook = child;
  (before != nullptr ? before->previous_ : children.last) = child.get();
}

// Link() for a node that may have a parent, which is told.
inline void OxXMLNode::Move(const NodePtr& child, OxXMLNode* before) {
  if (child->parent_ != nullptr) child->parent_->RemoveChild(child);
  MakeChildren();
  Link(child, before);
}

// `child` is held by the caller.
void OxXMLNode::Unlink(OxXMLNode& child) {
  ChildLinks& children = *Children();
  OxXMLNode* after = std::exchange(child.previous_, nullptr);
  NodePtr next = std::move(child.next_);
  (next ? next->previous_ : children.last) = after;
  child.parent_ = nullptr;
  (after != nullptr ? after->next_ : children.first) = std::move(next);
}

// ---- Changing the tree

bool OxXMLNode::IsDocumentCorrect(const NodePtr& node) const {
  return node && node->document_ == document_;
}

bool OxXMLNode::AllowChild(const NodePtr&) const {
  return false;
}

void OxXMLNode::MarkIndexDirty() const {
  if (document_ != nullptr) document_->indexDirty_ = true;
}

void OxXMLNode::ChildAdded(const NodePtr&) {
  MarkIndexDirty();
}

void OxXMLNode::ChildRemoved(const NodePtr&) {
  MarkIndexDirty();
}

std::int32_t OxXMLNode::CheckNewChild(const NodePtr& child) const {
  if (!child) return kOxXMLHierarchyNotAllowed;
  if (!IsDocumentCorrect(child)) return kOxXMLWrongDocument;
  return AllowChild(child) && AllChildren() != nullptr ? kOxXMLSuccess : kOxXMLHierarchyNotAllowed;
}

std::int32_t OxXMLNode::AppendChild(const NodePtr& child) {
  const std::int32_t result = CheckNewChild(child);
  if (result != kOxXMLSuccess) return result;
  Move(child, nullptr);
  ChildAdded(child);
  return kOxXMLSuccess;
}

std::int32_t OxXMLNode::InsertChildBefore(const NodePtr& child, const NodePtr& reference) {
  if (!IsParentOf(reference.get())) return kOxXMLNotFound;
  if (child == reference) return kOxXMLSuccess;
  const std::int32_t result = CheckNewChild(child);
  if (result != kOxXMLSuccess) return result;
  Move(child, reference.get());
  ChildAdded(child);
  return kOxXMLSuccess;
}

std::int32_t OxXMLNode::ReplaceChild(const NodePtr& newChild, const NodePtr& oldChild) {
  if (newChild == oldChild && IsParentOf(oldChild.get())) return kOxXMLSuccess;
  const std::int32_t result = CheckNewChild(newChild);
  if (result != kOxXMLSuccess) return result;
  if (!IsParentOf(oldChild.get())) return kOxXMLNotFound;
  Move(newChild, oldChild.get());
  RemoveChild(oldChild);
  ChildAdded(newChild);
  return kOxXMLSuccess;
}

bool OxXMLNode::RemoveChild(NodePtr child) {
  if (!IsParentOf(child.get())) return false;
  Unlink(*child);
  ChildRemoved(child);
  return true;
}

void OxXMLNode::RemoveAllChildren() {
  while (const NodePtr first = GetFirstChild()) RemoveChild(first);
}

// ---- Value

void OxXMLNode::SetValue(const OxString& value) {
  EditValueText() = value;
}

OxString OxXMLNode::GetValue() const {
  return ValueText();
}

OxString OxXMLNode::GetAsString(int) const {
  return {};
}

// ---- Attributes

void OxXMLNode::AttributeChanged(const OxString&, const OxString&) {}

void OxXMLNode::AttributeRemoved(const OxString&) {}

OxXMLNamedNodeMap& OxXMLNode::OwnAttributes() {
  if (attributes_ == nullptr) attributes_.reset(new OxXMLNamedNodeMap(this));
  return *attributes_;
}

OxXMLNamedNodeMap& OxXMLNode::GetAttributes() {
  MakeAttributes();
  return OwnAttributes();
}

const OxXMLNamedNodeMap& OxXMLNode::GetAttributes() const {
  static const OxXMLNamedNodeMap kNone;
  const OxXMLNamedNodeMap* attributes = Attributes();
  return attributes == nullptr ? kNone : *attributes;
}

void OxXMLNode::ChangeAttribute(const OxString& name, const OxString& value, bool quiet) {
  if (const Hux::SmartPtr<OxXMLAttrNode> attribute = GetAttributeNode(name)) {
    quiet ? attribute->SetValueQuiet(value) : attribute->SetValue(value);
  } else {
    GetAttributes().SetNamedItem(document_ != nullptr ? document_->CreateAttrNode(name, value)
                                                      : OxXMLAttrNode::Make(name, value));
  }
  if (!quiet) AttributeChanged(name, value);
}

void OxXMLNode::SetAttribute(const OxString& name, const OxString& value) {
  ChangeAttribute(name, value, false);
}

void OxXMLNode::SetAttributeQuiet(const OxString& name, const OxString& value) {
  ChangeAttribute(name, value, true);
}

void OxXMLNode::SetAttributeNode(const Hux::SmartPtr<OxXMLAttrNode>& attribute) {
  GetAttributes().SetNamedItem(attribute);
}

void OxXMLNode::RemoveAttribute(const OxString& name) {
  OxXMLNamedNodeMap* attributes = Attributes();
  if (attributes == nullptr) return;
  // Held until the hook is done: the name may be the attribute's own.
  if (const NodePtr removed = attributes->RemoveNamedItem(name)) AttributeRemoved(name);
}

void OxXMLNode::RemoveAttributeQuiet(const OxString& name) {
  if (OxXMLNamedNodeMap* attributes = Attributes()) attributes->RemoveNamedItem(name);
}

bool OxXMLNode::RemoveAttributeNode(const Hux::SmartPtr<OxXMLAttrNode>& attribute) {
  OxXMLNamedNodeMap* attributes = Attributes();
  return attributes != nullptr && attributes->RemoveItem(attribute);
}

Hux::SmartPtr<OxXMLAttrNode> OxXMLNode::GetAttributeNode(const OxString& name) const {
  const OxXMLNamedNodeMap* attributes = Attributes();
  if (attributes == nullptr) return nullptr;
  return attributes->GetNamedItem(name).dynamic_cast_to<OxXMLAttrNode>();
}

bool OxXMLNode::GetAttribute(const OxString& name, OxString& out) const {
  XMLExpansionBudget budget(0);
  return ReadAttribute(name, budget, out);
}

// Reading alone makes no node.
bool OxXMLNode::ReadAttribute(const OxString& name, XMLExpansionBudget& budget, OxString& out) const {
  std::optional<std::string_view> packed;
  if (FindPacked(name.view(), packed)) {
    const OxString text = OxString::from_valid(packed.value_or(std::string_view()));
    out = OxXMLAttrNode::Resolve(text, document_, budget);
    return packed.has_value();
  }
  const OxXMLNamedNodeMap* attributes = Attributes();
  const NodePtr attribute = attributes == nullptr ? nullptr : attributes->GetNamedItem(name);
  out = attribute ? OxXMLAttrNode::ValueOf(*attribute, budget) : OxString();
  return attribute.get() != nullptr;
}

OxString OxXMLNode::GetAttribute(const OxString& name) const {
  OxString value;
  GetAttribute(name, value);
  return value;
}

// ---- Searching

void OxXMLNode::GetElementsByTagName(const OxString& name, OxXMLNodeList& list) const {
  const bool every = name == "*";
  OxXMLNode* node = XMLTree::FirstChild(*this);
  for (; node != nullptr; node = XMLTree::NextBelow(*node, *this)) {
    if (node->GetNodeType() != kElementNode) continue;
    if (every || node->GetName() == name) list.Add(Hux::make_ref(node));
  }
}

NodePtr OxXMLNode::GetElementByID(const OxString& id) const {
  XMLExpansionBudget budget(0);
  const OxString kID("id");
  OxString value;
  auto* node = const_cast<OxXMLNode*>(this);
  for (; node != nullptr; node = XMLTree::NextBelow(*node, *this)) {
    if (node->GetNodeType() != kElementNode) continue;
    if (node->ReadAttribute(kID, budget, value) && value == id) return Hux::make_ref(node);
  }
  return nullptr;
}

// ---- Cloning

void OxXMLNode::JoinDocumentOf(const OxXMLNode& source) {
  if (document_ == nullptr) document_ = source.document_;
}

void OxXMLNode::CopyFrom(const OxXMLNode& source) {
  JoinDocumentOf(source);
  const OxXMLNamedNodeMap* attributes = source.Attributes();
  if (attributes == nullptr) return;
  attributes->ForEach(
      [this](const NodePtr& attribute) { GetAttributes().SetNamedItem(attribute->CloneSelf()); });
}

NodePtr OxXMLNode::Clone(bool deep) const {
  NodePtr copy = CloneSelf();
  // An attribute's children are its value, which CloneSelf() has copied.
  if (!deep || GetNodeType() == kAttributeNode) return copy;
  OxXMLNode* parent = copy.get();
  const OxXMLNode* node = XMLTree::FirstChild(*this);
  while (node != nullptr) {
    const NodePtr child = node->CloneSelf();
    if (child->document_ != copy->document_) child->MoveTo(copy->document_);
    const bool added = parent->AppendChild(child) == kOxXMLSuccess;
    const OxXMLNode* below = added ? XMLTree::FirstChild(*node) : nullptr;
    if (below != nullptr) {
      node = below;
      parent = child.get();
      continue;
    }
    for (; node != this && !node->next_; node = node->parent_) parent = parent->parent_;
    node = node == this ? nullptr : node->next_.get();
  }
  return copy;
}
