#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

#include "Xml/OxXMLParser.h"

namespace Support {

std::string Text(const OxString& text);

std::string Joined(std::initializer_list<std::string_view> parts);

/// A tree in one line: element a{name=value ...}(children), 'text', [cdata], !comment!, ?target data?,
/// and D'name' for a document type.
std::string Dump(const OxXMLNode& node);

/// The dump of the document that `text` becomes, or the message of its error.
std::string Outcome(std::string_view text, bool strict);

OxXMLError::Error ErrorOf(std::string_view text, bool strict);

/// The document that `text` becomes; a failure to parse fails the test.
Hux::SmartPtr<OxXMLDoc> ParseDoc(std::string_view text, bool strict = false);

}  // namespace Support
