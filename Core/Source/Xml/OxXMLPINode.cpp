#include "Xml/OxXMLPINode.h"

#include "Xml/XMLText.h"

Hux::SmartPtr<OxXMLPINode> OxXMLPINode::Make(const OxXMLName& target, OxString data) {
  return Hux::SmartPtr<OxXMLPINode>::Adopt(new OxXMLPINode(target, std::move(data)));
}

OxString OxXMLPINode::GetAsString(int indent) const {
  std::string text;
  XMLText::AppendInstruction(GetName().view(), data_.view(), indent, text);
  return OxString::from_valid(text);
}

Hux::SmartPtr<OxXMLNode> OxXMLPINode::CloneSelf() const {
  return Copied(Make(target_, data_));
}
