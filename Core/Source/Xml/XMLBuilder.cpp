#include "Xml/XMLBuilder.h"

#include <typeinfo>
#include <utility>

using NodePtr = Hux::SmartPtr<OxXMLNode>;

XMLBuilder::XMLBuilder(OxXMLDoc& document, std::size_t textBytes)
    : document_(document),
      packs_(typeid(document) == typeid(OxXMLDoc)),
      pack_(Hux::SmartPtr<XMLPack>::Adopt(new XMLPack(textBytes))) {}

// An attribute or a child counts as a change also where its element never arrives.
XMLBuilder::~XMLBuilder() {
  if (hasChanged_) XMLTree::MarkIndexDirty(document_);
}

std::string_view XMLBuilder::OpenName() const {
  return packs_ ? pack_->Names().Text(open_.back().name) : nodes_.back()->GetName().view();
}

void XMLBuilder::StartElement(std::string_view name, std::uint32_t line) {
  const std::uint32_t number = pack_->Names().NumberOf(name);
  if (packs_) {
    const std::uint32_t above = open_.empty() ? 0 : open_.back().line;
    open_.push_back({pack_->Begin(line - above, number), line, number});
  } else {
    nodes_.push_back(document_.CreateElementNode(pack_->Names().Name(number)));
    nodes_.back()->SetLine(line);
  }
}

void XMLBuilder::StartAttribute(std::string_view name, std::uint32_t line) {
  attributeName_ = pack_->Names().NumberOf(name);
  attributeLine_ = line;
}

void XMLBuilder::EndAttribute(std::string_view value) {
  if (packs_) return Pack(OxXMLNode::kAttributeNode, attributeLine_, attributeName_, value);
  const auto attribute =
      document_.CreateAttrNode(pack_->Names().Name(attributeName_), OxString::from_valid(value));
  attribute->SetLine(attributeLine_);
  nodes_.back()->SetAttributeNode(attribute);
}

void XMLBuilder::EndElement() {
  NodePtr element;
  if (packs_) {
    const Open ended = open_.back();
    open_.pop_back();
    pack_->End(ended.inside);
    hasChanged_ = true;
    if (!open_.empty()) return;
    element = OxXMLElementNode::Unpack(
        pack_, {OxXMLNode::kElementNode, ended.line, ended.name, ended.inside, pack_->Size()},
        &document_);
  } else {
    element = nodes_.back();
    nodes_.pop_back();
  }
  Parent().AppendChild(element);
}

void XMLBuilder::Pack(OxXMLNode::NodeType kind, std::uint32_t line, std::uint32_t name,
                      std::string_view text) {
  hasChanged_ = true;
  pack_->Add(static_cast<std::uint32_t>(kind), line - open_.back().line, name, text);
}

void XMLBuilder::Add(OxXMLNode::NodeType kind, std::string_view name, std::string_view text,
                     std::uint32_t line) {
  const std::uint32_t number = kind == OxXMLNode::kPINode ? pack_->Names().NumberOf(name) : 0;
  if (!open_.empty()) return Pack(kind, line, number, text);
  OxString value = OxString::from_valid(text);
  switch (kind) {
    case OxXMLNode::kTextNode:
      return Append(document_.CreateTextNode(std::move(value)), line);
    case OxXMLNode::kCDATANode:
      return Append(document_.CreateCDATANode(std::move(value)), line);
    case OxXMLNode::kCommentNode:
      return Append(document_.CreateCommentNode(std::move(value)), line);
    default:
      return Append(document_.CreatePINode(pack_->Names().Name(number), std::move(value)), line);
  }
}

void XMLBuilder::Append(const NodePtr& node, std::uint32_t line) {
  node->SetLine(line);
  Parent().AppendChild(node);
}

// Where nodes are made at once, the innermost open element.
OxXMLNode& XMLBuilder::Parent() const {
  if (nodes_.empty()) return document_;
  return *nodes_.back();
}
