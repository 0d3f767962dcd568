#include "Xml/XmlSupport.h"

#include <gtest/gtest.h>

#include "Xml/OxXMLNamedNodeMap.h"

namespace Support {

std::string Text(const OxString& text) {
  return std::string(text.view());
}

std::string Joined(std::initializer_list<std::string_view> parts) {
  std::string all;
  for (const std::string_view part : parts) all += part;
  return all;
}

std::string Dump(const OxXMLNode& node) {
  const std::string name = Text(node.GetName());
  const std::string value = Text(node.GetValue());
  switch (node.GetNodeType()) {
    case OxXMLNode::kTextNode:
      return Joined({"'", value, "'"});
    case OxXMLNode::kCDATANode:
      return Joined({"[", value, "]"});
    case OxXMLNode::kCommentNode:
      return Joined({"!", value, "!"});
    case OxXMLNode::kPINode:
      return Joined({"?", name, " ", value, "?"});
    case OxXMLNode::kDocTypeNode:
      return Joined({"D'", name, "'"});
    default:
      break;
  }
  std::string attributes;
  node.GetAttributes().ForEach([&](const Hux::SmartPtr<OxXMLNode>& attribute) {
    const OxString text = attribute->GetValue();
    attributes += Joined({attributes.empty() ? "" : " ", attribute->GetName().view(), "=", text.view()});
  });
  std::string children;
  for (auto child = node.GetFirstChild(); child; child = child->GetNextSibling()) {
    children += Joined({children.empty() ? "" : " ", Dump(*child)});
  }
  const bool both = !attributes.empty() && !children.empty();
  if (node.GetNodeType() == OxXMLNode::kDocumentNode)
    return Joined({attributes, both ? " " : "", children});
  if (!attributes.empty()) attributes = Joined({"{", attributes, "}"});
  if (!children.empty()) children = Joined({"(", children, ")"});
  return Joined({name, attributes, children});
}

namespace {

OxXMLError Parse(std::string_view text, bool strict, const Hux::SmartPtr<OxXMLDoc>& doc) {
  const OxString input(text);
  OxXMLParser parser;
  parser.SetStrict(strict);
  return parser.Parse(input, doc);
}

}  // namespace

std::string Outcome(std::string_view text, bool strict) {
  const auto doc = OxXMLDoc::Make();
  const OxXMLError error = Parse(text, strict, doc);
  return error.GetError() == OxXMLError::kNoError ? Dump(*doc) : Text(error.GetDescription());
}

OxXMLError::Error ErrorOf(std::string_view text, bool strict) {
  return Parse(text, strict, OxXMLDoc::Make()).GetError();
}

Hux::SmartPtr<OxXMLDoc> ParseDoc(std::string_view text, bool strict) {
  auto doc = OxXMLDoc::Make();
  const OxXMLError error = Parse(text, strict, doc);
  EXPECT_EQ(error.GetError(), OxXMLError::kNoError) << Text(error.GetDescription());
  return doc;
}

}  // namespace Support
