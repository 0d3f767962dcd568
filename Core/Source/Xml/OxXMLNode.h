#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "Foundation/OxString.h"
#include "Foundation/Retainable.h"
#include "Foundation/SmartPtr.h"
#include "Xml/OxXMLDOMException.h"
#include "Xml/OxXMLName.h"
#include "Xml/XMLNodeMemory.h"

class OxXMLAttrNode;
class OxXMLDoc;
class OxXMLNamedNodeMap;
class OxXMLNodeList;
class XMLExpansionBudget;
class XMLPack;

/// Records of a pack that nobody has asked for as nodes; without a pack there are none.
struct XMLPacked {
  const XMLPack* pack = nullptr;  ///< Null for none.
  std::uint32_t begin = 0;        ///< A place in the pack.
  std::uint32_t end = 0;          ///< The place after the last record.
};

/// A node of a document: base of all kinds of nodes. A node has attributes, an attribute is a node, and its value is
/// text nodes: the classes that cannot do without each other share this header.
///   Owns:    its children and its attributes. Parent and document are plain back links. A node without
///            a parent must not outlive its document; one in a tree may, and then belongs to none.
///   Results: operations on the tree return an OxXMLResult and leave the tree unchanged unless it is
///            kOxXMLSuccess. A null child gives kOxXMLHierarchyNotAllowed.
///   Errors:  an operation that throws std::bad_alloc leaves values, attributes and links as they were.
///   Hooks:   ChildAdded(), ChildRemoved(), AttributeChanged() and AttributeRemoved() may change the tree. An
///            operation that calls one goes on with what is there afterwards; where the hook of an old parent has
///            left no place for the child that moves, the result says so, as it does without a hook, and the child
///            stays where the hook left it.
///   Depth:   no operation recurses; trees may be as deep as memory allows.
///   Threads: one for each document, its nodes and what outlives it of them; documents share nothing, whatever was
///            imported, cloned or moved between them. Nodes made without a document, with their clones, belong
///            to one thread until a document takes them.
///   Memory:  nodes that a parser read are made when they are first accessed, so that reading, too, may throw
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
  /// From XMLNodeMemory, as every node of whatever class.
  static void* operator new(std::size_t size) { return XMLNodeMemory::Take(size); }
  static void operator delete(void* memory, std::size_t size) { XMLNodeMemory::Keep(memory, size); }

  virtual NodeType GetNodeType() const = 0;  ///< Never changes.
  /// The tag, the attribute's name, the target, the root element's name, or "#text" and the like.
  /// The reference is good until the node comes into another document.
  virtual const OxString& GetName() const = 0;

  /// Gives an existing attribute the value, else makes one, and then calls AttributeChanged().
  /// Deliberate: an attribute that exists also announces its change itself, so the hook is called twice.
  /// Nothing where OxXMLNamedNodeMap::SetNamedItem() refuses.
  virtual void SetAttribute(const OxString& name, const OxString& value);
  /// Inserts the attribute or replaces the one of its name. An attribute of another node leaves it, and
  /// it belongs to this node's document from now on. Nothing for null, and where SetNamedItem() refuses.
  virtual void SetAttributeNode(const Hux::SmartPtr<OxXMLAttrNode>& attribute);
  /// The text, data or value; what it means is each class's own.
  virtual void SetValue(const OxString& value);
  virtual OxString GetValue() const;  ///< The text that SetValue() set.
  /// Adds a child at the end, out of its old parent if it has one: 4, 3 or 0.
  virtual std::int32_t AppendChild(const Hux::SmartPtr<OxXMLNode>& child);
  /// Whether both nodes belong to the same document, or both to none. An override of this and of AllowChild() may
  /// refuse more, but must not accept what this one refuses.
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
  virtual void ChildRemoved(
      const Hux::SmartPtr<OxXMLNode>& node);  ///< As ChildAdded(), when it has left.
  /// A hook for subclasses, which does nothing here.
  virtual void AttributeChanged(const OxString& name, const OxString& value);
  virtual void AttributeRemoved(const OxString& name);  ///< A hook as AttributeChanged() is.
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
  /// Each of them is then without a parent; what hooks add meanwhile may stay.
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
  /// Null for a node made without a document; a document is its own. A template only to be compiled where
  /// the class is known.
  template <std::same_as<OxXMLDoc> Document = OxXMLDoc>
  Hux::SmartPtr<Document> GetOwnerDocument() const {
    return Hux::make_ref(static_cast<Document*>(document_));
  }

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
  static void SetDocument(OxXMLNode& node, OxXMLNode* document) { node.document_ = document; }
  /// Becomes a node of the document of `source`, unless it is one already.
  void JoinDocumentOf(const OxXMLNode& source);
  /// The same, and copies the value and clones the attributes of `source` into this node, which has none yet.
  void CopyFrom(const OxXMLNode& source);
  /// For CloneSelf(): `copy`, to which CopyFrom() has brought what this class keeps.
  Hux::SmartPtr<OxXMLNode> Copied(const Hux::SmartPtr<OxXMLNode>& copy) const {
    copy->CopyFrom(*this);
    return copy;
  }
  /// Lets go of all children, and of all below them that nobody else holds, without recursion.
  void ReleaseChildren(ChildLinks& children);
  /// For the next OxXMLDoc::Index().
  void MarkIndexDirty() const {
    if (document_ != nullptr) document_->isIndexDirty_ = true;
  }
  /// Adds an attribute that was just made for this node.
  void AddMade(const Hux::SmartPtr<OxXMLNode>& attribute);
  void ReleaseAttributes();  ///< Those that are held elsewhere have no owner then.
  /// Puts a node that has no parent before the child `before`, or at the end for null; no hook is called.
  void Link(Hux::SmartPtr<OxXMLNode> child, OxXMLNode* before);

 private:
  friend struct XMLTree;

  // Where a class that can have children keeps those that are there; null for the others. Children and
  // attributes may be made only when someone asks for them; what is not made yet is packed.
  virtual ChildLinks* Children() { return nullptr; }
  virtual void MakeChildren() {}
  virtual void MakeAttributes() {}
  virtual XMLPacked PackedChildren() const { return {}; }
  virtual XMLPacked PackedAttributes() const { return {}; }
  // Where a class keeps the name that it may share with nodes of its document; null for the others.
  virtual OxXMLName* SharedName() { return nullptr; }
  // The stored text of an entity that a document declares, or null.
  virtual const OxString* DeclaredEntity(std::string_view /*name*/) const { return nullptr; }
  // Where a class keeps the value of SetValue(); here for those that hardly ever have one.
  virtual const OxString& ValueText() const;
  virtual OxString& EditValueText();

  XMLPacked UntouchedAttributes() const {
    return attributes_ == nullptr ? PackedAttributes() : XMLPacked();
  }
  bool IsAttribute() const { return GetNodeType() == kAttributeNode; }
  // Attributes have none of their own, nor has the text in them: so they never nest.
  bool TakesAttributes() const {
    const NodeType type = GetNodeType();
    if (type == kTextNode) return parent_ == nullptr || !parent_->IsAttribute();
    return type != kAttributeNode;
  }
  ChildLinks* AllChildren() const;
  std::int32_t CheckNewChild(const Hux::SmartPtr<OxXMLNode>& child) const;
  bool DocumentDies() const { return document_ != nullptr && document_->dies_; }
  bool ReadAttribute(const OxString& name, XMLExpansionBudget& budget, OxString& out) const;
  bool IsParentOf(const OxXMLNode* node) const;
  OxXMLNamedNodeMap* Attributes() const;
  OxXMLNamedNodeMap& OwnAttributes();  // Those that are made already.
  std::int32_t Move(const Hux::SmartPtr<OxXMLNode>& child, OxXMLNode* before);
  void Unlink(OxXMLNode& child);
  void ChangeAttribute(const OxString& name, const OxString& value, bool quiet);
  void MoveTo(OxXMLNode* document, XMLNames* names = nullptr);
  // Clone(), for a document, or for the one that CloneSelf() chooses where that is null.
  Hux::SmartPtr<OxXMLNode> CloneFor(OxXMLNode* document, bool deep) const;

  // A reference is held by each parent's first child and by each next sibling, so every child is held
  // once and links never form a cycle.
  std::uint32_t line_ = 0;
  OxXMLNode* parent_ = nullptr;  // For an attribute, the node that has it.
  OxXMLNode* document_ = nullptr;
  Hux::SmartPtr<OxXMLNode> next_;
  OxXMLNode* previous_ = nullptr;
  std::unique_ptr<OxXMLNamedNodeMap> attributes_;  // Made when there is a first attribute.
  std::unique_ptr<OxString> value_;                // Made when there is a value.
  std::uint32_t index_ = 0;

 protected:
  bool isIndexDirty_ = false;  ///< Of a document: something has changed since the last Index().
  bool dies_ = false;          ///< Of a document: nodes that it loses belong to none.
};

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

