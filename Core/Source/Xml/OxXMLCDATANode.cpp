#include "Xml/OxXMLCDATANode.h"

#include <utility>

#include "Xml/XMLText.h"

Hux::SmartPtr<OxXMLCDATANode> OxXMLCDATANode::Make(OxString text) {
  return Hux::SmartPtr<OxXMLCDATANode>::Adopt(new OxXMLCDATANode(std::move(text)));
}

const OxString& OxXMLCDATANode::GetName() const {
  static const OxString kName = FixedName("#cdata-section");
  return kName;
}

Hux::SmartPtr<OxXMLNode> OxXMLCDATANode::CloneSelf() const {
  return Copied(Make(data()));
}

OxString OxXMLCDATANode::GetAsString(int indent) const {
  std::string text;
  XMLText::AppendCDATA(data().view(), indent, text);
  return OxString::from_valid(text);
}
