#pragma once

#include <optional>
#include <string>
#include <string_view>

class OxXMLDocTypeNode;

/// References to general entities, "&name;", in text that is in memory.
namespace XMLReference {

/// The whole reference that `text` begins with, or an empty text when it begins with none.
std::string_view At(std::string_view text);

/// What a reference stands for: a predefined character, or what `docType`, which may be null, declares.
/// Nothing for an unknown name and for an empty reference.
std::optional<std::string_view> Resolve(std::string_view reference, const OxXMLDocTypeNode* docType);

/// `text` with every "&" that begins a reference turned into a reference itself, so that replacing the
/// references once gives `text` back.
void AppendProtected(std::string_view text, std::string& out);

}  // namespace XMLReference
