#include "Xml/OxXMLNode.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <typeinfo>
#include <utility>

#include "Foundation/StringWalk.h"
#include "Xml/XMLExpansion.h"
#include "Xml/XMLPack.h"
#include "Xml/XMLText.h"

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

// One chain of siblings at a time: what dies with its parent joins the chain first, so that no
// destructor meets children. None in the chain has a parent or a node before it, which a destructor might ask for.
void OxXMLNode::ReleaseChildren(ChildLinks& children) {
  const auto forgetLinks = [](OxXMLNode* child) {
    for (; child != nullptr; child = child->next_.get()) {
      child->parent_ = nullptr;
      child->previous_ = nullptr;
    }
  };
  NodePtr chain = std::move(children.first);
  children.last = nullptr;
  forgetLinks(chain.get());
  while (chain) {
    const NodePtr node = std::move(chain);
    chain = std::move(node->next_);
    if (node->GetRefCount() > 1) {
      if (DocumentDies()) node->MoveTo(nullptr);
      continue;
    }
    ChildLinks* below = node->Children();
    if (below == nullptr || !below->first) continue;
    forgetLinks(below->first.get());
    below->last->next_ = std::move(chain);
    chain = std::move(below->first);
    below->last = nullptr;
  }
}

// Makes this node, all below it and their attributes nodes of `document`. What is made later asks its parent. With
// `names`, all have theirs from there and no longer in common with nodes of the old document.
void OxXMLNode::MoveTo(OxXMLNode* document, XMLNames* names) {
  for (OxXMLNode* node = this; node != nullptr; node = XMLTree::NextMade(*node, *this)) {
    node->document_ = document;
    if (names != nullptr) names->Give(node->SharedName());
    if (node->attributes_ == nullptr) continue;
    if (names != nullptr) node->attributes_->Rename(*names);
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

// Checks, and links a node that may have a parent. What the old parent's hook has changed is checked again.
inline std::int32_t OxXMLNode::Move(const NodePtr& child, OxXMLNode* before) {
  std::int32_t result = CheckNewChild(child);
  if (result != kOxXMLSuccess) return result;
  if (child->parent_ != nullptr) {
    const NodePtr place = Hux::make_ref(before);
    child->parent_->RemoveChild(child);
    if (child->parent_ != nullptr) return kOxXMLHierarchyNotAllowed;
    if (place && !IsParentOf(before)) return kOxXMLNotFound;
    result = CheckNewChild(child);
    if (result != kOxXMLSuccess) return result;
  }
  Link(child, before);
  return kOxXMLSuccess;
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

// References of their own, since a hook may let go of all others.

std::int32_t OxXMLNode::AppendChild(const NodePtr& child) {
  const NodePtr held = Hux::make_ref(child.get());
  const NodePtr self = Hux::make_ref(this);
  const std::int32_t result = Move(held, nullptr);
  if (result == kOxXMLSuccess) ChildAdded(held);
  return result;
}

std::int32_t OxXMLNode::InsertChildBefore(const NodePtr& child, const NodePtr& reference) {
  if (!IsParentOf(reference.get())) return kOxXMLNotFound;
  if (child == reference) return kOxXMLSuccess;
  const NodePtr held = Hux::make_ref(child.get());
  const NodePtr self = Hux::make_ref(this);
  const std::int32_t result = Move(held, reference.get());
  if (result == kOxXMLSuccess) ChildAdded(held);
  return result;
}

std::int32_t OxXMLNode::ReplaceChild(const NodePtr& newChild, const NodePtr& oldChild) {
  const bool isChild = IsParentOf(oldChild.get());
  if (newChild == oldChild && isChild) return kOxXMLSuccess;
  if (!isChild) {
    const std::int32_t result = CheckNewChild(newChild);
    return result == kOxXMLSuccess ? kOxXMLNotFound : result;
  }
  const NodePtr held = Hux::make_ref(newChild.get());
  const NodePtr replaced = Hux::make_ref(oldChild.get());
  const NodePtr self = Hux::make_ref(this);
  const std::int32_t result = Move(held, replaced.get());
  if (result != kOxXMLSuccess) return result;
  RemoveChild(replaced);
  if (IsParentOf(held.get())) ChildAdded(held);
  return kOxXMLSuccess;
}

bool OxXMLNode::RemoveChild(NodePtr child) {
  if (!IsParentOf(child.get())) return false;
  const NodePtr self = Hux::make_ref(this);
  Unlink(*child);
  ChildRemoved(child);
  return true;
}

void OxXMLNode::RemoveAllChildren() {
  const NodePtr self = Hux::make_ref(this);
  std::size_t count = 0;  // A hook may put new ones there, without end.
  for (const OxXMLNode* child = XMLTree::FirstChild(*this); child != nullptr;
       child = XMLTree::Next(*child))
    ++count;
  for (; count > 0; --count) {
    const NodePtr first = GetFirstChild();
    if (!first) return;
    RemoveChild(first);
  }
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

void OxXMLNode::AddMade(const NodePtr& attribute) {
  OwnAttributes().Adopt(attribute);
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
  const NodePtr self = Hux::make_ref(this);
  const NodePtr removed = attributes->RemoveNamedItem(name);
  if (!removed) return;
  // `name` may be the attribute's own, and the hook may take the attribute to another document, where it gets another.
  const OxXMLName held = OxXMLNamedNodeMap::NameOf(*removed);
  AttributeRemoved(held.text());
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

// All are held until the hooks return: name and value may be the attribute's own name.
void OxXMLNode::ChangeAttribute(const OxString& name, const OxString& value, bool quiet) {
  const NodePtr self = Hux::make_ref(this);
  Hux::SmartPtr<OxXMLAttrNode> attribute = GetAttributeNode(name);
  const bool isNew = !attribute;
  if (isNew) {
    attribute = OxXMLAttrNode::Make(name, value);
    attribute->JoinDocumentOf(*this);
    if (!GetAttributes().SetNamedItem(attribute)) return;
  }
  const OxXMLName held = OxXMLNamedNodeMap::NameOf(*attribute);
  if (!isNew) quiet ? attribute->SetValueQuiet(value) : attribute->SetValue(value);
  if (!quiet) AttributeChanged(held.text(), value);
}

void OxXMLNode::SetAttributeNode(const Hux::SmartPtr<OxXMLAttrNode>& attribute) {
  GetAttributes().SetNamedItem(attribute);
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

namespace {

// The last record of that name, which counts, or nothing. Without making a node.
std::optional<XMLPack::Record> FindPacked(const XMLPacked& attributes, std::string_view name) {
  std::optional<XMLPack::Record> found;
  for (std::uint32_t place = attributes.begin; place < attributes.end;) {
    const XMLPack::Record record = attributes.pack->Read(place, 0);
    if (attributes.pack->Names().Text(record.name) == name) found = record;
    place = record.end;
  }
  return found;
}

}  // namespace

// Reading alone makes no node, unless there is a long list, which is not gone through each time.
bool OxXMLNode::ReadAttribute(const OxString& name, XMLExpansionBudget& budget, OxString& out) const {
  constexpr std::uint32_t kLong = 2048;
  const XMLPacked packed = UntouchedAttributes();
  if (packed.pack != nullptr && packed.end - packed.begin <= kLong) {
    const std::optional<XMLPack::Record> record = FindPacked(packed, name.view());
    out = record ? OxXMLAttrNode::Resolve(packed.pack->Text(*record), document_, budget) : OxString();
    return record.has_value();
  }
  const OxXMLNamedNodeMap* attributes = Attributes();
  const NodePtr attribute = attributes == nullptr ? nullptr : attributes->GetNamedItem(name);
  out = attribute ? OxXMLAttrNode::ValueOf(*attribute, budget) : OxString();
  return attribute.get() != nullptr;
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
  return CloneFor(nullptr, deep);
}

// The copy of each node whose children are being copied is held: a hook may take it out of its parent.
NodePtr OxXMLNode::CloneFor(OxXMLNode* document, bool deep) const {
  std::optional<XMLNames> names;
  const auto copyOf = [&](const OxXMLNode& node) {
    NodePtr copy = node.CloneSelf();
    if (document == nullptr) document = copy->document_;
    if (copy->document_ == document) return copy;
    if (!names) names.emplace();
    copy->MoveTo(document, &*names);
    return copy;
  };
  std::vector<NodePtr> open{copyOf(*this)};
  NodePtr top = open.front();
  // An attribute's children are its value, which CloneSelf() has copied.
  NodePtr node = Hux::make_ref(deep && !IsAttribute() ? XMLTree::FirstChild(*this) : nullptr);
  while (node) {
    const NodePtr copy = copyOf(*node);
    const bool added = open.back()->AppendChild(copy) == kOxXMLSuccess;
    if (OxXMLNode* below = added ? XMLTree::FirstChild(*node) : nullptr) {
      open.push_back(copy);
      node = Hux::make_ref(below);
      continue;
    }
    for (; node && !node->next_ && !open.empty(); node = Hux::make_ref(node->parent_)) open.pop_back();
    node = open.empty() ? nullptr : node->next_;
  }
  return top;
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

// ======== Attribute maps

namespace {

// More attributes than this go into a tree: shifting a vector's end would cost too much.
constexpr std::size_t kMostInVector = 32;
// The first growth makes room for as many: few elements have more.
constexpr std::size_t kUsualCount = 4;

// A byte's rank in UTF-16 order, which puts U+E000 to U+FFFF behind what takes four bytes.
int Rank(char byte) {
  constexpr int kFirstOfLast = 0xEE;
  constexpr int kFirstOfFour = 0xF0;
  const int value = static_cast<unsigned char>(byte);
  return value >= kFirstOfLast && value < kFirstOfFour ? value + 0x100 : value;
}

}  // namespace

int OxXMLNamedNodeMap::CompareNames(std::string_view a, std::string_view b) {
  const std::size_t common = std::min(a.size(), b.size());
  std::size_t same = 0;
  while (same < common && a[same] == b[same]) ++same;
  if (same < common) return Rank(a[same]) - Rank(b[same]);
  return a.size() == b.size() ? 0 : a.size() < b.size() ? -1 : 1;
}

OxXMLNamedNodeMap::OxXMLNamedNodeMap(const OxXMLNamedNodeMap& other) {
  other.ForEach([this](const NodePtr& node) { Insert(node, NameOf(*node)); });
}

// What can fail comes first.
OxXMLNamedNodeMap& OxXMLNamedNodeMap::operator=(const OxXMLNamedNodeMap& other) {
  if (this == &other) return *this;
  OxXMLNamedNodeMap fresh(owner_);
  if (owner_ == nullptr) {
    other.ForEach([&fresh](const NodePtr& node) { fresh.Insert(node, NameOf(*node)); });
  } else {
    std::vector<NodePtr> source;  // Cloning may change the other one.
    other.ForEach([&source](const NodePtr& node) { source.push_back(node); });
    for (const NodePtr& node : source) fresh.SetNamedItem(node->CloneSelf());
    XMLTree::MarkIndexDirty(*owner_);
  }
  std::swap(small_, fresh.small_);
  std::swap(large_, fresh.large_);
  return *this;
}

OxXMLNamedNodeMap::~OxXMLNamedNodeMap() {
  ForEach([this](const NodePtr& node) { LetGo(*node); });
}

void OxXMLNamedNodeMap::LetGo(OxXMLNode& node) const {
  if (owner_ == nullptr) return;
  XMLTree::SetParent(node, nullptr);
  if (node.GetRefCount() > 1 && XMLTree::DocumentDies(*owner_)) XMLTree::MoveTo(node, nullptr);
}

// ---- Finding in a map

// From the end: names often come in order.
OxXMLNamedNodeMap::Small::iterator OxXMLNamedNodeMap::LowerBound(std::string_view name) {
  auto place = small_.end();
  while (place != small_.begin() && CompareNames((*std::prev(place))->GetName().view(), name) >= 0)
    --place;
  return place;
}

OxXMLNode* OxXMLNamedNodeMap::Find(std::string_view name) const {
  if (large_ != nullptr) {
    const auto found = large_->tree.find(name);
    return found == large_->tree.end() ? nullptr : found->second.get();
  }
  for (const NodePtr& node : small_) {
    if (node->GetName().view() == name) return node.get();
  }
  return nullptr;
}

NodePtr OxXMLNamedNodeMap::GetNamedItem(const OxString& name) const {
  return Hux::make_ref(Find(name.view()));
}

NodePtr OxXMLNamedNodeMap::Item(std::size_t index) const {
  if (index >= Length()) return nullptr;
  if (large_ == nullptr) return small_[index];
  return large_->Seek(index)->second;
}

// Steps to the place from the nearest of the front, the end and where it was last.
OxXMLNamedNodeMap::Tree::const_iterator OxXMLNamedNodeMap::Large::Seek(std::size_t index) {
  const std::size_t fromCursor = index > cursorIndex ? index - cursorIndex : cursorIndex - index;
  if (!cursorValid || std::min(index, tree.size() - index) < fromCursor) {
    const bool front = index <= tree.size() / 2;
    cursor = front ? tree.begin() : tree.end();
    cursorIndex = front ? 0 : tree.size();
    cursorValid = true;
  }
  for (; cursorIndex < index; ++cursorIndex) ++cursor;
  for (; cursorIndex > index; --cursorIndex) --cursor;
  return cursor;
}

// ---- Changing a map

bool OxXMLNamedNodeMap::SetNamedItem(const NodePtr& node) {
  if (!node || node->GetNodeType() != OxXMLNode::kAttributeNode) return false;
  if (owner_ == nullptr) {
    Insert(node, NameOf(*node));
  } else if (!XMLTree::TakesAttributes(*owner_)) {
    return false;
  } else if (XMLTree::Parent(*node) != owner_) {
    Adopt(node);
  }
  return true;
}

// An attribute that comes from another document gets a name and texts of its own. All that can fail comes first.
void OxXMLNamedNodeMap::Adopt(const NodePtr& node) {
  OxXMLNode& attribute = *node;  // `node` may be in the map that the attribute leaves.
  OxXMLNode* document = XMLTree::Document(*owner_);
  OxXMLName* shared = XMLTree::Document(*node) != document ? XMLTree::SharedName(*node) : nullptr;
  std::optional<OxXMLName> own;
  if (shared != nullptr) {
    own.emplace(shared->text());
    for (const OxXMLNode* text = XMLTree::FirstMade(*node); text != nullptr; text = XMLTree::Next(*text))
      XMLTree::Value(*text);
  }
  const NodePtr replaced = Insert(node, own ? *own : NameOf(*node));
  if (replaced) LetGo(*replaced);
  if (const OxXMLNode* before = XMLTree::Parent(*node))
    XMLTree::MadeAttributes(*before)->RemoveItem(node);
  if (own) *shared = *own;
  XMLTree::SetParent(attribute, owner_);
  if (XMLTree::Document(attribute) != document) XMLTree::MoveTo(attribute, document);
  XMLTree::MarkIndexDirty(*owner_);
}

// The keys of the tree are names as well.
void OxXMLNamedNodeMap::Rename(XMLNames& names) {
  ForEach([&names](const NodePtr& node) { names.Give(XMLTree::SharedName(*node)); });
  if (large_ == nullptr) return;
  auto large = std::make_unique<Large>();
  for (const auto& entry : large_->tree)
    large->tree.emplace_hint(large->tree.end(), NameOf(*entry.second), entry.second);
  large_ = std::move(large);
}

OxXMLName OxXMLNamedNodeMap::NameOf(OxXMLNode& node) {
  const OxXMLName* const shared = XMLTree::SharedName(node);
  return shared != nullptr ? *shared : OxXMLName(node.GetName());
}

NodePtr OxXMLNamedNodeMap::Insert(const NodePtr& node, const OxXMLName& name) {
  if (large_ == nullptr && small_.size() == kMostInVector) BecomeLarge();
  return large_ == nullptr ? InsertSmall(node, name.text().view()) : InsertLarge(node, name);
}

NodePtr OxXMLNamedNodeMap::InsertSmall(const NodePtr& node, std::string_view name) {
  if (small_.empty()) small_.reserve(kUsualCount);
  const auto place = LowerBound(name);
  if (place != small_.end() && (*place)->GetName().view() == name) return std::exchange(*place, node);
  small_.insert(place, node);
  return nullptr;
}

// One search, which is what an insertion among very many costs.
NodePtr OxXMLNamedNodeMap::InsertLarge(const NodePtr& node, const OxXMLName& name) {
  const auto [place, inserted] = large_->tree.try_emplace(name, node);
  if (inserted) {
    large_->Came(place);
    return nullptr;
  }
  large_->Leaving(place);
  const auto after = std::next(place);
  auto entry = large_->tree.extract(place);
  NodePtr replaced = std::exchange(entry.mapped(), node);
  entry.key() = name;
  large_->Came(large_->tree.insert(after, std::move(entry)));
  return replaced;
}

void OxXMLNamedNodeMap::Large::Leaving(Tree::const_iterator entry) {
  if (!cursorValid) return;
  if (entry == cursor) {
    ++cursor;
  } else if (cursor == tree.end() || NameLess()(entry->first, cursor->first)) {
    --cursorIndex;
  }
}

void OxXMLNamedNodeMap::Large::Came(Tree::const_iterator entry) {
  if (cursorValid && (cursor == tree.end() || NameLess()(entry->first, cursor->first))) ++cursorIndex;
}

void OxXMLNamedNodeMap::BecomeLarge() {
  auto large = std::make_unique<Large>();
  for (const NodePtr& node : small_) large->tree.emplace_hint(large->tree.end(), NameOf(*node), node);
  small_ = Small();
  large_ = std::move(large);
}

NodePtr OxXMLNamedNodeMap::RemoveNamedItem(const OxString& name) {
  NodePtr node = GetNamedItem(name);
  if (!node) return node;
  if (large_ != nullptr) {
    const auto entry = large_->tree.find(node->GetName().view());
    large_->Leaving(entry);
    large_->tree.erase(entry);
  } else {
    small_.erase(LowerBound(node->GetName().view()));
  }
  LetGo(*node);
  if (owner_ != nullptr) XMLTree::MarkIndexDirty(*owner_);
  return node;
}

bool OxXMLNamedNodeMap::RemoveItem(const NodePtr& node) {
  if (!node || Find(node->GetName().view()) != node.get()) return false;
  RemoveNamedItem(node->GetName());
  return true;
}

OxXMLNamedNodeMap OxXMLNamedNodeMap::Clone() const {
  OxXMLNamedNodeMap clone;
  ForEach([&clone](const NodePtr& node) { clone.SetNamedItem(node->CloneSelf()); });
  return clone;
}

// ======== Attributes

OxXMLAttrNode::OxXMLAttrNode(const OxXMLName& name, OxString value)
    : name_(name), text_(std::move(value)) {}

OxXMLAttrNode::~OxXMLAttrNode() {
  if (children_ != nullptr) ReleaseChildren(*children_);
}

Hux::SmartPtr<OxXMLAttrNode> OxXMLAttrNode::Make(const OxXMLName& name, OxString value) {
  return Hux::SmartPtr<OxXMLAttrNode>::Adopt(new OxXMLAttrNode(name, std::move(value)));
}

NodePtr OxXMLAttrNode::GetOwner() const {
  return Hux::make_ref(XMLTree::Parent(*this));
}

// ---- Children of an attribute

void OxXMLAttrNode::MakeChildren() {
  if (children_ != nullptr) return;
  const Hux::SmartPtr<OxXMLTextNode> text = OxXMLTextNode::Make(text_);
  SetDocument(*text, XMLTree::Document(*this));
  children_ = std::make_unique<ChildLinks>();
  text_ = OxString();
  Link(text, nullptr);
}

bool OxXMLAttrNode::AllowChild(const NodePtr& node) const {
  if (!node || node->GetNodeType() != kTextNode) return false;
  const OxXMLNamedNodeMap* attributes = XMLTree::Attributes(*node);
  return attributes == nullptr || attributes->Length() == 0;
}

OxString OxXMLAttrNode::JoinedText() const {
  if (children_ == nullptr) return text_;
  OxString joined;
  for (const OxXMLNode* child = children_->first.get(); child != nullptr;
       child = XMLTree::Next(*child)) {
    joined += XMLTree::Value(*child);
  }
  return joined;
}

// ---- Value of an attribute

void OxXMLAttrNode::ReplaceText(const OxString& value) {
  OxString fresh(value);
  const NodePtr self = Hux::make_ref(this);
  if (children_ != nullptr) RemoveAllChildren();
  if (children_ != nullptr) ReleaseChildren(*children_);  // What a hook has put there.
  children_.reset();
  text_ = std::move(fresh);
  MarkIndexDirty();
}

void OxXMLAttrNode::SetValue(const OxString& value) {
  const NodePtr self = Hux::make_ref(this);
  const OxXMLName held = name_;
  SetValueQuiet(value);
  if (const NodePtr owner = GetOwner()) owner->AttributeChanged(held.text(), value);
}

void OxXMLAttrNode::SetValueQuiet(const OxString& value) {
  ReplaceText(value);
}

void OxXMLAttrNode::SetUnparsedValue(const OxString& value) {
  ReplaceText(value);
}

OxString OxXMLAttrNode::GetValue() const {
  XMLExpansionBudget budget(0);
  return OwnValue(budget);
}

OxString OxXMLAttrNode::OwnValue(XMLExpansionBudget& budget) const {
  const OxXMLNode* document = XMLTree::Document(*this);
  if (children_ != nullptr) return Resolve(JoinedText().view(), document, budget);
  return text_.view().find('&') == std::string_view::npos ? text_
                                                          : Resolve(text_.view(), document, budget);
}

OxString OxXMLAttrNode::ValueOf(const OxXMLNode& attribute, XMLExpansionBudget& budget) {
  if (typeid(attribute) != typeid(OxXMLAttrNode)) return attribute.GetValue();
  return static_cast<const OxXMLAttrNode&>(attribute).OwnValue(budget);
}

namespace {

// Nothing for an unknown name and for an empty reference.
std::optional<std::string_view> ReplacementOf(std::string_view reference, const OxXMLNode* document) {
  if (reference.empty()) return std::nullopt;
  const std::string_view name = reference.substr(1, reference.size() - 2);
  const std::string_view predefined = XMLText::PredefinedEntity(name);
  if (!predefined.empty()) return predefined;
  const OxString* declared = XMLTree::FindEntity(document, name);
  return declared == nullptr ? std::nullopt : std::optional(declared->view());
}

}  // namespace

OxString OxXMLAttrNode::Resolve(std::string_view text, const OxXMLNode* document,
                                XMLExpansionBudget& budget) {
  std::size_t found = text.find('&');
  if (found == std::string_view::npos) return OxString::from_valid(text);
  budget.AddText(text.size());
  std::string value;
  for (; found != std::string_view::npos; found = text.find('&')) {
    value.append(text, 0, found);
    text.remove_prefix(found);
    const std::string_view reference = XMLText::ReferenceAt(text);
    const std::optional<std::string_view> replacement = ReplacementOf(reference, document);
    const bool replace = replacement && budget.Take(replacement->size());
    const std::size_t kept = reference.empty() ? 1 : reference.size();
    value.append(replace ? *replacement : text.substr(0, kept));
    text.remove_prefix(kept);
  }
  value.append(text);
  return OxString::from_valid(value);
}

OxString OxXMLAttrNode::GetAsString(int) const {
  std::string text(GetName().view());
  XMLText::AppendValue(GetValue().view(), text);
  return OxString::from_valid(text);
}

NodePtr OxXMLAttrNode::CloneSelf() const {
  return Copied(Make(name_, JoinedText()));
}

// ======== Character data

namespace {

// Where a character of a text of so many begins, from the nearer end. Counted in the bytes: the string's own
// searches for a character stop at a zero.
std::size_t ByteOf(std::string_view text, std::uint32_t length, OxString::Index offset) {
  if (text.size() == length) return static_cast<std::size_t>(offset);
  const bool front = offset <= length / 2;
  std::size_t at = front ? 0 : text.size();
  for (OxString::Index left = front ? offset : length - offset;
       left > 0 && (front ? at < text.size() : at > 0); --left) {
    do {
      front ? ++at : --at;
    } while (at < text.size() && at > 0 && StringWalk::IsContinuation(text[at]));
  }
  return at;
}

}  // namespace

const OxString& OxXMLCharDataNode::ValueText() const {
  if (part_ != nullptr) {
    data_ = OxString::from_valid(part_->bytes);
    part_.reset();
  }
  return data_;
}

OxString& OxXMLCharDataNode::EditValueText() {
  ValueText();
  return data_;
}

void OxXMLCharDataNode::SplitOff(OxString::Index offset, OxXMLCharDataNode& tail) {
  if (part_ == nullptr) {
    const auto whole = Hux::SmartPtr<Whole>::Adopt(new Whole());
    part_ = std::make_unique<OfWhole>();
    part_->length = data_.length();
    whole->text = std::move(data_);
    part_->bytes = whole->text.view();
    part_->whole = whole;
  }
  const std::size_t at = ByteOf(part_->bytes, part_->length, offset);
  tail.part_ = std::make_unique<OfWhole>(*part_);
  tail.part_->bytes.remove_prefix(at);
  tail.part_->length -= static_cast<std::uint32_t>(offset);
  part_->bytes = part_->bytes.substr(0, at);
  part_->length = static_cast<std::uint32_t>(offset);
}

// The count as far as there is text.
OxString::Index OxXMLCharDataNode::CheckRange(OxString::Index offset, OxString::Index count) const {
  const OxString::Index length = GetLength();
  if (offset < 0 || offset >= length || count < 0) throw OxXMLDOMException(kOxXMLIndexSize);
  return std::min(count, length - offset);
}

OxString OxXMLCharDataNode::Part(OxString::Index offset, OxString::Index count) const {
  const std::string_view text = part_ != nullptr ? part_->bytes : data_.view();
  const std::size_t begin = ByteOf(text, GetLength(), offset);
  const std::size_t end = ByteOf(text, GetLength(), offset + count);
  return OxString::from_valid(text.substr(begin, end - begin));
}

OxString OxXMLCharDataNode::GetSubstring(OxString::Index offset, OxString::Index count) const {
  return Part(offset, CheckRange(offset, count));
}

void OxXMLCharDataNode::InsertData(OxString::Index offset, const OxString& text) {
  ReplaceData(offset, 0, text);
}

void OxXMLCharDataNode::DeleteData(OxString::Index offset, OxString::Index count) {
  ReplaceData(offset, count, OxString());
}

void OxXMLCharDataNode::ReplaceData(OxString::Index offset, OxString::Index count,
                                    const OxString& text) {
  const OxString::Index behind = offset + CheckRange(offset, count);
  OxString changed = Part(0, offset);
  changed += text;
  changed += Part(behind, GetLength() - behind);
  EditValueText() = std::move(changed);
}

// ======== Text

Hux::SmartPtr<OxXMLTextNode> OxXMLTextNode::Make(OxString text) {
  return Hux::SmartPtr<OxXMLTextNode>::Adopt(new OxXMLTextNode(std::move(text)));
}

const OxString& OxXMLTextNode::GetName() const {
  static const OxString kName = FixedName("#text");
  return kName;
}

Hux::SmartPtr<OxXMLNode> OxXMLTextNode::CloneSelf() const {
  return Copied(Make(data()));
}

OxString OxXMLTextNode::GetAsString(int) const {
  return Escape(data(), false);
}

Hux::SmartPtr<OxXMLTextNode> OxXMLTextNode::SplitText(OxString::Index offset) {
  if (offset < 0 || offset > GetLength()) throw OxXMLDOMException(kOxXMLIndexSize);
  Hux::SmartPtr<OxXMLTextNode> tail = Make(OxString());
  tail->JoinDocumentOf(*this);
  const NodePtr parent = GetParent();
  if (parent) parent->HasChildNodes();  // Makes the siblings, while a failure to do so costs nothing.
  if (typeid(*this) == typeid(OxXMLTextNode)) {
    SplitOff(offset, *tail);
  } else {
    tail->SetValue(Part(offset, GetLength() - offset));
    SetValue(Part(0, offset));
  }
  const NodePtr next = GetNextSibling();
  if (parent && next) parent->InsertChildBefore(tail, next);
  if (parent && !next) parent->AppendChild(tail);
  return tail;
}
