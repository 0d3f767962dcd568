#include <algorithm>
#include <utility>

#include "Xml/OxXMLParser.h"
#include "Xml/XMLEntityValue.h"

namespace {

// Bytes behind the "]" of subsets that may be read for declarations in documents that are shorter.
constexpr std::uint64_t kReadBehind = std::uint64_t{1} << 20;

}  // namespace

// Behind "<!DOCTYPE". The node is the document's while its declarations are read, and goes again when
// that fails.
void OxXMLParser::ParseDOCTYPE(std::uint32_t line) {
  ExpectWhitespace("'!DOCTYPE'");
  const OxString name = ExpectName("root element name");
  const Hux::SmartPtr<OxXMLDocTypeNode> docType = doc_->CreateDocTypeNode(name);
  Append(docType, line);
  try {
    ParseExternalID(*docType);
    ParseInternalSubset(*docType);
    scanner_.SkipWhitespace();
    if (!scanner_.MatchByte('>')) FailSyntax("Expected '>'");
  } catch (...) {
    doc_->RemoveChild(docType);
    throw;
  }
}

void OxXMLParser::ParseExternalID(OxXMLDocTypeNode& docType) {
  scanner_.SkipWhitespace();
  OxString keyword;
  if (!scanner_.MatchName(keyword)) return;
  if (keyword == "SYSTEM") {
    docType.SetLocalPath(ExpectSystemID());
  } else if (keyword == "PUBLIC") {
    const auto [publicID, path] = ExpectPublicID();
    docType.SetPublicPath(publicID, path);
  } else {
    FailSyntax(OxString("Expected SYSTEM or PUBLIC. Found \"") + keyword + "\"");
  }
}

// Behind SYSTEM: its literal.
OxString OxXMLParser::ExpectSystemID() {
  ExpectWhitespace("'SYSTEM'");
  return ExpectLiteral("Expected string");
}

// Behind PUBLIC: both literals.
std::pair<OxString, OxString> OxXMLParser::ExpectPublicID() {
  ExpectWhitespace("'PUBLIC'");
  OxString publicID = ExpectPubID("Expected string");
  ExpectWhitespace("public id literal");
  return {std::move(publicID), ExpectLiteral("Expected string")};
}

// ---- Internal subset

// Deliberate: the text that is kept ends at the first "]", wherever that stands, and so does the subset,
// although its declarations are read with "]" allowed inside literals, comments and instructions, and so
// perhaps out of what follows. One such subset after the other would read the rest of the text each time;
// past kReadBehind no more declarations are read.
void OxXMLParser::ParseInternalSubset(OxXMLDocTypeNode& docType) {
  scanner_.SkipWhitespace();
  if (!scanner_.MatchByte('[')) return CheckLiteral();
  const OxScanner::Pos start = scanner_.GetPos();
  if (readBehind_ <= std::max(kReadBehind, textBytes_)) ParseEntities(docType);
  const std::uint64_t left = scanner_.BytesLeft();
  scanner_.SetPos(start);
  for (text_.clear(); !scanner_.MatchByte(']');) {
    if (scanner_.PeekByte() == 0) Fail(OxXMLError::kUnexpectedEOF);
    text_ += scanner_.TakeRun(XMLCharacters::kBracketByte);
  }
  docType.SetInternalSubset(OxString::from_valid(text_).trim());
  const std::uint64_t behind = scanner_.BytesLeft();
  if (left < behind) readBehind_ += behind - left;
}

// Reads declarations up to "]" or the end of the text; what is none is passed over.
void OxXMLParser::ParseEntities(OxXMLDocTypeNode& docType) {
  for (;;) {
    scanner_.SkipWhitespace();
    switch (scanner_.PeekByte()) {
      case 0:
      case ']':
        return;
      case '<':
        ParseSubsetMarkup(docType);
        break;
      case '%':
        ParseEntityRef(docType);
        break;
      default:
        GetToken();
    }
  }
}

void OxXMLParser::ParseSubsetMarkup(OxXMLDocTypeNode& docType) {
  scanner_.TakeByte();
  if (MatchCommentOpener()) return SkipPast("-->", XMLCharacters::kHyphenByte);
  if (scanner_.MatchByte('?')) return SkipPast("?>", XMLCharacters::kQuestionByte);
  if (scanner_.MatchASCII("!ENTITY")) return ParseEntityDecl(docType, true);
  if (scanner_.MatchASCII("!ELEMENT")) return ParseElementDecl();
  if (scanner_.MatchASCII("!ATTLIST")) return ParseAttListDecl();
  if (scanner_.MatchASCII("!NOTATION")) return ParseNotationDecl();
}

// `stops` is the class of the first byte of `terminator`.
void OxXMLParser::SkipPast(const char* terminator, unsigned stops) {
  while (scanner_.PeekByte() != 0 && !scanner_.MatchASCII(terminator)) {
    scanner_.TakeByte();
    scanner_.TakeRun(stops);
  }
}

// At "%". A reference between declarations is replaced by its text; one that is being read already, or
// is past the budget, is passed over, as is a "%" alone.
void OxXMLParser::ParseEntityRef(OxXMLDocTypeNode& docType) {
  const std::uint32_t depth = scanner_.Depth();
  const std::string_view name = scanner_.TakePERef(spill_);
  if (name.empty()) return scanner_.TakeByte();
  const OxString* text = docType.FindParameterEntity(name);
  if (text == nullptr) Fail(OxXMLError::kUnknownEntity, OxString("%") + OxString(name) + ";");
  expansion_.Push(*text, depth);
}

// ---- Entity declarations

// Behind "<!ENTITY". Only an entity with a literal is kept: nothing external is ever read.
void OxXMLParser::ParseEntityDecl(OxXMLDocTypeNode& docType, bool internalSubset) {
  ExpectWhitespace("'!ENTITY'");
  const bool parameter = scanner_.MatchByte('%');
  if (parameter) ExpectWhitespace("'%'");
  const OxString name = ExpectName("entity name");
  ExpectWhitespace("entity name");
  GetToken();
  if (token_.kind == Token::kString) {
    const OxString text =
        NormalizeEntityValue(token_.text, static_cast<int>(scanner_.GetLine()), internalSubset);
    parameter ? docType.SetParameterEntity(name, text) : docType.SetEntity(name, text);
  } else {
    ParseExternalEntity();
  }
  ExpectEndOfDeclaration();
}

// The current token is the keyword.
void OxXMLParser::ParseExternalEntity() {
  if (token_.IsName("PUBLIC")) {
    ExpectPublicID();
  } else if (token_.IsName("SYSTEM")) {
    ExpectSystemID();
  } else {
    Fail(OxXMLError::kUnexpectedToken, token_.text);
  }
  scanner_.SkipWhitespace();
  OxString keyword;
  if (!scanner_.MatchName(keyword)) return;
  if (!(keyword == "NDATA")) FailSyntax("Expected NDATA or '>'");
  ExpectWhitespace("'NDATA'");
  ExpectName("name after NDATA");
}

OxString OxXMLParser::NormalizeEntityValue(const OxString& value, int line, bool internalSubset) {
  const Hux::SmartPtr<OxXMLDocTypeNode> docType = doc_ ? doc_->GetDocType() : nullptr;
  XMLEntityValue reader(docType.get(), budget_, internalSubset);
  return reader.Normalize(value, static_cast<std::uint32_t>(line));
}
