// Any text, parsed in both modes: it ends, every failure has its message, and what was parsed, written and
// parsed again has the same elements and attributes.

#include "Foundation/OxString.h"
#include "FuzzInput.h"
#include "Xml/OxXMLDoc.h"
#include "Xml/OxXMLError.h"
#include "Xml/OxXMLParser.h"

namespace {

bool Parse(const OxString& text, bool strict, const Hux::SmartPtr<OxXMLDoc>& document) {
  OxXMLParser parser;
  parser.SetStrict(strict);
  const OxXMLError error = parser.Parse(text, document);
  Require(!error.GetDescription().empty(), "every result has a text");
  Require(error.GetError() == OxXMLError::kNoError || error.GetLine() > 0, "every failure has a line");
  return error.GetError() == OxXMLError::kNoError;
}

// Elements and attributes in document order. Text is left out, since writing adds line ends and parsing trims.
std::string Outline(const Hux::SmartPtr<OxXMLDoc>& document) {
  OxXMLNodeList elements;
  document->GetElementsByTagName("*", elements);
  std::string outline;
  for (std::size_t i = 0; i < elements.Length(); ++i) {
    const Hux::SmartPtr<OxXMLNode> element = elements.Item(i);
    outline.append("<").append(element->GetName().view());
    const OxXMLNamedNodeMap& attributes = element->GetAttributes();
    for (std::size_t k = 0; k < attributes.Length(); ++k) {
      const Hux::SmartPtr<OxXMLNode> attribute = attributes.Item(k);
      outline.append(" ").append(attribute->GetName().view());
      outline.append("=").append(attribute->GetValue().view());
    }
  }
  return outline;
}

// Declarations are read beyond the "]" that ends the subset, so a literal, a comment or an entity in it may include
// what follows, which is written differently.
bool MayRunOn(std::string_view docType) {
  char quote = 0;
  for (const char c : docType) {
    if (quote == 0 && (c == '"' || c == '\'')) {
      quote = c;
    } else if (c == quote) {
      quote = 0;
    }
  }
  const auto holds = [docType](const char* text) { return docType.find(text) != docType.npos; };
  return quote != 0 || holds("<--") || holds("<!--") || holds("%");
}

// Whether something was parsed that writing and parsing again may change.
bool IsExcused(const OxString& text, const OxXMLDoc& document, const OxString& written) {
  // A reference to the character zero puts a zero into the text, and parsing ends at a zero.
  if (written.view().find('\0') != std::string_view::npos) return true;
  // An instruction's data ends at the first "?>", even inside one of its quoted values. A comment without an end may
  // end in a hyphen, which is then written before "-->".
  if (text.contains("<?") || text.view().ends_with('-')) return true;
  for (auto node = document.GetFirstChild(); node; node = node->GetNextSibling()) {
    if (node->GetNodeType() == OxXMLNode::kDocTypeNode && MayRunOn(node->GetAsString(-1).view())) {
      return true;
    }
  }
  return false;
}

void CheckMode(const OxString& text, bool strict) {
  const Hux::SmartPtr<OxXMLDoc> document = OxXMLDoc::Make();
  if (!Parse(text, strict, document)) return;
  document->Index();
  const Hux::SmartPtr<OxXMLNode> copy = document->Clone(true);
  for (const int indent : {-1, 0}) {
    const OxString written = document->GetAsString(indent);
    Require(copy->GetAsString(indent) == written, "a copy is written like the original");
    const Hux::SmartPtr<OxXMLDoc> again = OxXMLDoc::Make();
    const bool parsed = Parse(written, strict, again);
    const bool excused = IsExcused(text, *document, written);
    Require(parsed || excused, "what was written parses");
    Require(!parsed || excused || Outline(again) == Outline(document), "the trees are the same");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  try {
    const OxString text(bytes);
    CheckMode(text, true);
    CheckMode(text, false);
  } catch (const OxString::InvalidEncoding&) {
  }
  return 0;
}
