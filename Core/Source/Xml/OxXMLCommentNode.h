#pragma once

#include "Xml/OxXMLNode.h"

/// A comment; the value is what stands between the delimiters. Deliberate: its text is written unescaped, and
/// it goes on in the current line, so that its indentation becomes text when it is parsed again behind text.
class OxXMLCommentNode : public OxXMLCharDataNode {
 public:
  /// A node without a document.
  static Hux::SmartPtr<OxXMLCommentNode> Make(OxString text);

  NodeType GetNodeType() const override { return kCommentNode; }
  const OxString& GetName() const override;
  OxString GetAsString(int indent) const override;
  Hux::SmartPtr<OxXMLNode> CloneSelf() const override;

 protected:
  using OxXMLCharDataNode::OxXMLCharDataNode;
};
