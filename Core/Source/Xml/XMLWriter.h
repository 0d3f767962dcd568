#pragma once

#include "Xml/OxXMLNode.h"

/// Writes whole trees as text, by a loop.
namespace XMLWriter {

/// An element or a document with everything below it. Throws std::bad_alloc for a text of 4 GiB or more,
/// and before making any when the indentation alone is that long. Entities in attributes have one
/// XMLExpansionBudget for the whole text. What nobody has asked for is written without making nodes.
OxString Write(const OxXMLNode& top, int indent);

}  // namespace XMLWriter
