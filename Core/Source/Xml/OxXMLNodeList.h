#pragma once

#include <cstddef>
#include <vector>

#include "Foundation/SmartPtr.h"
#include "Xml/OxXMLNode.h"

/// Nodes in the order in which they were added; a snapshot that does not follow the tree.
class OxXMLNodeList {
 public:
  std::size_t Length() const { return nodes_.size(); }  ///< How many nodes.
  /// Null when `index` is out of range.
  Hux::SmartPtr<OxXMLNode> Item(std::size_t index) const {
    return index < nodes_.size() ? nodes_[index] : nullptr;
  }
  /// At the end; null is allowed.
  void Add(const Hux::SmartPtr<OxXMLNode>& node) { nodes_.push_back(node); }
  void Clear() { nodes_.clear(); }  ///< Lets go of all nodes.

 private:
  std::vector<Hux::SmartPtr<OxXMLNode>> nodes_;
};
