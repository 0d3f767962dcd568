#pragma once

#include "Xml/OxXMLNode.h"

/// Plain links of a tree for the loops that walk it: no references are counted, and a pointer is good as
/// long as the tree does not change.
struct XMLTree {
  /// Null for the text of an attribute that nobody has asked for as a node.
  static OxXMLNode* FirstChild(const OxXMLNode& node);
  /// Null, too, for children that nobody has asked for.
  static OxXMLNode* FirstMade(const OxXMLNode& node);
  static OxXMLNode* Next(const OxXMLNode& node) { return node.next_.get(); }  ///< Null for the last one.
  /// Null for the first one.
  static OxXMLNode* Previous(const OxXMLNode& node) { return node.previous_; }
  /// For an attribute, the node that has it.
  static OxXMLNode* Parent(const OxXMLNode& node) { return node.parent_; }
  /// Null when there never was one.
  static const OxXMLNamedNodeMap* Attributes(const OxXMLNode& node) { return node.Attributes(); }
  /// Null for a node that belongs to none.
  static OxXMLDoc* Document(const OxXMLNode& node) { return node.document_; }
  /// Of the node and all that is below it and its attributes.
  static void MoveTo(OxXMLNode& node, OxXMLDoc* document) { node.MoveTo(document); }
  /// Where the node is an attribute.
  static void SetParent(OxXMLNode& node, OxXMLNode* parent) { node.parent_ = parent; }
  /// Whether the node's document is being destroyed.
  static bool DocumentDies(const OxXMLNode& node) { return node.DocumentDies(); }
  /// Makes the next GetIndex() count anew.
  static void MarkIndexDirty(const OxXMLNode& node) { node.MarkIndexDirty(); }
  /// What OxXMLNode::GetIndex() answers.
  static void SetIndex(OxXMLNode& node, std::uint32_t index) { node.index_ = index; }
  /// What SetValue() set, unresolved.
  static const OxString& Value(const OxXMLNode& node) { return node.ValueText(); }

  /// The node that follows `node` in document order within the tree below `top`, or null.
  static OxXMLNode* NextBelow(const OxXMLNode& node, const OxXMLNode& top);
  /// The same among the nodes that are made already.
  static OxXMLNode* NextMade(const OxXMLNode& node, const OxXMLNode& top);
  /// The same, but past everything below `node`.
  static OxXMLNode* NextBeside(const OxXMLNode& node, const OxXMLNode& top);
};
