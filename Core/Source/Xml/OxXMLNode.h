#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "Foundation/OxString.h"
#include "Foundation/Retainable.h"
#include "Foundation/SmartPtr.h"
#include "Xml/OxXMLDOMException.h"

class OxXMLAttrNode;
class OxXMLDoc;
class OxXMLNamedNodeMap;
class OxXMLNode;
class OxXMLNodeList;
class XMLExpansionBudget;

/// A node of a document: base of all kinds of nodes.
///   Owns:    its children and its attributes. Parent and document are plain back links. A node without
///            a parent must not outlive its document; one in a tree may, and then belongs to none.
///   Results: operations on the tree return an OxXMLResult and leave the tree unchanged unless it is
///            kOxXMLSuccess. A null child gives kOxXMLHierarchyNotAllowed.
///   Depth:   no operation recurses; trees may be as deep as memory allows.
///   Threads: one for each document and what belongs to it; documents know nothing of each other. Nodes
///            without a document belong to the thread that uses them.
///   Memory:  nodes that a parser read are made when somebody asks for them, so that asking, too, may throw
///            std::bad_alloc; what was made stays.
class OxXMLNode : public Hux::Retainable {
 public:
  /// The numbers of the W3C's DOM Level 1.
  enum NodeType : std::int32_t {
    kElementNode = 1,
    kAttributeNode = 2,
    kTextNode = 3,
    kCDATANode = 4,
    kPINode = 7,
    kCommentNode = 8,
    kDocumentNode = 9,
    kDocTypeNode = 10,
  };

  ~OxXMLNode() override;

  virtual NodeType GetNodeType() const = 0;  ///< Never changes.
  /// The tag, the attribute's name, the target, the root element's name, or "#text" and the like.
  virtual const OxString& GetName() const = 0;

  /// Gives an existing attribute the value, else makes one, and then calls AttributeChanged().
  /// Deliberate: an attribute that exists also announces its change itself, so the hook is called twice.
  virtual void SetAttribute(const OxString& name, const OxString& value);
  /// Inserts the attribute or replaces the one of its name. An attribute of another node leaves it, and
  /// it belongs to this node's document from now on. Nothing for null.
  virtual void SetAttributeNode(const Hux::SmartPtr<OxXMLAttrNode>& attribute);
  /// The text, data or value; what it means is each class's own.
  virtual void SetValue(const OxString& value);
  virtual OxString GetValue() const;  ///< The text that SetValue() set.
  /// Adds a child at the end, out of its old parent if it has one: 4, 3 or 0.
  virtual std::int32_t AppendChild(const Hux::SmartPtr<OxXMLNode>& child);
  /// Whether both nodes belong to the same document, or both to none.
  virtual bool IsDocumentCorrect(const Hux::SmartPtr<OxXMLNode>& node) const;
  /// The node as XML text. `indent` is the nesting depth, two spaces each, or negative for none at all
  /// depths. Throws std::bad_alloc for a text of 4 GiB or more. Deliberate: a tree is written by one loop,
  /// which asks elements and documents inside it for no text of their own, so that their overrides count
  /// only at the top; other nodes and attributes are asked.
  virtual OxString GetAsString(int indent) const;
  /// Whether this kind of node takes that kind of child, there and now.
  virtual bool AllowChild(const Hux::SmartPtr<OxXMLNode>& node) const;
  /// Called when `node` has become a child. An override calls this one, which keeps Index() right.
  virtual void ChildAdded(const Hux::SmartPtr<OxXMLNode>& node);
  virtual void ChildRemoved(const Hux::SmartPtr<OxXMLNode>& node);  ///< Likewise, when it has left.
  /// Hooks for subclasses; they do nothing here.
  virtual void AttributeChanged(const OxString& name, const OxString& value);
  virtual void AttributeRemoved(const OxString& name);  ///< Likewise.
  /// A copy with value and clones of the attributes, of the same document, without parent, line and
  /// children (an attribute's text counts as its value). A document's copy is a document of its own.
  virtual Hux::SmartPtr<OxXMLNode> CloneSelf() const = 0;

  /// Puts `child` before `reference`: 8, 4, 3 or 0, checked in this order. Nothing moves when both are the
  /// same child.
  std::int32_t InsertChildBefore(const Hux::SmartPtr<OxXMLNode>& child,
                                 const Hux::SmartPtr<OxXMLNode>& reference);
  /// Puts `newChild` in the place of `oldChild`: 4, 3, 8 or 0, in this order. Nothing moves when both are
  /// the same. Deliberate: so 3 for an element in the place of a document's root.
  std::int32_t ReplaceChild(const Hux::SmartPtr<OxXMLNode>& newChild,
                            const Hux::SmartPtr<OxXMLNode>& oldChild);
  /// Whether `child` was a child of this node; it has no parent and no siblings afterwards.
  bool RemoveChild(Hux::SmartPtr<OxXMLNode> child);
  /// Each of them is then without a parent.
  void RemoveAllChildren();
  bool HasChildNodes() const;  ///< Attributes do not count.
  /// Appends the children in order.
  void GetChildren(OxXMLNodeList& list) const;

  Hux::SmartPtr<OxXMLNode> GetFirstChild() const;                    ///< Null when there is none.
  Hux::SmartPtr<OxXMLNode> GetLastChild() const;                     ///< Null when there is none.
  Hux::SmartPtr<OxXMLNode> GetNextSibling() const { return next_; }  ///< Null for the last one.
  /// Null for the first one.
  Hux::SmartPtr<OxXMLNode> GetPreviousSibling() const { return Hux::make_ref(previous_); }
  /// Null for an attribute: the node that has it is its GetOwner().
  Hux::SmartPtr<OxXMLNode> GetParent() const;
  /// Null for a node made without a document; a document is its own.
  Hux::SmartPtr<OxXMLDoc> GetOwnerDocument() const;

