#pragma once

#include "Xml/OxXMLCharDataNode.h"

/// A CDATA section.
class OxXMLCDATANode : public OxXMLCharDataNode {
 public:
  /// A node without a document.
  static Hux::SmartPtr<OxXMLCDATANode> Make(OxString text);

  NodeType GetNodeType() const override { return kCDATANode; }
  const OxString& GetName() const override;
  OxString GetAsString(int indent) const override;
  Hux::SmartPtr<OxXMLNode> CloneSelf() const override;

 protected:
  using OxXMLCharDataNode::OxXMLCharDataNode;
};
