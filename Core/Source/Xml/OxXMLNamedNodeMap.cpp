#include <algorithm>
#include <iterator>
#include <utility>

#include "Xml/OxXMLNode.h"

using NodePtr = Hux::SmartPtr<OxXMLNode>;

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
  *this = other;
}

OxXMLNamedNodeMap& OxXMLNamedNodeMap::operator=(const OxXMLNamedNodeMap& other) {
  if (this == &other) return *this;
  Clear();
  other.ForEach(
      [this](const NodePtr& node) { SetNamedItem(owner_ != nullptr ? node->CloneSelf() : node); });
  return *this;
}

OxXMLNamedNodeMap::~OxXMLNamedNodeMap() {
  Clear();
}

void OxXMLNamedNodeMap::Clear() {
  ForEach([this](const NodePtr& node) { LetGo(*node); });
  small_.clear();
  large_.reset();
}

// ---- Belonging

void OxXMLNamedNodeMap::TakeOver(OxXMLNode& node) {
  if (owner_ == nullptr) return;
  XMLTree::SetParent(node, owner_);
  OxXMLNode* document = XMLTree::Document(*owner_);
  if (XMLTree::Document(node) != document) XMLTree::MoveTo(node, document);
}

void OxXMLNamedNodeMap::LetGo(OxXMLNode& node) const {
  if (owner_ == nullptr) return;
  XMLTree::SetParent(node, nullptr);
  if (node.GetRefCount() > 1 && XMLTree::DocumentDies(*owner_)) XMLTree::MoveTo(node, nullptr);
}

// ---- Finding

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

// ---- Changing

bool OxXMLNamedNodeMap::SetNamedItem(const NodePtr& node) {
  if (!node || node->GetNodeType() != OxXMLNode::kAttributeNode) return false;
  if (OxXMLNode* before = XMLTree::Parent(*node); owner_ != nullptr && before != nullptr) {
    if (before == owner_) return true;
    before->GetAttributes().RemoveItem(node);
  }
  if (large_ == nullptr && small_.size() == kMostInVector) BecomeLarge();
  if (large_ == nullptr) {
    InsertSmall(node);
  } else {
    InsertLarge(node);
  }
  TakeOver(*node);
  Changed();
  return true;
}

void OxXMLNamedNodeMap::InsertSmall(const NodePtr& node) {
  if (small_.empty()) small_.reserve(kUsualCount);
  const std::string_view name = node->GetName().view();
  const auto place = LowerBound(name);
  if (place == small_.end() || (*place)->GetName().view() != name) {
    small_.insert(place, node);
  } else {
    LetGo(**place);
    *place = node;
  }
}

// One search, which is what an insertion among very many costs.
void OxXMLNamedNodeMap::InsertLarge(const NodePtr& node) {
  const auto [place, inserted] = large_->tree.try_emplace(node->GetName().view(), node);
  if (!inserted) {
    LetGo(*place->second);
    large_->Leaving(place);
    const auto after = std::next(place);
    auto entry = large_->tree.extract(place);
    entry.key() = node->GetName().view();
    entry.mapped() = node;
    large_->Came(large_->tree.insert(after, std::move(entry)));
  } else {
    large_->Came(place);
  }
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
  for (const NodePtr& node : small_)
    large->tree.emplace_hint(large->tree.end(), node->GetName().view(), node);
  small_ = Small();
  large_ = std::move(large);
}

void OxXMLNamedNodeMap::Changed() const {
  if (owner_ != nullptr) XMLTree::MarkIndexDirty(*owner_);
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
  Changed();
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
