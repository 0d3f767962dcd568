#include "Xml/XMLText.h"

#include "Xml/XMLCharacters.h"

namespace {

constexpr std::string_view kExtender = "\xC2\xB7";

std::string_view EscapeOf(char byte) {
  switch (byte) {
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '&':
      return "&amp;";
    case '"':
      return "&quot;";
    case '\'':
      return "&apos;";
    case '\n':
      return "&#10;";
    case '\r':
      return "&#13;";
    default:
      return "&#9;";
  }
}

}  // namespace

std::string_view XMLText::ReferenceAt(std::string_view text) {
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

std::string_view XMLText::PredefinedEntity(std::string_view name) {
  if (name == "lt") return "<";
  if (name == "gt") return ">";
  if (name == "amp") return "&";
  if (name == "quot") return "\"";
  if (name == "apos") return "'";
  return {};
}

void XMLText::AppendProtected(std::string_view text, std::string& out) {
  for (std::size_t found = text.find('&'); found != std::string_view::npos; found = text.find('&')) {
    out.append(text, 0, found + 1);
    text.remove_prefix(found);
    if (!ReferenceAt(text).empty()) out.append("amp;");
    text.remove_prefix(1);
  }
  out.append(text);
}

void XMLText::AppendEscaped(std::string_view text, bool escapeWhitespace, std::string& out) {
  constexpr unsigned kMarkup = XMLCharacters::kLessByte | XMLCharacters::kGreaterByte |
                               XMLCharacters::kAmpersandByte | XMLCharacters::kQuoteByte |
                               XMLCharacters::kApostropheByte;
  const unsigned escaped = kMarkup | (escapeWhitespace ? XMLCharacters::kTabOrBreakByte : 0U);
  std::size_t done = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (!XMLCharacters::IsByte(text[at], escaped)) continue;
    out.append(text, done, at - done);
    out.append(EscapeOf(text[at]));
    done = at + 1;
  }
  out.append(text, done);
}

void XMLText::AppendValue(std::string_view value, std::string& out) {
  out.append("=\"");
  AppendEscaped(value, true, out);
  out.append("\"");
}

// The line feeds become part of the data when the text is parsed again.
void XMLText::AppendCDATA(std::string_view data, int indent, std::string& out) {
  out.append("\n");
  AppendIndent(indent, out);
  out.append("<![CDATA[\n").append(data);
  AppendIndent(indent, out);
  out.append("]]>\n");
}

// Deliberate: unlike an element or an instruction, a comment goes on in the current line.
void XMLText::AppendComment(std::string_view data, int indent, std::string& out) {
  AppendIndent(indent, out);
  out.append("<!--").append(data).append("-->");
}

void XMLText::AppendInstruction(std::string_view target, std::string_view data, int indent,
                                std::string& out) {
  out.append("\n");
  AppendIndent(indent, out);
  out.append("<?").append(target).append(" ").append(data).append("?>");
}

void XMLText::AppendIndent(int indent, std::string& out) {
  if (indent > 0) out.append(2 * static_cast<std::size_t>(indent), ' ');
}
