#include "Xml/XmlSupport.h"

#include <gtest/gtest.h>

#include "Xml/OxXMLNamedNodeMap.h"

namespace Support {

std::string Text(const OxString& text) {
  return std::string(text.view());
}

std::string Dump(const OxXMLNode& node) {
  const std::string name = Text(node.GetName());
  const std::string value = Text(node.GetValue());
  switch (node.GetNodeType()) {
    case OxXMLNode::kTextNode:
      return "'" + value + "'";
    case OxXMLNode::kCDATANode:
      return "[" + value + "]";
    case OxXMLNode::kCommentNode:
      return "!" + value + "!";
    case OxXMLNode::kPINode:
      return "?" + name + " " + value + "?";
    case OxXMLNode::kDocTypeNode:
      return "D'" + name + "'";
    default:
      break;
  }
  std::string attributes;
  node.GetAttributes().ForEach([&](const Hux::SmartPtr<OxXMLNode>& attribute) {
    attributes +=
        (attributes.empty() ? "" : " ") + Text(attribute->GetName()) + "=" + Text(attribute->GetValue());
  });
  std::string children;
  for (auto child = node.GetFirstChild(); child; child = child->GetNextSibling()) {
    children += (children.empty() ? "" : " ") + Dump(*child);
  }
  const bool both = !attributes.empty() && !children.empty();
  if (node.GetNodeType() == OxXMLNode::kDocumentNode) return attributes + (both ? " " : "") + children;
  return name + (attributes.empty() ? "" : "{" + attributes + "}") +
         (children.empty() ? "" : "(" + children + ")");
}

std::string Outcome(std::string_view text, bool strict) {
  const OxString input(text);
  const auto doc = OxXMLDoc::Make();
  OxXMLParser parser;
  parser.SetStrict(strict);
  const OxXMLError error = parser.Parse(input, doc);
  return error.GetError() == OxXMLError::kNoError ? Dump(*doc) : Text(error.GetDescription());
}

Hux::SmartPtr<OxXMLDoc> ParseDoc(std::string_view text, bool strict) {
  const OxString input(text);
  const auto doc = OxXMLDoc::Make();
  OxXMLParser parser;
  parser.SetStrict(strict);
  const OxXMLError error = parser.Parse(input, doc);
  EXPECT_EQ(error.GetError(), OxXMLError::kNoError) << Text(error.GetDescription());
  return doc;
}

}  // namespace Support
