#pragma once

#include "Xml/OxXMLName.h"
#include "Xml/OxXMLNode.h"
#include "Xml/XMLLazyText.h"

/// An element. Its value, if one is set, is not written out.
class OxXMLElementNode : public OxXMLNode {
 public:
  /// An element without a document.
  static Hux::SmartPtr<OxXMLElementNode> Make(const OxXMLName& name);
  ~OxXMLElementNode() override;

  NodeType GetNodeType() const override { return kElementNode; }
  const OxString& GetName() const override { return name_.text(); }
  /// A tree is written by one loop: elements below this one are written as this class writes them.
  OxString GetAsString(int indent) const override;
  /// Elements, text, CDATA, processing instructions and comments, but neither this element itself nor
  /// one that holds it.
  bool AllowChild(const Hux::SmartPtr<OxXMLNode>& node) const override;
  Hux::SmartPtr<OxXMLNode> CloneSelf() const override;

  /// Merges every text node below this element into a text node directly before it.
  void Normalize();

 protected:
  /// An element without a document.
  explicit OxXMLElementNode(const OxXMLName& name) : name_(name) {}

 private:
  ChildLinks* Children() override { return &children_; }
  const OxString& ValueText() const override { return value_.Get(); }
  OxString& EditValueText() override { return value_.Edit(); }

  OxXMLName name_;
  ChildLinks children_;
  XMLLazyText value_;
};
