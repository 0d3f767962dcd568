#pragma once

#include <string_view>

#include "Xml/OxXMLNode.h"

/// Writes whole trees as text, by a loop.
namespace XMLWriter {

/// An element or a document with everything below it. Throws std::bad_alloc for a text of 4 GiB or more,
/// and before making any when the indentation alone is that long. Entities in attributes have one
/// XMLExpansionBudget for the whole text.
OxString Write(const OxXMLNode& top, int indent);

/// OxXMLNode::Escape() onto `out`; `text` came out of an OxString.
void AppendEscaped(OxString& out, std::string_view text, bool escapeWhitespace);

/// What stands behind an attribute's name: "=", and its value in quotes.
void AppendValue(OxString& out, std::string_view value);

/// Two spaces for each; none when negative.
void AppendIndent(OxString& out, int indent);

}  // namespace XMLWriter
