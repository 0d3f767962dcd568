#include "Xml/OxXMLAttrNode.h"

#include <optional>
#include <string>
#include <typeinfo>
#include <utility>

#include "Xml/OxXMLTextNode.h"
#include "Xml/XMLExpansion.h"
#include "Xml/XMLPack.h"
#include "Xml/XMLText.h"

using NodePtr = Hux::SmartPtr<OxXMLNode>;

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

// The last record of that name, which counts, or nothing. Without making a node.
std::optional<XMLPack::Record> FindPacked(const XMLPacked& attributes, std::string_view name) {
  std::optional<XMLPack::Record> found;
  for (std::uint32_t place = attributes.begin; place < attributes.end;) {
    const XMLPack::Record record = attributes.pack->Read(place, 0);
    if (attributes.pack->NameText(record.name) == name) found = record;
    place = record.end;
  }
  return found;
}

}  // namespace

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

// ---- Children

void OxXMLAttrNode::MakeChildren() {
  if (children_ != nullptr) return;
  children_ = std::make_unique<ChildLinks>();
  const Hux::SmartPtr<OxXMLTextNode> text = OxXMLTextNode::Make(std::exchange(text_, OxString()));
  SetDocument(*text, XMLTree::Document(*this));
  Link(text, nullptr);
}

bool OxXMLAttrNode::AllowChild(const NodePtr& node) const {
  return node && node->GetNodeType() == kTextNode;
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

// ---- Value

void OxXMLAttrNode::ReplaceText(const OxString& value) {
  OxString fresh(value);
  if (children_ != nullptr) RemoveAllChildren();
  children_.reset();
  text_ = std::move(fresh);
  MarkIndexDirty();
}

void OxXMLAttrNode::SetValue(const OxString& value) {
  SetValueQuiet(value);
  if (const NodePtr owner = GetOwner()) owner->AttributeChanged(GetName(), value);
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

// ---- Attributes of any node. Here, since the base class knows none of those derived from it.

void OxXMLNode::ChangeAttribute(const OxString& name, const OxString& value, bool quiet) {
  if (const Hux::SmartPtr<OxXMLAttrNode> attribute = GetAttributeNode(name)) {
    quiet ? attribute->SetValueQuiet(value) : attribute->SetValue(value);
  } else {
    const Hux::SmartPtr<OxXMLAttrNode> made = OxXMLAttrNode::Make(name, value);
    made->JoinDocumentOf(*this);
    GetAttributes().SetNamedItem(made);
  }
  if (!quiet) AttributeChanged(name, value);
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
