#pragma once

#include "Xml/OxXMLCDATANode.h"
#include "Xml/OxXMLCommentNode.h"
#include "Xml/OxXMLDocTypeNode.h"
#include "Xml/OxXMLElementNode.h"
#include "Xml/OxXMLNode.h"
#include "Xml/OxXMLPINode.h"

/// A document: the root of a tree, the maker of its nodes and the owner of the XML declaration's
/// pseudo-attributes. When it dies, nodes of its tree that others hold belong to no document.
class OxXMLDoc : public OxXMLNode {
 public:
  /// An empty document.
  static Hux::SmartPtr<OxXMLDoc> Make();
  ~OxXMLDoc() override;

  NodeType GetNodeType() const override { return kDocumentNode; }
  const OxString& GetName() const override;
  /// Whether the node belongs to this document.
  bool IsDocumentCorrect(const Hux::SmartPtr<OxXMLNode>& node) const override;
  /// Deliberate: begins with a fixed XML declaration, whatever the parsed one said.
  OxString GetAsString(int indent) const override;
  /// Processing instructions, comments and a document type always; an element only while the document
  /// never had one.
  bool AllowChild(const Hux::SmartPtr<OxXMLNode>& node) const override;
  /// Takes note of a root element or a document type.
  void ChildAdded(const Hux::SmartPtr<OxXMLNode>& node) override;
  /// Deliberate: forgets a document type, but never the root element, so that a document refuses a
  /// second element even after the first was removed.
  void ChildRemoved(const Hux::SmartPtr<OxXMLNode>& node) override;
  Hux::SmartPtr<OxXMLNode> CloneSelf() const override;

  /// Makers of nodes that belong to this document and have no parent yet.
  virtual Hux::SmartPtr<OxXMLElementNode> CreateElementNode(const OxXMLName& name);
  /// Its value is `value`, as OxXMLAttrNode::SetValue() takes it.
  Hux::SmartPtr<OxXMLAttrNode> CreateAttrNode(const OxXMLName& name, OxString value);
  Hux::SmartPtr<OxXMLTextNode> CreateTextNode(OxString text);  ///< Any text, unescaped.
  /// What stands between the delimiters. Nothing checks the text of this and the next two: the closing
  /// delimiter inside it is written as it is and ends the node when that is parsed.
  Hux::SmartPtr<OxXMLCDATANode> CreateCDATANode(OxString text);
  Hux::SmartPtr<OxXMLCommentNode> CreateCommentNode(OxString text);                 ///< Without "<!--".
  Hux::SmartPtr<OxXMLPINode> CreatePINode(const OxXMLName& target, OxString data);  ///< Without "<?".
  Hux::SmartPtr<OxXMLDocTypeNode> CreateDocTypeNode(const OxXMLName& name);  ///< Without declarations.

  /// The first element among the children, or null.
  Hux::SmartPtr<OxXMLElementNode> GetRoot() const;
  /// The document type declaration that was added last, or null.
  Hux::SmartPtr<OxXMLDocTypeNode> GetDocType() const { return docType_; }

  /// Attributes of the document itself: those of the XML declaration, after a parse.
  void AddAttribute(const OxString& name, const OxString& value);
  /// Whether there is such an attribute; `out` is its value, or empty.
  bool GetAttributeValue(const OxString& name, OxString& out) const;
  /// Whether the entity is predefined or declared; `out` is its replacement text, or empty.
  bool GetEntityReplacementText(const OxString& name, OxString& out) const;

  /// Clones a node of any document for this one: `out` is the copy, without a parent. 9, and `out` null,
  /// for null, a document and a document type.
  std::int32_t ImportNode(const Hux::SmartPtr<OxXMLNode>& node, bool deep,
                          Hux::SmartPtr<OxXMLNode>& out);
  /// Numbers the document, the attributes of each node in order of names and then its children, from 1,
  /// when anything was added or removed since the last time.
  void Index();

 protected:
  OxXMLDoc();
  /// Makes a new node one of this document; for subclasses that make nodes of their own classes.
  template <typename Node>
  Hux::SmartPtr<Node> Own(Hux::SmartPtr<Node> node) {
    SetDocument(*node, this);
    return node;
  }

 private:
  ChildLinks* Children() override { return &children_; }
  const OxString* DeclaredEntity(std::string_view name) const override {
    return docType_ ? docType_->FindEntity(name) : nullptr;
  }

  ChildLinks children_;
  Hux::SmartPtr<OxXMLNode> root_;
  Hux::SmartPtr<OxXMLDocTypeNode> docType_;
};
