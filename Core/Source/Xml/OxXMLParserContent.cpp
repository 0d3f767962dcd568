#include <array>
#include <utility>

#include "Foundation/UnicodeConversion.h"
#include "Xml/OxXMLParser.h"

using XMLCharacters::IsByte;

namespace {

// The white space of OxString::trim(), which would first copy what it removes.
bool IsTrimmed(char byte) {
  return IsWhitespace(static_cast<signed char>(byte));
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
  if (!text.empty()) Append(doc_->CreateTextNode(OxString::from_valid(text)), line);
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
    if (IsStrict()) FailSyntax("Malformed entity");
    scanner_.TakeByte();
    return Collect("&");
  }
  const std::string_view predefined = OxXMLDocTypeNode::PredefinedEntity(name);
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
  if (text == nullptr) Fail(OxXMLError::kUnknownEntity, OxString(name));
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
      Fail(OxXMLError::kIllegalCharacter, UpperCaseHex(codePoint));
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
  Append(doc_->CreateCDATANode(OxString::from_valid(text_)), line);
}

// Behind the opener. A comment without an end goes as far as the text.
void OxXMLParser::ParseComment(std::uint32_t line) {
  for (text_.clear();;) {
    CollectLegal(XMLCharacters::kHyphenByte);
    if (scanner_.PeekByte() == 0 || scanner_.MatchASCII("-->")) break;
    if (IsStrict() && scanner_.MatchASCII("--")) Fail(OxXMLError::kDoubleHyphen);
    scanner_.TakeByte();
    text_ += '-';
  }
  Append(doc_->CreateCommentNode(OxString::from_valid(text_)), line);
}

// ---- Processing instructions

// Behind "<?". Two targets are read twice: once for their data, once for what looks like attributes.
// Deliberate: in any letter case "xml" declares, but only the exact spelling stays out of the tree.
void OxXMLParser::ParsePI(std::uint32_t line) {
  const std::string_view target = scanner_.TakeName(spill_);
  if (target.empty()) FailSyntax("Malformed Processing Instruction");
  const Hux::SmartPtr<OxXMLPINode> instruction = doc_->CreatePINode(names_.Get(target), OxString());
  const OxString& name = instruction->GetName();
  const OxScanner::Pos data = scanner_.GetPos();
  scanner_.SkipWhitespace();
  for (text_.clear(); !scanner_.MatchASCII("?>");) {
    if (scanner_.MatchByte('?')) text_ += '?';
    text_ += scanner_.TakeRun(XMLCharacters::kQuestionByte);
    if (scanner_.PeekByte() == 0) Fail(OxXMLError::kUnexpectedEOF);
  }
  instruction->SetValue(OxString::from_valid(text_));

  const bool declaration = name.compare("xml", OxString::kCaseInsensitive) == 0;
  if (declaration || name.compare("wobblefield", OxString::kCaseInsensitive) == 0) {
    scanner_.SetPos(data);
    ParsePseudoAttributes(declaration);
  }
  if (name.view() != "xml") Append(instruction, line);
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
  if (name.empty()) FailSyntax("Unexpected token");
  ExpectEquals();
  const OxString value = GetAttribute();
  if (declaration) {
    doc_->AddAttribute(name, value);
    doc_->GetAttributeNode(name)->SetLine(line);
  } else if (name == "xml-strict" && (value == "yes" || value == "1" || value == "true")) {
    strict_ = 1;
  }
}