/// The attributes of a node, unique by name and always in the order of their names (UTF-16 code units),
/// never in that of the source.
///   Owns:  a reference to each attribute. Attributes of a node's own map know that node; an attribute
///          belongs to one node at a time and leaves another when it is set here.
///   Copy:  a copy, like a map made by itself, belongs to no node and shares the attributes. Assigning to a
///          node's own map replaces its content by clones.
///   Nests: not at all: an attribute has no attributes, nor has text inside one.
///   Cost:  logarithmic in the number of attributes. Item() steps from where it was last, or from either end, which
///          changes do not move: going through in order, changing on the way, is linear, and above 32 attributes a
///          place far from all three costs as many steps as it is away.
class OxXMLNamedNodeMap {
 public:
  OxXMLNamedNodeMap() = default;  ///< Empty, of no node.
  OxXMLNamedNodeMap(const OxXMLNamedNodeMap& other);
  OxXMLNamedNodeMap& operator=(const OxXMLNamedNodeMap& other);
  ~OxXMLNamedNodeMap();  ///< Attributes that live on have no owner.
  /// As that of OxXMLNode.
  static void* operator new(std::size_t size) { return XMLNodeMemory::Take(size); }
  static void operator delete(void* memory, std::size_t size) { XMLNodeMemory::Keep(memory, size); }

