#include "Xml/XMLEntityValue.h"

#include "Xml/OxXMLError.h"

using XMLCharacters::IsByte;

OxString XMLEntityValue::Normalize(const OxString& value, std::uint32_t line) {
  constexpr unsigned kStops =
      XMLCharacters::kSpaceByte | XMLCharacters::kAmpersandByte | XMLCharacters::kPercentByte;
  scanner_.SetData(value, line);
  while (const char next = scanner_.PeekByte()) {
    if (next == '&') {
      CollectCharRef();
    } else if (next == '%') {
      CollectParameterEntity(line);
    } else if (IsByte(next, XMLCharacters::kSpaceByte)) {
      CollectWhitespace();
    } else {
      text_.append_valid(scanner_.TakeRun(kStops));
    }
  }
  return text_;
}

// One space for each, and for a carriage return with its line feed.
void XMLEntityValue::CollectWhitespace() {
  if (scanner_.MatchByte('\r')) {
    scanner_.MatchASCII("\n");
  } else {
    scanner_.TakeByte();
  }
  text_.append_valid(" ");
}

// A reference to a general entity waits until this one is used.
void XMLEntityValue::CollectCharRef() {
  if (scanner_.MatchCharRef(text_)) return;
  scanner_.TakeByte();
  text_.append_valid("&");
}

// One that is being read already, or is past the budget, is passed over.
void XMLEntityValue::CollectParameterEntity(std::uint32_t line) {
  const std::uint32_t depth = scanner_.Depth();
  const OxString name(scanner_.TakePERef(spill_));
  if (name.empty()) {
    scanner_.TakeByte();
    text_.append_valid("%");
    return;
  }
  if (internalSubset_) throw OxXMLError(OxXMLError::kParameterEntityInMarkup, name, line);
  const OxString* replacement =
      docType_ == nullptr ? nullptr : docType_->FindParameterEntity(name.view());
  if (replacement == nullptr) {
    throw OxXMLError(OxXMLError::kUnknownEntity, OxString("%") + name + ";", line);
  }
  expansion_.Push(*replacement, depth);
}
