#pragma once

#include "Xml/OxXMLNode.h"

/// A CDATA section. Deliberate: a line feed behind its opener and the indentation before its end are written,
/// and become data when the text is parsed again; the end is written unescaped where it stands in the data.
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
