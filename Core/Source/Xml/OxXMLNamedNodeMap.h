#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string_view>
#include <vector>

#include "Foundation/OxString.h"
#include "Foundation/SmartPtr.h"
#include "Xml/OxXMLNode.h"

/// The attributes of a node, unique by name and always in the order of their names (UTF-16 code units),
/// never in that of the source.
///   Owns:  a reference to each attribute. Attributes of a node's own map know that node; an attribute
///          belongs to one node at a time and leaves another when it is set here.
///   Copy:  a copy, like a map made by itself, belongs to no node and shares the attributes. Assigning to a
///          node's own map replaces its content by clones.
///   Cost:  logarithmic in the number of attributes. Item() steps from where it was last, or from either end, which
///          changes do not move: going through in order, changing on the way, is linear, and above 32 attributes a
///          place far from all three costs as many steps as it is away.
class OxXMLNamedNodeMap {
 public:
  OxXMLNamedNodeMap() = default;  ///< Empty, of no node.
  OxXMLNamedNodeMap(const OxXMLNamedNodeMap& other);
  OxXMLNamedNodeMap& operator=(const OxXMLNamedNodeMap& other);
  ~OxXMLNamedNodeMap();  ///< Attributes that live on have no owner.

  /// How many attributes.
  std::size_t Length() const { return large_ ? large_->tree.size() : small_.size(); }
  /// Null when `index` is out of range.
  Hux::SmartPtr<OxXMLNode> Item(std::size_t index) const;
  /// Null when there is none.
  Hux::SmartPtr<OxXMLNode> GetNamedItem(const OxString& name) const;
  /// Inserts an attribute or replaces the one of the same name, which has no owner then. No hook is called.
  /// Deliberate: false, and nothing changed, for null and for a node that is no attribute.
  bool SetNamedItem(const Hux::SmartPtr<OxXMLNode>& node);
  /// The attribute that was removed, or null. No hook is called.
  Hux::SmartPtr<OxXMLNode> RemoveNamedItem(const OxString& name);
  /// Whether `node` itself, not another of its name, was here and was removed.
  bool RemoveItem(const Hux::SmartPtr<OxXMLNode>& node);
  /// A map that belongs to no node and holds clones.
  OxXMLNamedNodeMap Clone() const;

  /// Calls `visit(const Hux::SmartPtr<OxXMLNode>&)` for each attribute in order of names; `visit` must
  /// not change the map.
  template <typename Visitor>
  void ForEach(Visitor visit) const {
    for (const auto& node : small_) visit(node);
    if (large_) {
      for (const auto& entry : large_->tree) visit(entry.second);
    }
  }

 private:
  friend class OxXMLNode;

  struct NameLess {
    bool operator()(std::string_view a, std::string_view b) const;
  };
  using Small = std::vector<Hux::SmartPtr<OxXMLNode>>;
  using Tree = std::map<std::string_view, Hux::SmartPtr<OxXMLNode>, NameLess>;

  // The form for many attributes.
  struct Large {
    Tree tree;  // The keys lie in the names of the nodes, which never change.
    // Where Item() was last time, so that going through it in order needs no search.
    Tree::const_iterator cursor;
    std::size_t cursorIndex = 0;
    bool cursorValid = false;

    Tree::const_iterator Seek(std::size_t index);
    // The cursor stays at its index or its attribute. Before an entry goes, and when one has come.
    void Leaving(Tree::const_iterator entry);
    void Came(Tree::const_iterator entry);
  };

  explicit OxXMLNamedNodeMap(OxXMLNode* owner) : owner_(owner) {}
  Small::const_iterator LowerBound(std::string_view name) const;
  OxXMLNode* Find(std::string_view name) const;
  void InsertSmall(const Hux::SmartPtr<OxXMLNode>& node);
  void InsertLarge(const Hux::SmartPtr<OxXMLNode>& node);
  void BecomeLarge();
  void TakeOver(OxXMLNode& node);
  void LetGo(OxXMLNode& node) const;
  void Changed() const;
  void Clear();

  Small small_;  // Sorted by name; empty once there are many.
  std::unique_ptr<Large> large_;
  OxXMLNode* owner_ = nullptr;
};
