#include "Xml/OxXMLNode.h"

#include <array>
#include <utility>

#include "Xml/XMLExpansion.h"
#include "Xml/XMLText.h"

using NodePtr = Hux::SmartPtr<OxXMLNode>;

// ---- Memory

namespace {

// AddressSanitizer watches memory that is freed at once.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kIsWatched = true;
#elif defined(__has_feature)
constexpr bool kIsWatched = __has_feature(address_sanitizer);
#else
constexpr bool kIsWatched = false;
#endif

void FreeSparesAtThreadEnd();

// Memory of nodes that are gone, for those that come next: fetched from the heap and freed one by one, nodes take a
// quarter of the time of a small document. Nothing destroys it, since nodes may outlive all objects of their thread.
template <std::size_t kBytes>
class Spares {
 public:
  void* Take() { return count_ == 0 ? ::operator new(kBytes) : kept_[--count_]; }
  void Keep(void* memory) {
    if (count_ == most_) return ::operator delete(memory);
    if (count_ == 0) FreeSparesAtThreadEnd();
    kept_[count_++] = memory;
  }
  // Frees what is kept, and keeps nothing from now on.
  void Close() {
    while (count_ > 0) ::operator delete(kept_[--count_]);
    most_ = 0;
  }

 private:
  std::array<void*, 512> kept_{};
  std::size_t count_ = 0;
  std::size_t most_ = kIsWatched ? 0 : kept_.size();
};

constexpr std::size_t kNodeBytes = 128;  // No node of this system is larger.
constinit thread_local Spares<kNodeBytes> spareNodes;
constinit thread_local Spares<sizeof(OxXMLNamedNodeMap)> spareMaps;

void FreeSparesAtThreadEnd() {
  struct Closer {
    Closer() = default;
    Closer(const Closer&) = delete;
    Closer& operator=(const Closer&) = delete;
    ~Closer() {
      spareNodes.Close();
      spareMaps.Close();
    }
  };
  static thread_local const Closer closer;
}

}  // namespace

void* OxXMLNode::operator new(std::size_t size) {
  return size > kNodeBytes ? ::operator new(size) : spareNodes.Take();
}

void OxXMLNode::operator delete(void* memory, std::size_t size) {
  size > kNodeBytes ? ::operator delete(memory) : spareNodes.Keep(memory);
}

void* OxXMLNamedNodeMap::operator new(std::size_t) {
  return spareMaps.Take();
}

void OxXMLNamedNodeMap::operator delete(void* memory) {
  spareMaps.Keep(memory);
}

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
void OxXMLNode::MoveTo(OxXMLNode* document) {
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

void OxXMLNode::Link(NodePtr child, OxXMLNode* before) {
  ChildLinks& children = *Children();
  OxXMLNode* after = before != nullptr ? before->previous_ : children.last;
  NodePtr& hook = after != nullptr ? after->next_ : children.first;
  child->parent_ = this;
  child->previous_ = after;
  child->next_ = std::move(hook);
  (before != nullptr ? before->previous_ : children.last) = child.get();
  hook = std::move(child);
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

const OxString& OxXMLNode::ValueText() const {
  static const OxString kNone;
  return value_ == nullptr ? kNone : *value_;
}

OxString& OxXMLNode::EditValueText() {
  if (value_ == nullptr) value_ = std::make_unique<OxString>();
  return *value_;
}

OxString OxXMLNode::GetAsString(int) const {
  return {};
}

OxString OxXMLNode::IndentString(int indent, const OxString& text) {
  std::string indented;
  XMLText::AppendIndent(indent, indented);
  return OxString::from_valid(indented) += text;
}

OxString OxXMLNode::Escape(const OxString& text, bool escapeWhitespace) {
  std::string escaped;
  XMLText::AppendEscaped(text.view(), escapeWhitespace, escaped);
  return OxString::from_valid(escaped);
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

void OxXMLNode::SetAttribute(const OxString& name, const OxString& value) {
  ChangeAttribute(name, value, false);
}

void OxXMLNode::SetAttributeQuiet(const OxString& name, const OxString& value) {
  ChangeAttribute(name, value, true);
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

bool OxXMLNode::GetAttribute(const OxString& name, OxString& out) const {
  XMLExpansionBudget budget(0);
  return ReadAttribute(name, budget, out);
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
  if (source.value_ != nullptr) EditValueText() = *source.value_;
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

// ---- Walking

namespace {

OxXMLNode* First(const auto* children) {
  return children == nullptr ? nullptr : children->first.get();
}

// What follows `first`, the first child of `node`, or everything below it.
OxXMLNode* NextFrom(OxXMLNode* first, const OxXMLNode& node, const OxXMLNode& top) {
  if (first != nullptr) return first;
  for (const OxXMLNode* at = &node; at != &top; at = XMLTree::Parent(*at)) {
    if (OxXMLNode* next = XMLTree::Next(*at)) return next;
  }
  return nullptr;
}

}  // namespace

OxXMLNode* XMLTree::FirstChild(const OxXMLNode& node) {
  return node.GetNodeType() == OxXMLNode::kAttributeNode ? FirstMade(node) : First(node.AllChildren());
}

OxXMLNode* XMLTree::FirstMade(const OxXMLNode& node) {
  return First(const_cast<OxXMLNode&>(node).Children());  // Which only looks.
}

OxXMLNode* XMLTree::NextBelow(const OxXMLNode& node, const OxXMLNode& top) {
  return NextFrom(FirstChild(node), node, top);
}

OxXMLNode* XMLTree::NextMade(const OxXMLNode& node, const OxXMLNode& top) {
  return NextFrom(FirstMade(node), node, top);
}
