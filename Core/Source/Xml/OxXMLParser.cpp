#include "Xml/OxXMLParser.h"

#include <utility>

using XMLCharacters::IsByte;

OxXMLParser::OxXMLParser() = default;

OxXMLParser::~OxXMLParser() = default;

OxXMLError OxXMLParser::Parse(const OxString& text, Hux::SmartPtr<OxXMLDoc> doc) {
  static const OxString kNothing;  // The scanner keeps pointing into the text that it is given.
  const std::int32_t mode = strict_;
  doc_ = std::move(doc);
  scanner_.SetData(text, 1);
  budget_ = XMLExpansionBudget(text.size());
  textBytes_ = text.size();
  readBehind_ = 0;
  OxXMLError result = ParseCatching();
  open_.clear();
  expansion_.Reset();
  scanner_.SetData(kNothing, 0);
  strict_ = mode;
  return result;
}

OxXMLError OxXMLParser::ParseCatching() {
  try {
    if (doc_) {
      ParseDocument();
      return {OxXMLError::kNoError, 0};
    }
  } catch (const OxXMLError& error) {
    return error;
  } catch (const OxXMLDOMException& exception) {
    OxString code;
    code.format("%d", exception.GetCode());
    return {OxXMLError::kDOMException, code, scanner_.GetLine()};
  } catch (...) {
    // Zeros in the text, no memory: what nothing else names.
  }
  return {OxXMLError::kSyntaxError, "Unknown error", scanner_.GetLine()};
}

// ---- Document

void OxXMLParser::ParseDocument() {
  for (;;) {
    scanner_.SkipWhitespace();
    if (scanner_.PeekByte() == 0) return;
    ParseTopLevelItem();
  }
}

void OxXMLParser::ParseTopLevelItem() {
  const std::uint32_t line = scanner_.GetLine();
  if (!scanner_.MatchByte('<')) Fail(OxXMLError::kIllegalElement);
  if (IsByte(scanner_.PeekByte(), XMLCharacters::kNameStartByte)) return ParseElement(line);
  if (scanner_.MatchByte('?')) return ParsePI(line);
  if (MatchCommentOpener()) return ParseComment(line);
  if (scanner_.MatchASCII("!DOCTYPE")) return ParseDOCTYPE(line);
  Fail(OxXMLError::kIllegalElement);
}

// Behind "<".
bool OxXMLParser::MatchCommentOpener() {
  return scanner_.MatchASCII("!--") || (!IsStrict() && scanner_.MatchASCII("--"));
}

OxXMLNode& OxXMLParser::CurrentParent() const {
  if (open_.empty()) return *doc_;
  return *open_.back();
}

// Deliberate: what the parent refuses is dropped; that is how a second root element goes.
void OxXMLParser::Append(const Hux::SmartPtr<OxXMLNode>& node, std::uint32_t line) {
  node->SetLine(line);
  CurrentParent().AppendChild(node);
}

// ---- Elements

void OxXMLParser::ParseElement(std::uint32_t line) {
  ParseStartTag(line);
  while (!open_.empty()) ParseContentItem();
}

// Behind "<". An element that is empty arrives in its parent at once, others with their end tag.
void OxXMLParser::ParseStartTag(std::uint32_t line) {
  const std::string_view name = scanner_.TakeName(spill_);
  if (name.empty()) FailSyntax("Expected element tag name");
  Hux::SmartPtr<OxXMLElementNode> element = doc_->CreateElementNode(names_.Get(name));
  element->SetLine(line);
  for (;;) {
    scanner_.SkipWhitespace();
    if (IsByte(scanner_.PeekByte(), XMLCharacters::kNameStartByte)) {
      ParseAttribute(*element);
    } else if (scanner_.MatchByte('>')) {
      open_.push_back(std::move(element));
      return;
    } else if (scanner_.MatchASCII("/>")) {
      CurrentParent().AppendChild(element);
      return;
    } else {
      FailSyntax("Unexpected token parsing element");
    }
  }
}

// White space at the front of text is never part of it, in neither mode.
void OxXMLParser::ParseContentItem() {
  scanner_.SkipWhitespace();
  switch (scanner_.PeekByte()) {
    case 0:
      Fail(OxXMLError::kUnexpectedEOF);
    case '<':
      return ParseMarkup();
    default:
      return ParseText();
  }
}

void OxXMLParser::ParseMarkup() {
  const std::uint32_t line = scanner_.GetLine();
  scanner_.TakeByte();
  switch (scanner_.PeekByte()) {
    case '/':
      scanner_.TakeByte();
      return ParseEndTag();
    case '?':
      scanner_.TakeByte();
      return ParsePI(line);
    case '!':
    case '-':
      if (MatchCommentOpener()) return ParseComment(line);
      if (scanner_.MatchASCII("![CDATA[")) return ParseCDATA(line);
      FailSyntax("Expected element tag name");
    default:
      return ParseStartTag(line);
  }
}

// Behind "</".
void OxXMLParser::ParseEndTag() {
  const std::string_view name = scanner_.TakeName(spill_);
  if (name.empty()) FailSyntax("Expected element tag name");
  CheckEndTag(name);
  scanner_.SkipWhitespace();
  if (scanner_.PeekByte() == 0) FailSyntax("Expected '>'");
  if (!scanner_.MatchByte('>')) FailSyntax("Unexpected token");
  const Hux::SmartPtr<OxXMLElementNode> element = std::move(open_.back());
  open_.pop_back();
  CurrentParent().AppendChild(element);
}

void OxXMLParser::CheckEndTag(std::string_view name) const {
  const OxString& expected = open_.back()->GetName();
  if (expected.view() == name) return;
  if (!IsStrict() && CompareNoCase(expected.view(), name) == 0) return;
  OxString detail("Expected '");
  detail += expected;
  detail += "', got '";
  detail.append_valid(name);
  detail += "'";
  Fail(OxXMLError::kMismatchedEndTag, detail);
}
