#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "Support/Text.h"
#include "Xml/OxXMLParser.h"

namespace Support {

std::string Joined(std::initializer_list<std::string_view> parts);

/// A tree in one line: element a{name=value ...}(children), 'text', [cdata], !comment!, ?target data?,
/// and D'name' for a document type.
std::string Dump(const OxXMLNode& node);
/// The dumps of the nodes below it.
std::vector<std::string> DumpsOfChildren(const OxXMLNode& node);
/// The dump of a node with these parts.
std::string DumpOf(OxXMLNode::NodeType type, const std::string& name, const std::string& value,
                   const std::vector<std::string>& attributes, const std::vector<std::string>& children);

/// The dump of the document that `text` becomes, or the message of its error.
std::string Outcome(std::string_view text, bool strict);

OxXMLError::Error ErrorOf(std::string_view text, bool strict);

/// The document that `text` becomes; a failure to parse fails the test.
Hux::SmartPtr<OxXMLDoc> ParseDoc(std::string_view text, bool strict = false);

/// The child with that number, from 0; null beyond the last one.
Hux::SmartPtr<OxXMLNode> Child(const OxXMLNode& node, int index);

}  // namespace Support
