#include "Xml/XmlSupport.h"

#include <gtest/gtest.h>

namespace Support {

std::string Joined(std::initializer_list<std::string_view> parts) {
  std::string all;
  for (const std::string_view part : parts) all += part;
  return all;
}

namespace {

std::string Row(const char* before, const std::vector<std::string>& pieces, const char* behind) {
  std::string all;
  for (const std::string& piece : pieces) all += Joined({all.empty() ? before : " ", piece});
  return all.empty() ? all : all + behind;
}

}  // namespace

std::string DumpOf(OxXMLNode::NodeType type, const std::string& name, const std::string& value,
                   const std::vector<std::string>& attributes,
                   const std::vector<std::string>& children) {
  switch (type) {
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
    case OxXMLNode::kDocumentNode: {
      std::vector<std::string> all = attributes;
      all.insert(all.end(), children.begin(), children.end());
      return Row("", all, "");
    }
    default:
      return Joined({name, Row("{", attributes, "}"), Row("(", children, ")")});
  }
}

std::vector<std::string> DumpsOfChildren(const OxXMLNode& node) {
  std::vector<std::string> dumps;
  for (auto child = node.GetFirstChild(); child; child = child->GetNextSibling()) {
    dumps.push_back(Dump(*child));
  }
  return dumps;
}

std::string Dump(const OxXMLNode& node) {
  std::vector<std::string> attributes;
  node.GetAttributes().ForEach([&](const Hux::SmartPtr<OxXMLNode>& attribute) {
    attributes.push_back(Text(attribute->GetName() + "=" + attribute->GetValue()));
  });
  return DumpOf(node.GetNodeType(), Text(node.GetName()), Text(node.GetValue()), attributes,
                DumpsOfChildren(node));
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

Hux::SmartPtr<OxXMLNode> Child(const OxXMLNode& node, int index) {
  Hux::SmartPtr<OxXMLNode> child = node.GetFirstChild();
  for (; child && index > 0; --index) child = child->GetNextSibling();
  return child;
}

}  // namespace Support
