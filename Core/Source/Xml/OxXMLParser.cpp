#include "Xml/OxXMLParser.h"

#include <array>
#include <utility>

#include "Foundation/StringComparison.h"
#include "Foundation/UnicodeConversion.h"
#include "Xml/XMLText.h"

using XMLCharacters::IsByte;

namespace {

// The white space of OxString::trim(), which would first copy what it removes.
bool IsTrimmed(char byte) {
  return static_cast<unsigned char>(byte) <= ' ' || byte == 0x7F;
}

std::string_view Trim(std::string_view text) {
  while (!text.empty() && IsTrimmed(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsTrimmed(text.back())) text.remove_suffix(1);
  return text;
}

OxString UpperCaseHex(std::uint32_t codePoint) {
  OxString hex;
  hex.format("0x%X", codePoint);
  return hex;
}

}  // namespace

OxXMLParser::OxXMLParser() = default;

OxXMLParser::~OxXMLParser() = default;

OxXMLError OxXMLParser::Parse(const OxString& text, Hux::SmartPtr<OxXMLDoc> doc) {
  static const OxString kNothing;  // The scanner keeps pointing into the text that it is given.
  const std::int32_t mode = strict_;
  doc_ = std::move(doc);
  scanner_.SetData(text, 1);
  budget_ = XMLExpansionBudget(text.size());
  declarations_.Begin(text.size());
  OxXMLError result = ParseCatching(text.size());
  builder_.reset();
  expansion_.Reset();
  scanner_.SetData(kNothing, 0);
  strict_ = mode;
  return result;
}

OxXMLError OxXMLParser::ParseCatching(std::size_t textBytes) {
  try {
    if (doc_) {
      builder_.emplace(*doc_, textBytes);
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
  if (!scanner_.MatchByte('<')) scanner_.Fail(OxXMLError::kIllegalElement);
  if (IsByte(scanner_.PeekByte(), XMLCharacters::kNameStartByte)) return ParseElement(line);
  if (scanner_.MatchByte('?')) return ParsePI(line);
  if (scanner_.MatchCommentOpener(IsStrict())) return ParseComment(line);
  if (scanner_.MatchASCII("!DOCTYPE")) return ParseDOCTYPE(line);
  scanner_.Fail(OxXMLError::kIllegalElement);
}

// Behind "<!DOCTYPE". The node is the document's while its declarations are read, and goes again when
// that fails.
void OxXMLParser::ParseDOCTYPE(std::uint32_t line) {
  scanner_.ExpectWhitespace("'!DOCTYPE'");
  const auto docType = doc_->CreateDocTypeNode(scanner_.ExpectName("root element name"));
  builder_->Append(docType, line);
  try {
    declarations_.Parse(*docType, IsStrict());
  } catch (...) {
    doc_->RemoveChild(docType);
    throw;
  }
}

OxString OxXMLParser::NormalizeEntityValue(const OxString& value, int line, bool internalSubset) {
  const Hux::SmartPtr<OxXMLDocTypeNode> docType = doc_ ? doc_->GetDocType() : nullptr;
  return XMLDeclarations::NormalizeEntityValue(
      docType.get(), budget_, {value, static_cast<std::uint32_t>(line), true}, internalSubset);
}

// ---- Elements

void OxXMLParser::ParseElement(std::uint32_t line) {
  ParseStartTag(line);
  while (builder_->HasOpen()) ParseContentItem();
}

// Behind "<". An element that is empty arrives in its parent at once, others with their end tag.
void OxXMLParser::ParseStartTag(std::uint32_t line) {
  const std::string_view name = scanner_.TakeName(spill_);
  if (name.empty()) scanner_.FailSyntax("Expected element tag name");
  builder_->StartElement(name, line);
  for (;;) {
    scanner_.SkipWhitespace();
    if (IsByte(scanner_.PeekByte(), XMLCharacters::kNameStartByte)) {
      ParseAttribute();
    } else if (scanner_.MatchByte('>')) {
      return;
    } else if (scanner_.MatchASCII("/>")) {
      return builder_->EndElement();
    } else {
      scanner_.FailSyntax("Unexpected token parsing element");
    }
  }
}

// White space at the front of text is never part of it, in neither mode.
void OxXMLParser::ParseContentItem() {
  scanner_.SkipWhitespace();
  switch (scanner_.PeekByte()) {
    case 0:
      scanner_.Fail(OxXMLError::kUnexpectedEOF);
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
      if (scanner_.MatchCommentOpener(IsStrict())) return ParseComment(line);
      if (scanner_.MatchASCII("![CDATA[")) return ParseCDATA(line);
      scanner_.FailSyntax("Expected element tag name");
    default:
      return ParseStartTag(line);
  }
}

// Behind "</".
void OxXMLParser::ParseEndTag() {
  const std::string_view name = scanner_.TakeName(spill_);
  if (name.empty()) scanner_.FailSyntax("Expected element tag name");
  CheckEndTag(name);
  scanner_.SkipWhitespace();
  if (scanner_.PeekByte() == 0) scanner_.FailSyntax("Expected '>'");
  if (!scanner_.MatchByte('>')) scanner_.FailSyntax("Unexpected token");
  builder_->EndElement();
}

void OxXMLParser::CheckEndTag(std::string_view name) const {
  const std::string_view expected = builder_->OpenName();
  if (expected == name) return;
  if (!IsStrict() && CompareNoCase(expected, name) == 0) return;
  OxString detail("Expected '");
  detail.append_valid(expected);
  detail += "', got '";
  detail.append_valid(name);
  detail += "'";
  scanner_.Fail(OxXMLError::kMismatchedEndTag, detail);
}

// ---- Attributes

void OxXMLParser::ExpectEquals() {
  scanner_.SkipWhitespace();
  if (!scanner_.MatchByte('=')) scanner_.FailSyntax("Expected '='");
}

// Deliberate: a repeated name is no error, the last attribute wins.
void OxXMLParser::ParseAttribute() {
  const std::uint32_t line = scanner_.GetLine();
  builder_->StartAttribute(scanner_.TakeName(spill_), line);
  ExpectEquals();
  builder_->EndAttribute(GetAttribute());
}

// A value as attributes keep it: OxXMLAttrNode::GetValue() replaces references once more.
std::string_view OxXMLParser::GetAttribute() {
  scanner_.SkipWhitespace();
  const char first = scanner_.PeekByte();
  if (first == 0) scanner_.Fail(OxXMLError::kUnexpectedEOF);
  if (first == '"' || first == '\'') return GetQuotedValue(first);
  if (IsStrict()) scanner_.Fail(OxXMLError::kIllegalAttribute);
  return GetUnquotedValue();
}

// Most values are one run and hold nothing to normalise.
std::string_view OxXMLParser::GetQuotedValue(char quote) {
  constexpr unsigned kSpecial = XMLCharacters::kAmpersandByte | XMLCharacters::kTabOrBreakByte;
  const unsigned quoteClass = XMLCharacters::QuoteClass(quote);
  scanner_.TakeByte();
  const std::uint32_t depth = scanner_.Depth();
  const std::string_view run = scanner_.TakeRun(kSpecial | quoteClass);
  if (scanner_.AtByte(quote)) {
    scanner_.TakeByte();
    return run;
  }
  text_.assign(run);
  CollectQuotedValue(quote, quoteClass, depth);
  kept_.clear();
  XMLText::AppendProtected(text_, kept_);
  return kept_;
}

// References are replaced and each white space becomes a space, and so does a line end of two characters that is
// written in the document: in an entity's text both are there only by references. A quote that came out of an entity,
// so that the scanner is deeper in pushed text than the literal began, does not end it.
void OxXMLParser::CollectQuotedValue(char quote, unsigned quoteClass, std::uint32_t depth) {
  for (spacePending_ = false;;) {
    const char next = scanner_.PeekByte();
    if (next == 0) scanner_.Fail(OxXMLError::kUnterminatedString);
    if (next == '&') {
      CollectReference();
    } else if (IsByte(next, XMLCharacters::kSpaceByte)) {
      const bool isBreak = next == '\r' && scanner_.Depth() == 0;
      scanner_.TakeByte();
      if (isBreak && scanner_.PeekByte() == '\n') scanner_.TakeByte();
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

std::string_view OxXMLParser::GetUnquotedValue() {
  constexpr unsigned kStops =
      XMLCharacters::kSpaceByte | XMLCharacters::kSlashByte | XMLCharacters::kGreaterByte;
  text_.clear();
  CollectLegal(kStops);
  if (text_.empty()) scanner_.FailSyntax("Missing attribute value");
  return text_;
}

// ---- Text

// The position is at the first character, which is no white space.
void OxXMLParser::ParseText() {
  const std::uint32_t line = scanner_.GetLine();
  text_.clear();
  spacePending_ = false;
  std::string_view text;
  if (!IsStrict()) {
    const std::string_view run =
        scanner_.TakeRun(XMLCharacters::kLessByte | XMLCharacters::kAmpersandByte);
    if (scanner_.AtByte('<')) {
      text = run;
    } else {
      text_ = run;
    }
  }
  if (text.empty()) {
    CollectText();
    text = text_;
  }
  if (!IsStrict()) text = Trim(text);
  if (!text.empty()) builder_->Add(OxXMLNode::kTextNode, {}, text, line);
}

// Up to the next markup or the end of the text. Strict mode makes one space of each run of white space,
// also where a run comes out of several entities.
void OxXMLParser::CollectText() {
  const unsigned space = IsStrict() ? XMLCharacters::kSpaceByte : 0U;
  const unsigned stops = XMLCharacters::kLessByte | XMLCharacters::kAmpersandByte | space;
  for (;;) {
    const char next = scanner_.PeekByte();
    if (next == 0 || next == '<') break;
    if (next == '&') {
      CollectReference();
    } else if (IsByte(next, space)) {
      scanner_.SkipWhitespace();
      spacePending_ = !text_.empty();
    } else {
      Collect(scanner_.TakeRun(stops));
    }
  }
  Collect({});
}

void OxXMLParser::Collect(std::string_view text) {
  if (std::exchange(spacePending_, false)) text_ += ' ';
  text_ += text;
}

// ---- References, in text and in attribute values

// At "&".
void OxXMLParser::CollectReference() {
  std::uint32_t codePoint = 0;
  if (scanner_.TakeCharRef(codePoint)) {
    std::array<unsigned char, 4> utf8{};
    const std::size_t bytes = UnicodeCharToUTF8(codePoint, utf8.data());
    return Collect({reinterpret_cast<const char*>(utf8.data()), bytes});
  }
  const std::uint32_t depth = scanner_.Depth();
  const std::string_view name = scanner_.TakeEntityRef(spill_);
  if (name.empty()) {
    if (IsStrict()) scanner_.FailSyntax("Malformed entity");
    scanner_.TakeByte();
    return Collect("&");
  }
  const std::string_view predefined = XMLText::PredefinedEntity(name);
  if (!predefined.empty()) return Collect(predefined);
  if (ExpandEntity(name, depth)) return;
  Collect("&");
  Collect(name);
  Collect(";");
}

// False when the reference, `depth` deep in pushed text, has to stay as it is.
bool OxXMLParser::ExpandEntity(std::string_view name, std::uint32_t depth) {
  const Hux::SmartPtr<OxXMLDocTypeNode> docType = doc_->GetDocType();
  const OxString* text = docType ? docType->FindEntity(name) : nullptr;
  if (text == nullptr) scanner_.Fail(OxXMLError::kUnknownEntity, OxString(name));
  return expansion_.Push(*text, depth);
}

// ---- CDATA sections and comments

// Collects characters, each of which must be one of XML's, up to one of `stops` or to the end of the
// text.
void OxXMLParser::CollectLegal(unsigned stops) {
  for (;;) {
    text_ += scanner_.TakeRun(stops | XMLCharacters::kSuspectByte);
    const char next = scanner_.PeekByte();
    if (next == 0 || IsByte(next, stops)) return;
    if (!IsByte(next, XMLCharacters::kSuspectByte)) continue;
    std::uint32_t codePoint = 0;
    text_ += scanner_.TakeCharacter(codePoint);
    if (!XMLCharacters::IsChar(codePoint)) {
      scanner_.Fail(OxXMLError::kIllegalCharacter, UpperCaseHex(codePoint));
    }
  }
}

// Behind "<![CDATA[". A section without an end goes as far as the text.
void OxXMLParser::ParseCDATA(std::uint32_t line) {
  for (text_.clear();;) {
    CollectLegal(XMLCharacters::kBracketByte);
    if (scanner_.PeekByte() == 0 || scanner_.MatchASCII("]]>")) break;
    scanner_.TakeByte();
    text_ += ']';
  }
  builder_->Add(OxXMLNode::kCDATANode, {}, text_, line);
}

// Behind the opener. A comment without an end goes as far as the text.
void OxXMLParser::ParseComment(std::uint32_t line) {
  for (text_.clear();;) {
    CollectLegal(XMLCharacters::kHyphenByte);
    if (scanner_.PeekByte() == 0 || scanner_.MatchASCII("-->")) break;
    if (IsStrict() && scanner_.MatchASCII("--")) scanner_.Fail(OxXMLError::kDoubleHyphen);
    scanner_.TakeByte();
    text_ += '-';
  }
  builder_->Add(OxXMLNode::kCommentNode, {}, text_, line);
}

// ---- Processing instructions

// Behind "<?". Two targets are read twice: once for their data, once for what looks like attributes.
// Deliberate: in any letter case "xml" declares, but only the exact spelling stays out of the tree.
void OxXMLParser::ParsePI(std::uint32_t line) {
  const std::string target(scanner_.TakeName(spill_));
  if (target.empty()) scanner_.FailSyntax("Malformed Processing Instruction");
  const OxScanner::Pos data = scanner_.GetPos();
  scanner_.SkipWhitespace();
  for (text_.clear(); !scanner_.MatchASCII("?>");) {
    if (scanner_.MatchByte('?')) text_ += '?';
    text_ += scanner_.TakeRun(XMLCharacters::kQuestionByte);
    if (scanner_.PeekByte() == 0) scanner_.Fail(OxXMLError::kUnexpectedEOF);
  }
  const bool declaration = CompareNoCase(target, "xml") == 0;
  if (declaration || CompareNoCase(target, "wobblefield") == 0) {
    scanner_.SetPos(data);
    const std::string value = std::exchange(text_, {});
    ParsePseudoAttributes(declaration);
    text_ = value;
  }
  if (target != "xml") builder_->Add(OxXMLNode::kPINode, target, text_, line);
}

void OxXMLParser::ParsePseudoAttributes(bool declaration) {
  for (;;) {
    scanner_.SkipWhitespace();
    if (scanner_.MatchASCII("?>")) return;
    ParsePseudoAttribute(declaration);
  }
}

void OxXMLParser::ParsePseudoAttribute(bool declaration) {
  const std::uint32_t line = scanner_.GetLine();
  const OxString name(scanner_.TakeName(spill_));
  if (name.empty()) scanner_.FailSyntax("Unexpected token");
  ExpectEquals();
  const OxString value = OxString::from_valid(GetAttribute());
  if (declaration) {
    doc_->AddAttribute(name, value);
    doc_->GetAttributeNode(name)->SetLine(line);
  } else if (name == "xml-strict" && (value == "yes" || value == "1" || value == "true")) {
    strict_ = 1;
  }
}
