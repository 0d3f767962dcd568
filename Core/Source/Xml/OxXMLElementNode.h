#pragma once

#include "Xml/OxXMLName.h"
#include "Xml/OxXMLNode.h"
#include "Xml/XMLPack.h"

/// An element. Its value, if one is set, is not written out.
class OxXMLElementNode : public OxXMLNode {
 public:
  /// An element without a document.
  static Hux::SmartPtr<OxXMLElementNode> Make(const OxXMLName& name);
  /// The node of a record in `pack`, of whatever kind, without a parent; an element makes the nodes inside when
  /// somebody asks. `document` may be null.
  static Hux::SmartPtr<OxXMLNode> Unpack(const Hux::SmartPtr<XMLPack>& pack,
                                         const XMLPack::Record& record, OxXMLNode* document);
  ~OxXMLElementNode() override;

  NodeType GetNodeType() const override { return kElementNode; }
  const OxString& GetName() const override { return name_.text(); }
  /// A tree is written by one loop: elements below this one are written as this class writes them.
  OxString GetAsString(int indent) const override;
  /// Elements, text, CDATA, processing instructions and comments, but neither this element itself nor
  /// one that holds it.
  bool AllowChild(const Hux::SmartPtr<OxXMLNode>& node) const override;
  Hux::SmartPtr<OxXMLNode> CloneSelf() const override;

  /// Merges every text node below this element into a text node directly before it. When memory runs
  /// out, what was merged stays so, and no text is lost.
  void Normalize();

 protected:
  /// An element without a document.
  explicit OxXMLElementNode(const OxXMLName& name) : name_(name) {}

 private:
  void SetInside(const Hux::SmartPtr<XMLPack>& pack, const XMLPack::Record& record);
  ChildLinks* Children() override { return &children_; }
  OxXMLName* SharedName() override { return &name_; }
  void MakeChildren() override;
  void MakeAttributes() override;
  XMLPacked PackedChildren() const override;
  XMLPacked PackedAttributes() const override;
  template <typename Set>
  void MakeUpTo(XMLPack::Place& place, XMLPack::Place end, Set set);

  OxXMLName name_;
  ChildLinks children_;
  // What is not made yet; null when there is nothing.
  Hux::SmartPtr<XMLPack> pack_;
  std::uint32_t packedLine_ = 0;  // From which the lines of what is inside count.
  XMLPack::Place attributesAt_ = 0;
  XMLPack::Place attributesEnd_ = 0;
  XMLPack::Place childrenAt_ = 0;
  XMLPack::Place childrenEnd_ = 0;
};