  /// How many attributes.
  std::size_t Length() const { return large_ ? large_->tree.size() : small_.size(); }
  /// Null when `index` is out of range.
  Hux::SmartPtr<OxXMLNode> Item(std::size_t index) const;
  /// Null when there is none.
  Hux::SmartPtr<OxXMLNode> GetNamedItem(const OxString& name) const;
  /// Inserts an attribute or replaces the one of the same name, which has no owner then. No hook is called.
  /// Deliberate: false, and nothing changed, for null, for a node that is not an attribute, and in the map of an
  /// attribute or of text inside one.
  bool SetNamedItem(const Hux::SmartPtr<OxXMLNode>& node);
  /// The attribute that was removed, or null. No hook is called.
  Hux::SmartPtr<OxXMLNode> RemoveNamedItem(const OxString& name);
  /// Whether `node` itself, not another of its name, was here and was removed.
  bool RemoveItem(const Hux::SmartPtr<OxXMLNode>& node);
  /// A map that belongs to no node and holds clones.
  OxXMLNamedNodeMap Clone() const;
  /// The order of the names: below 0, 0 or above. That of OxString::compare(), except that it puts every text
  /// somewhere, also what cannot become UTF-16.
  static int CompareNames(std::string_view a, std::string_view b);

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
    using is_transparent = void;
    static std::string_view View(std::string_view name) { return name; }
    static std::string_view View(const OxXMLName& name) { return name.text().view(); }
    bool operator()(const auto& a, const auto& b) const { return CompareNames(View(a), View(b)) < 0; }
  };
  using Small = std::vector<Hux::SmartPtr<OxXMLNode>>;
  using Tree = std::map<OxXMLName, Hux::SmartPtr<OxXMLNode>, NameLess>;

  // The form for many attributes.
  struct Large {
    Tree tree;  // A key outlives the name of its node, which gets another one in another document.
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
  Small::iterator LowerBound(std::string_view name);
  OxXMLNode* Find(std::string_view name) const;
  static OxXMLName NameOf(OxXMLNode& node);
  // Each returns the attribute that was replaced, or null. `name` is the node's.
  Hux::SmartPtr<OxXMLNode> Insert(const Hux::SmartPtr<OxXMLNode>& node, const OxXMLName& name);
  Hux::SmartPtr<OxXMLNode> InsertSmall(const Hux::SmartPtr<OxXMLNode>& node, std::string_view name);
  Hux::SmartPtr<OxXMLNode> InsertLarge(const Hux::SmartPtr<OxXMLNode>& node, const OxXMLName& name);
  void BecomeLarge();
  void Adopt(const Hux::SmartPtr<OxXMLNode>& node);
  void Rename(XMLNames& names);
  void LetGo(OxXMLNode& node) const;

  Small small_;  // Sorted by name; empty once there are many.
  std::unique_ptr<Large> large_;
  OxXMLNode* owner_ = nullptr;
};

