#include "Xml/XMLReference.h"

#include "Xml/OxXMLDocTypeNode.h"
#include "Xml/XMLCharacters.h"

namespace {

constexpr std::string_view kExtender = "\xC2\xB7";

}  // namespace

std::string_view XMLReference::At(std::string_view text) {
  if (text.size() < 3 || text[0] != '&') return {};
  if (!XMLCharacters::IsByte(text[1], XMLCharacters::kNameStartByte)) return {};
  std::size_t end = 2;
  while (end < text.size()) {
    if (XMLCharacters::IsByte(text[end], XMLCharacters::kNameByte)) {
      ++end;
    } else if (text.substr(end).starts_with(kExtender)) {
      end += kExtender.size();
    } else {
      break;
    }
  }
  return end < text.size() && text[end] == ';' ? text.substr(0, end + 1) : std::string_view();
}

std::optional<std::string_view> XMLReference::Resolve(std::string_view reference,
                                                      const OxXMLDocTypeNode* docType) {
  if (reference.empty()) return std::nullopt;
  const std::string_view name = reference.substr(1, reference.size() - 2);
  const std::string_view predefined = OxXMLDocTypeNode::PredefinedEntity(name);
  if (!predefined.empty()) return predefined;
  const OxString* declared = docType == nullptr ? nullptr : docType->FindEntity(name);
  if (declared == nullptr) return std::nullopt;
  return declared->view();
}

void XMLReference::AppendProtected(std::string_view text, std::string& out) {
  for (std::size_t found = text.find('&'); found != std::string_view::npos; found = text.find('&')) {
    out.append(text, 0, found + 1);
    text.remove_prefix(found);
    if (!At(text).empty()) out.append("amp;");
    text.remove_prefix(1);
  }
  out.append(text);
}
