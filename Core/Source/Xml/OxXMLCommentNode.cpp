#include "Xml/OxXMLCommentNode.h"

#include <utility>

#include "Xml/XMLWriter.h"

Hux::SmartPtr<OxXMLCommentNode> OxXMLCommentNode::Make(OxString text) {
  return Hux::SmartPtr<OxXMLCommentNode>::Adopt(new OxXMLCommentNode(std::move(text)));
}

const OxString& OxXMLCommentNode::GetName() const {
  static const OxString kName = FixedName("#comment");
  return kName;
}

Hux::SmartPtr<OxXMLNode> OxXMLCommentNode::CloneSelf() const {
  const Hux::SmartPtr<OxXMLCommentNode> copy = Make(data());
  copy->CopyFrom(*this);
  return copy;
}

// Deliberate: unlike an element or an instruction, a comment goes on in the current line.
OxString OxXMLCommentNode::GetAsString(int indent) const {
  OxString text;
  XMLWriter::AppendIndent(text, indent);
  text.append_valid("<!--");
  text += data();
  text.append_valid("-->");
  return text;
}
