#include "Xml/XMLTree.h"

OxXMLNode* XMLTree::FirstChild(const OxXMLNode& node) {
  // Children() only looks.
  OxXMLNode::ChildLinks* children = const_cast<OxXMLNode&>(node).Children();
  return children == nullptr ? nullptr : children->first.get();
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
