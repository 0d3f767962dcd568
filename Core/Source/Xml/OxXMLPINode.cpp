#include "Xml/OxXMLPINode.h"

#include "Xml/XMLWriter.h"

Hux::SmartPtr<OxXMLPINode> OxXMLPINode::Make(const OxXMLName& target, OxString data) {
  return Hux::SmartPtr<OxXMLPINode>::Adopt(new OxXMLPINode(target, std::move(data)));
}

OxString OxXMLPINode::GetAsString(int indent) const {
  OxString text("\n");
  XMLWriter::AppendIndent(text, indent);
  text.append_valid("<?");
  text += GetName();
  text.append_valid(" ");
  text += data_;
  text.append_valid("?>");
  return text;
}

Hux::SmartPtr<OxXMLNode> OxXMLPINode::CloneSelf() const {
  const Hux::SmartPtr<OxXMLPINode> copy = Make(target_, data_);
  copy->CopyFrom(*this);
  return copy;
}
