#include "Xml/XMLEntityValue.h"

#include "Xml/OxXMLError.h"

using XMLCharacters::IsByte;

// Every text is read by itself, so that what one ends with never joins what follows it.
OxString XMLEntityValue::Normalize(const OxString& value, std::uint32_t line) {
  constexpr unsigned kStops =
      XMLCharacters::kSpaceByte | XMLCharacters::kAmpersandByte | XMLCharacters::kPercentByte;
  for (Enter(value); !open_.empty();) {
    OxXMLScanner& scanner = open_.back()->scanner;
    const char next = scanner.PeekByte();
    if (next == 0) {
      openTexts_.erase(open_.back()->text);
      open_.pop_back();
    } else if (next == '&') {
      CollectCharRef(scanner);
    } else if (next == '%') {
      CollectParameterEntity(scanner, line);
    } else if (IsByte(next, XMLCharacters::kSpaceByte)) {
      CollectWhitespace(scanner);
    } else {
      text_.append_valid(scanner.TakeRun(kStops));
    }
  }
  return text_;
}

void XMLEntityValue::Enter(const OxString& text) {
  open_.push_back(std::make_unique<Open>());
  open_.back()->text = &text;
  openTexts_.insert(&text);
  open_.back()->scanner.SetData(text, 1);
}

// One space for each, and for a carriage return with its line feed.
void XMLEntityValue::CollectWhitespace(OxXMLScanner& scanner) {
  if (scanner.MatchByte('\r')) {
    scanner.MatchASCII("\n");
  } else {
    scanner.TakeByte();
  }
  text_.append_valid(" ");
}

// A reference to a general entity waits until this one is used.
void XMLEntityValue::CollectCharRef(OxXMLScanner& scanner) {
  if (scanner.MatchCharRef(text_)) return;
  scanner.TakeByte();
  text_.append_valid("&");
}

// One that is being read already, or is past the budget, is passed over.
void XMLEntityValue::CollectParameterEntity(OxXMLScanner& scanner, std::uint32_t line) {
  const OxString name(scanner.TakePERef(spill_));
  if (name.empty()) {
    scanner.TakeByte();
    text_.append_valid("%");
    return;
  }
  if (internalSubset_) throw OxXMLError(OxXMLError::kParameterEntityInMarkup, name, line);
  const OxString* replacement =
      docType_ == nullptr ? nullptr : docType_->FindParameterEntity(name.view());
  if (replacement == nullptr) {
    throw OxXMLError(OxXMLError::kUnknownEntity, OxString("%") + name + ";", line);
  }
  if (!openTexts_.contains(replacement) && budget_.Take(replacement->size())) Enter(*replacement);
}
