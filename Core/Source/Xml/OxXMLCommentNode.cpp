#include "Xml/OxXMLCommentNode.h"

#include <utility>

#include "Xml/XMLText.h"

Hux::SmartPtr<OxXMLCommentNode> OxXMLCommentNode::Make(OxString text) {
  return Hux::SmartPtr<OxXMLCommentNode>::Adopt(new OxXMLCommentNode(std::move(text)));
}

const OxString& OxXMLCommentNode::GetName() const {
  static const OxString kName = FixedName("#comment");
  return kName;
}

Hux::SmartPtr<OxXMLNode> OxXMLCommentNode::CloneSelf() const {
  return Copied(Make(data()));
}

OxString OxXMLCommentNode::GetAsString(int indent) const {
  std::string text;
  XMLText::AppendComment(data().view(), indent, text);
  return OxString::from_valid(text);
}
