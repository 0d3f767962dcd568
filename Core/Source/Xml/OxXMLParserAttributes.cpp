#include <utility>

#include "Xml/OxXMLParser.h"
#include "Xml/XMLReference.h"

using XMLCharacters::IsByte;

void OxXMLParser::ExpectEquals() {
  scanner_.SkipWhitespace();
  if (!scanner_.MatchByte('=')) FailSyntax("Expected '='");
}

// Deliberate: a repeated name is no error, the last attribute wins.
void OxXMLParser::ParseAttribute(OxXMLElementNode& element) {
  const std::uint32_t line = scanner_.GetLine();
  const OxXMLName name = names_.Get(scanner_.TakeName(spill_));
  ExpectEquals();
  const Hux::SmartPtr<OxXMLAttrNode> attribute = doc_->CreateAttrNode(name, GetAttribute());
  attribute->SetLine(line);
  element.SetAttributeNode(attribute);
}

// A value as attributes keep it: OxXMLAttrNode::GetValue() replaces references once more.
OxString OxXMLParser::GetAttribute() {
  scanner_.SkipWhitespace();
  const char first = scanner_.PeekByte();
  if (first == 0) Fail(OxXMLError::kUnexpectedEOF);
  if (first == '"' || first == '\'') return GetQuotedValue(first);
  if (IsStrict()) Fail(OxXMLError::kIllegalAttribute);
  return GetUnquotedValue();
}

// Most values are one run and hold nothing to normalise.
OxString OxXMLParser::GetQuotedValue(char quote) {
  constexpr unsigned kSpecial = XMLCharacters::kAmpersandByte | XMLCharacters::kTabOrBreakByte;
  const unsigned quoteClass = XMLCharacters::QuoteClass(quote);
  scanner_.TakeByte();
  const std::uint32_t depth = scanner_.Depth();
  const std::string_view run = scanner_.TakeRun(kSpecial | quoteClass);
  if (scanner_.AtByte(quote)) {
    scanner_.TakeByte();
    return OxString::from_valid(run);
  }
  text_.assign(run);
  CollectQuotedValue(quote, quoteClass, depth);
  std::string kept;
  XMLReference::AppendProtected(text_, kept);
  return OxString::from_valid(kept);
}

// References are replaced and each white space becomes a space. A quote that came out of an entity, so
// that the scanner is deeper in pushed text than the literal began, does not end it.
void OxXMLParser::CollectQuotedValue(char quote, unsigned quoteClass, std::uint32_t depth) {
  for (spacePending_ = false;;) {
    const char next = scanner_.PeekByte();
    if (next == 0) Fail(OxXMLError::kUnterminatedString);
    if (next == '&') {
      CollectReference();
    } else if (IsByte(next, XMLCharacters::kSpaceByte)) {
      scanner_.TakeByte();
      if (next == '\r' && scanner_.PeekByte() == '\n') scanner_.TakeByte();
      text_ += ' ';
    } else if (next == quote) {
      scanner_.TakeByte();
      if (scanner_.Depth() <= depth) return;
      text_ += quote;
    } else {
      text_ += scanner_.TakeRun(XMLCharacters::kAmpersandByte | XMLCharacters::kSpaceByte | quoteClass);
    }
  }
}

OxString OxXMLParser::GetUnquotedValue() {
  constexpr unsigned kStops =
      XMLCharacters::kSpaceByte | XMLCharacters::kSlashByte | XMLCharacters::kGreaterByte;
  text_.clear();
  CollectLegal(kStops);
  if (text_.empty()) FailSyntax("Missing attribute value");
  return OxString::from_valid(text_);
}
