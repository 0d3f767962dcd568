#pragma once

#include "Xml/OxXMLCharDataNode.h"
#include "Xml/OxXMLNode.h"

/// Plain links of a tree for the loops that walk it: no references are counted, and a pointer is good as
/// long as the tree does not change.
struct XMLTree {
  /// Null for the text of an attribute that nobody has asked for as a node.
  static OxXMLNode* FirstChild(const OxXMLNode& node);
  static OxXMLNode* Next(const OxXMLNode& node) { return node.next_.get(); }
  static OxXMLNode* Previous(const OxXMLNode& node) { return node.previous_; }
  static OxXMLNode* Parent(const OxXMLNode& node) { return node.parent_; }
  static const OxXMLNamedNodeMap* Attributes(const OxXMLNode& node) { return node.attributes_.get(); }
  static void SetIndex(OxXMLNode& node, std::uint32_t index) { node.index_ = index; }
  static const OxString& Value(const OxXMLNode& node) { return node.ValueText(); }
  static OxString& EditData(OxXMLCharDataNode& node) { return node.data_; }

  /// The node that follows `node` in document order within the tree below `top`, or null.
  static OxXMLNode* NextBelow(const OxXMLNode& node, const OxXMLNode& top);
  /// The same, but past everything below `node`.
  static OxXMLNode* NextBeside(const OxXMLNode& node, const OxXMLNode& top);
};
