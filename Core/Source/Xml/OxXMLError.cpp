#include "Xml/OxXMLError.h"

#include <array>
#include <string>
#include <string_view>

namespace {

constexpr std::array<std::string_view, 17> kFormats = {
    "No error",
    "Syntax Error (%s) on line %d.",
    "Unterminated string on line %d",
    "Unexpected EOF at line %d",
    "Mismatched end tag: %s at line %d.",
    "Malformed entity '%s' at line %d",
    "Unknown entity '%s' at line %d",
    "Double hyphens are illegal in comments except as part of the end tag \"-->\" (line %d)",
    "Only one root element allowed (line %d)",
    "Illegal element encountered at line %d",
    "Illegal character encountered (%s) at line %d",
    "Illegal attribute encountered at line %d",
    "Unexpected token '%s' encountered at line %d",
    "Expected token (%s) at line %d",
    "Invalid PubID Literal",
    "The parameter entity '%%%s;' cannot appear in markup in the internal DTD subset.",
    "DOM Exception: (%)",
};

}  // namespace

// The formats are filled here and not by printf: one of them has a conversion that is none, and the
// detail text may hold anything.
OxString OxXMLError::GetDescription() const {
  const auto index = static_cast<std::size_t>(kind_);
  if (index >= kFormats.size()) return {};
  std::string_view format = kFormats[index];
  OxString message;
  while (!format.empty()) {
    const std::string_view conversion = format.substr(0, 2);
    if (conversion == "%s") {
      message += text_;
    } else if (conversion == "%d") {
      message.append_valid(std::to_string(line_));
    } else {
      message.append_valid(format.substr(0, 1));
    }
    const bool isConversion = conversion == "%s" || conversion == "%d" || conversion == "%%";
    format.remove_prefix(isConversion ? 2 : 1);
  }
  return message;
}
