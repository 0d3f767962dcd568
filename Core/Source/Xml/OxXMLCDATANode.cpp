#include "Xml/OxXMLCDATANode.h"

#include <utility>

#include "Xml/XMLWriter.h"

Hux::SmartPtr<OxXMLCDATANode> OxXMLCDATANode::Make(OxString text) {
  return Hux::SmartPtr<OxXMLCDATANode>::Adopt(new OxXMLCDATANode(std::move(text)));
}

const OxString& OxXMLCDATANode::GetName() const {
  static const OxString kName = FixedName("#cdata-section");
  return kName;
}

Hux::SmartPtr<OxXMLNode> OxXMLCDATANode::CloneSelf() const {
  const Hux::SmartPtr<OxXMLCDATANode> copy = Make(data());
  copy->CopyFrom(*this);
  return copy;
}

// The line feeds become part of the data when the text is parsed again.
OxString OxXMLCDATANode::GetAsString(int indent) const {
  OxString text("\n");
  XMLWriter::AppendIndent(text, indent);
  text.append_valid("<![CDATA[\n");
  text += data();
  XMLWriter::AppendIndent(text, indent);
  text.append_valid("]]>\n");
  return text;
}
