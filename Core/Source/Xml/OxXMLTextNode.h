#pragma once

#include "Xml/OxXMLCharDataNode.h"

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
  /// rest into a new text node right after this one, which is returned. Without a parent it stands alone.
  Hux::SmartPtr<OxXMLTextNode> SplitText(OxString::Index offset);

 protected:
  using OxXMLCharDataNode::OxXMLCharDataNode;
};