  /// As SetAttribute(), but no hook is called.
  void SetAttributeQuiet(const OxString& name, const OxString& value);
  /// Removes the attribute and then calls AttributeRemoved(). Nothing, no call either, when there is none.
  void RemoveAttribute(const OxString& name);
  void RemoveAttributeQuiet(const OxString& name);  ///< Without the hook.
  /// Whether there is such an attribute; `out` is its value, or empty.
  bool GetAttribute(const OxString& name, OxString& out) const;
  OxString GetAttribute(const OxString& name) const;
  /// Null when there is none.
  Hux::SmartPtr<OxXMLAttrNode> GetAttributeNode(const OxString& name) const;
  /// Whether it was this node's; it has no owner afterwards. No hook is called.
  bool RemoveAttributeNode(const Hux::SmartPtr<OxXMLAttrNode>& attribute);
  /// Live: what is set there is set here. The const one gives, where there never was an attribute, an empty
  /// map that stays empty when one is set later.
  const OxXMLNamedNodeMap& GetAttributes() const;
  OxXMLNamedNodeMap& GetAttributes();

  /// Appends the elements below this node in document order whose name equals `name` exactly; "*" stands
  /// for every name.
  void GetElementsByTagName(const OxString& name, OxXMLNodeList& list) const;
  /// The first element, this node included, whose attribute "id" equals `id`, or null. Entities in the
  /// values have one XMLExpansionBudget for the whole search.
  Hux::SmartPtr<OxXMLNode> GetElementByID(const OxString& id) const;
  /// CloneSelf(), with clones of everything below this node when `deep`.
  Hux::SmartPtr<OxXMLNode> Clone(bool deep) const;

  /// Place in the document order, from 1, as of the last OxXMLDoc::Index().
  std::uint32_t GetIndex() const { return index_; }
  /// The line on which the parser found the node, from 1; 0 for nodes made by program code.
  std::uint32_t GetLine() const { return line_; }
  void SetLine(std::uint32_t line) { line_ = line; }  ///< 0 for none.

  /// `indent` times two spaces and then `text`; `text` alone when `indent` is negative.
  static OxString IndentString(int indent, const OxString& text);
  /// Replaces < > & " ' by references, and line feed, carriage return and tab too if asked for.
  static OxString Escape(const OxString& text, bool escapeWhitespace);

 protected:
  /// The ends of a list of children.
  struct ChildLinks {
    Hux::SmartPtr<OxXMLNode> first;  ///< Holds the rest through its siblings.
    OxXMLNode* last = nullptr;       ///< Not owned.
  };

  OxXMLNode();
  /// A name for all nodes of a class, which threads may share: it has its UTF-16 form already.
  static OxString FixedName(const char* name);
  /// Of the node alone.
  static void SetDocument(OxXMLNode& node, OxXMLDoc* document) { node.document_ = document; }
  /// Becomes a node of the document of `source`, unless it is one already.
  void JoinDocumentOf(const OxXMLNode& source);
  /// The same, and clones the attributes of `source` into this node, which has none yet.
  void CopyFrom(const OxXMLNode& source);
  /// Lets go of all children, and of all below them that nobody else holds, without recursion.
  void ReleaseChildren(ChildLinks& children);
  void MarkIndexDirty() const;  ///< For the next OxXMLDoc::Index().
  /// The attributes that are made already.
  OxXMLNamedNodeMap& OwnAttributes();
  void ReleaseAttributes();  ///< Those that are held elsewhere have no owner then.
  /// Puts a node that has no parent before the child `before`, or at the end for null; no hook is called.
  void Link(const Hux::SmartPtr<OxXMLNode>& child, OxXMLNode* before);

 private:
  friend struct XMLTree;

  // Where a class that can have children keeps those that are there; null for the others. Children and
  // attributes may be made only when someone asks for them, which the other two do.
  virtual ChildLinks* Children() { return nullptr; }
  virtual void MakeChildren() {}
  virtual void MakeAttributes() {}
  // Whether attributes are still to be made; `text` is what the one of that name holds, if there is one.
  virtual bool FindPacked(std::string_view /*name*/, std::optional<std::string_view>& /*text*/) const {
    return false;
  }
  // Where a class keeps the value of SetValue().
  virtual const OxString& ValueText() const = 0;
  virtual OxString& EditValueText() = 0;

  ChildLinks* AllChildren() const;
  std::int32_t CheckNewChild(const Hux::SmartPtr<OxXMLNode>& child) const;
  bool DocumentDies() const;
  bool ReadAttribute(const OxString& name, XMLExpansionBudget& budget, OxString& out) const;
  bool IsParentOf(const OxXMLNode* node) const;
  OxXMLNamedNodeMap* Attributes() const;
  void Move(const Hux::SmartPtr<OxXMLNode>& child, OxXMLNode* before);
  void Unlink(OxXMLNode& child);
  void ChangeAttribute(const OxString& name, const OxString& value, bool quiet);
  void MoveTo(OxXMLDoc* document);

  // A reference is held by each parent's first child and by each next sibling, so every child is held
  // once and links never form a cycle.
  std::uint32_t line_ = 0;
  OxXMLNode* parent_ = nullptr;  // For an attribute, the node that has it.
  OxXMLDoc* document_ = nullptr;
  Hux::SmartPtr<OxXMLNode> next_;
  OxXMLNode* previous_ = nullptr;
  std::unique_ptr<OxXMLNamedNodeMap> attributes_;  // Made when there is a first attribute.
  std::uint32_t index_ = 0;
};
