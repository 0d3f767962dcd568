#pragma once

#include <memory>
#include <string_view>

#include "Xml/OxXMLName.h"
#include "Xml/OxXMLNode.h"

class XMLExpansionBudget;

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
  /// Text nodes only.
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