/// An attribute. Its value is the joined text of its children, which are text nodes, with references to
/// entities of the document replaced.
class OxXMLAttrNode : public OxXMLNode {
 public:
  /// An attribute without a document.
  static Hux::SmartPtr<OxXMLAttrNode> Make(const OxXMLName& name, OxString value = OxString());
  ~OxXMLAttrNode() override;

  NodeType GetNodeType() const override { return kAttributeNode; }
  const OxString& GetName() const override { return name_.text(); }
  /// Replaces all children by one text node and calls the owner's AttributeChanged(). References are
  /// replaced by GetValue(), which need not give `value` then: "&amp;lt;" keeps "&lt;".
  void SetValue(const OxString& value) override;
  /// The text of the children with every reference "&name;" replaced in one pass: replacement text is
  /// not looked at again, and what does not resolve, or would exceed XMLExpansionBudget, stays as it is.
  /// Every call has a budget of its own. The five predefined names resolve without a document.
  OxString GetValue() const override;
  OxString GetAsString(int indent) const override;
  /// Deliberate: the copy has the whole text in one child, however many the original has.
  Hux::SmartPtr<OxXMLNode> CloneSelf() const override;
  /// Text nodes without attributes only.
  bool AllowChild(const Hux::SmartPtr<OxXMLNode>& node) const override;

  /// SetValue() without the call of AttributeChanged().
  virtual void SetValueQuiet(const OxString& value);
  /// As SetValueQuiet().
  void SetUnparsedValue(const OxString& value);

  /// The value of an attribute for an operation that reads many of them and has one budget for all. An
  /// attribute of a derived class is asked by GetValue(), and has its own.
  static OxString ValueOf(const OxXMLNode& attribute, XMLExpansionBudget& budget);
  /// `text` with its references replaced, as GetValue() does it; `document` may be null.
  static OxString Resolve(std::string_view text, const OxXMLNode* document, XMLExpansionBudget& budget);

  /// The node that has this attribute, or null.
  Hux::SmartPtr<OxXMLNode> GetOwner() const;

 protected:
  /// An attribute without a document.
  OxXMLAttrNode(const OxXMLName& name, OxString value);

 private:
  ChildLinks* Children() override { return children_.get(); }
  void MakeChildren() override;
  OxXMLName* SharedName() override { return &name_; }
  const OxString& ValueText() const override { return text_; }
  OxString& EditValueText() override { return text_; }
  OxString JoinedText() const;
  OxString OwnValue(XMLExpansionBudget& budget) const;
  void ReplaceText(const OxString& value);

  OxXMLName name_;
  // The one text that an attribute almost always has becomes a node only when someone asks for children;
  // from then on they hold the text.
  OxString text_;
  std::unique_ptr<ChildLinks> children_;
};

/// Character data: base of text, CDATA sections and comments.
///   Units:  offsets and counts are characters, zeros included; a count past the end is cut to the end.
///   Errors: OxXMLDOMException(1) for a negative offset or count and for an offset that is not below the
///           length. Deliberate: so nothing can be inserted at the very end; that is AppendData()'s job.
class OxXMLCharDataNode : public OxXMLNode {
 public:
  std::uint32_t GetLength() const { return part_ ? part_->length : data_.length(); }  ///< Characters.
  /// Up to `count` characters from `offset`.
  OxString GetSubstring(OxString::Index offset, OxString::Index count) const;
  void AppendData(const OxString& text) { EditValueText() += text; }  ///< At the end.
  /// Puts `text` in front of the character at `offset`.
  void InsertData(OxString::Index offset, const OxString& text);
  /// Removes up to `count` characters.
  void DeleteData(OxString::Index offset, OxString::Index count);
  /// Puts `text` in the place of up to `count` characters.
  void ReplaceData(OxString::Index offset, OxString::Index count, const OxString& text);

 protected:
  /// A node without a document.
  explicit OxXMLCharDataNode(OxString data) : data_(std::move(data)) {}
  const OxString& data() const { return ValueText(); }  ///< The whole text.
  /// Moves what is behind so many characters into `tail`, which is empty. Both have the old text in common then,
  /// without a copy, until one is read or changed.
  void SplitOff(OxString::Index offset, OxXMLCharDataNode& tail);
  /// `count` characters from `offset`, which are there.
  OxString Part(OxString::Index offset, OxString::Index count) const;

