#pragma once

#include <string>
#include <string_view>

/// What text of a document becomes when it is read or written: references, escapes and indentation.
namespace XMLText {

/// The whole reference to a general entity, "&name;", that `text` begins with, or an empty text.
std::string_view ReferenceAt(std::string_view text);

/// The character that one of the five predefined names stands for, or an empty text.
std::string_view PredefinedEntity(std::string_view name);

/// `text` with every "&" that begins a reference turned into a reference itself, so that replacing the
/// references once gives `text` back.
void AppendProtected(std::string_view text, std::string& out);

/// OxXMLNode::Escape().
void AppendEscaped(std::string_view text, bool escapeWhitespace, std::string& out);

/// What follows an attribute's name: "=", and its value in quotes.
void AppendValue(std::string_view value, std::string& out);

// Each at a depth of `indent`, as AppendIndent() takes it.
void AppendCDATA(std::string_view data, int indent, std::string& out);    ///< A CDATA section.
void AppendComment(std::string_view data, int indent, std::string& out);  ///< A comment.
/// A processing instruction.
void AppendInstruction(std::string_view target, std::string_view data, int indent, std::string& out);

/// Two spaces for each; none when negative.
void AppendIndent(int indent, std::string& out);

}  // namespace XMLText
