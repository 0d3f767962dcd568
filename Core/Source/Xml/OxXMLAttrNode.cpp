#include "Xml/OxXMLAttrNode.h"

#include <string_view>
#include <typeinfo>
#include <utility>

#include "Xml/OxXMLDoc.h"
#include "Xml/OxXMLTextNode.h"
#include "Xml/XMLExpansion.h"
#include "Xml/XMLReference.h"
#include "Xml/XMLTree.h"
#include "Xml/XMLWriter.h"

using NodePtr = Hux::SmartPtr<OxXMLNode>;

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
  return Resolve(JoinedText(), XMLTree::Document(*this), budget);
}

OxString OxXMLAttrNode::ValueOf(const OxXMLNode& attribute, XMLExpansionBudget& budget) {
  if (typeid(attribute) != typeid(OxXMLAttrNode)) return attribute.GetValue();
  const auto& plain = static_cast<const OxXMLAttrNode&>(attribute);
  return Resolve(plain.JoinedText(), XMLTree::Document(plain), budget);
}

OxString OxXMLAttrNode::Resolve(const OxString& text, const OxXMLDoc* document,
                                XMLExpansionBudget& budget) {
  std::string_view left = text.view();
  std::size_t found = left.find('&');
  if (found == std::string_view::npos) return text;
  const OxXMLDocTypeNode* docType = document == nullptr ? nullptr : document->GetDocType().get();
  budget.AddText(text.size());
  OxString value;
  for (; found != std::string_view::npos; found = left.find('&')) {
    value.append_valid(left.substr(0, found));
    left.remove_prefix(found);
    const std::string_view reference = XMLReference::At(left);
    const std::optional<std::string_view> replacement = XMLReference::Resolve(reference, docType);
    const bool replace = replacement && budget.Take(replacement->size());
    const std::size_t kept = reference.empty() ? 1 : reference.size();
    value.append_valid(replace ? *replacement : left.substr(0, kept));
    left.remove_prefix(kept);
  }
  value.append_valid(left);
  return value;
}

OxString OxXMLAttrNode::GetAsString(int) const {
  OxString text(GetName());
  XMLWriter::AppendValue(text, GetValue().view());
  return text;
}

NodePtr OxXMLAttrNode::CloneSelf() const {
  const Hux::SmartPtr<OxXMLAttrNode> copy = Make(name_, JoinedText());
  copy->CopyFrom(*this);
  return copy;
}