 private:
  // A text of which several nodes have a part.
  struct Whole : Hux::Retainable {
    OxString text;
  };
  struct OfWhole {
    Hux::SmartPtr<Whole> whole;
    std::string_view bytes;
    std::uint32_t length;
  };

  const OxString& ValueText() const override;
  OxString& EditValueText() override;
  OxString::Index CheckRange(OxString::Index offset, OxString::Index count) const;

  mutable OxString data_;  // Empty while there is a part.
  mutable std::unique_ptr<OfWhole> part_;
};

/// Text between the tags of an element, or the value of an attribute.
class OxXMLTextNode : public OxXMLCharDataNode {
 public:
  /// A node without a document.
  static Hux::SmartPtr<OxXMLTextNode> Make(OxString text);

  NodeType GetNodeType() const override { return kTextNode; }
  const OxString& GetName() const override;
  OxString GetAsString(int indent) const override;
  Hux::SmartPtr<OxXMLNode> CloneSelf() const override;

  /// Keeps the first `offset` characters (0 up to the length, else OxXMLDOMException(1)) and moves the
  /// rest into a new text node right after this one, which is returned. Without a parent it stands alone,
  /// and so does the new one where AllowChild() of the parent refuses it.
  Hux::SmartPtr<OxXMLTextNode> SplitText(OxString::Index offset);

 protected:
  using OxXMLCharDataNode::OxXMLCharDataNode;
};

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
  /// The same as far as they are made.
  static OxXMLNamedNodeMap* MadeAttributes(const OxXMLNode& node) { return node.attributes_.get(); }
  /// The attributes while none of them was asked for.
  static XMLPacked PackedAttributes(const OxXMLNode& node) { return node.UntouchedAttributes(); }
  /// The children while none of them was asked for.
  static XMLPacked PackedChildren(const OxXMLNode& node) {
    return FirstMade(node) == nullptr ? node.PackedChildren() : XMLPacked();
  }
  /// Null for a node that belongs to none.
  static OxXMLNode* Document(const OxXMLNode& node) { return node.document_; }
  /// What an entity that the document declares stands for, or null. `document` may be null.
  static const OxString* FindEntity(const OxXMLNode* document, std::string_view name) {
    return document == nullptr ? nullptr : document->DeclaredEntity(name);
  }
  /// Of the node and all that is below it and its attributes.
  static void MoveTo(OxXMLNode& node, OxXMLNode* document) { node.MoveTo(document); }
  /// A clone with names of its own.
  static Hux::SmartPtr<OxXMLNode> CloneFor(OxXMLNode& document, const OxXMLNode& node, bool deep) {
    return node.CloneFor(&document, deep);
  }
  /// Where the node is an attribute.
  static void SetParent(OxXMLNode& node, OxXMLNode* parent) { node.parent_ = parent; }
  /// Whether it may have attributes.
  static bool TakesAttributes(const OxXMLNode& node) { return node.TakesAttributes(); }
  /// The name that it may share with other nodes, or null.
  static OxXMLName* SharedName(OxXMLNode& node) { return node.SharedName(); }
  /// Whether the node's document is being destroyed.
  static bool DocumentDies(const OxXMLNode& node) { return node.DocumentDies(); }
  /// Makes the next OxXMLDoc::Index() number the document anew.
  static void MarkIndexDirty(const OxXMLNode& node) { node.MarkIndexDirty(); }
  /// What OxXMLNode::GetIndex() answers.
  static void SetIndex(OxXMLNode& node, std::uint32_t index) { node.index_ = index; }
  /// What SetValue() set, unresolved.
  static const OxString& Value(const OxXMLNode& node) { return node.ValueText(); }
  /// The same, to be changed.
  static OxString& EditValue(OxXMLNode& node) { return node.EditValueText(); }

  /// The node that follows `node` in document order within the tree below `top`, or null.
  static OxXMLNode* NextBelow(const OxXMLNode& node, const OxXMLNode& top);
  /// The same among the nodes that are made already.
  static OxXMLNode* NextMade(const OxXMLNode& node, const OxXMLNode& top);
};
