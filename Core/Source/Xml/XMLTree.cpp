#include "Xml/XMLTree.h"

namespace {

OxXMLNode* First(const auto* children) {
  return children == nullptr ? nullptr : children->first.get();
}

}  // namespace

OxXMLNode* XMLTree::FirstChild(const OxXMLNode& node) {
  return node.GetNodeType() == OxXMLNode::kAttributeNode ? FirstMade(node) : First(node.AllChildren());
}

OxXMLNode* XMLTree::FirstMade(const OxXMLNode& node) {
  return First(const_cast<OxXMLNode&>(node).Children());  // Which only looks.
}

OxXMLNode* XMLTree::NextBeside(const OxXMLNode& node, const OxXMLNode& top) {
  for (const OxXMLNode* at = &node; at != &top; at = at->parent_) {
    if (OxXMLNode* next = at->next_.get()) return next;
  }
  return nullptr;
}

OxXMLNode* XMLTree::NextBelow(const OxXMLNode& node, const OxXMLNode& top) {
  OxXMLNode* first = FirstChild(node);
  return first != nullptr ? first : NextBeside(node, top);
}

OxXMLNode* XMLTree::NextMade(const OxXMLNode& node, const OxXMLNode& top) {
  OxXMLNode* first = FirstMade(node);
  return first != nullptr ? first : NextBeside(node, top);
}
