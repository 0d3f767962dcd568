#include "Xml/OxXMLParser.h"

// ---- Failures

void OxXMLParser::Fail(OxXMLError::Error kind, const OxString& text) const {
  throw OxXMLError(kind, text, scanner_.GetLine());
}

void OxXMLParser::FailSyntax(const OxString& text) const {
  Fail(OxXMLError::kSyntaxError, text);
}

// "Expected X. Got 'Y'", Y being the current token.
void OxXMLParser::FailGot(const char* expected) const {
  OxString detail("Expected ");
  detail += expected;
  detail += ". Got '";
  detail += token_.text;
  detail += "'";
  FailSyntax(detail);
}

// ---- Tokens

void OxXMLParser::GetToken() {
  token_ = Token();
  scanner_.SkipWhitespace();
  if (scanner_.PeekByte() == 0) return;
  if (scanner_.MatchName(token_.text)) {
    token_.kind = Token::kName;
  } else if (MatchLiteral(token_.text)) {
    token_.kind = Token::kString;
  } else {
    std::uint32_t codePoint = 0;
    token_.text = OxString::from_valid(scanner_.TakeCharacter(codePoint));
    token_.kind = Token::kCharacter;
  }
}

// A text in quotes or apostrophes.
bool OxXMLParser::MatchLiteral(OxString& text) {
  const char quote = scanner_.PeekByte();
  if (quote != '"' && quote != '\'') return false;
  scanner_.TakeByte();
  for (text_.clear(); !scanner_.MatchByte(quote);) {
    if (scanner_.PeekByte() == 0) Fail(OxXMLError::kUnterminatedString);
    text_ += scanner_.TakeRun(XMLCharacters::QuoteClass(quote));
  }
  text = OxString::from_valid(text_);
  return true;
}

// A literal that comes next must end, also where none is wanted.
void OxXMLParser::CheckLiteral() {
  const OxScanner::Pos start = scanner_.GetPos();
  OxString literal;
  if (MatchLiteral(literal)) scanner_.SetPos(start);
}

// ---- Expectations

OxString OxXMLParser::ExpectLiteral(const char* otherwise) {
  OxString text;
  if (!MatchLiteral(text)) FailSyntax(otherwise);
  return text;
}

OxString OxXMLParser::ExpectPubID(const char* otherwise) {
  OxString literal = ExpectLiteral(otherwise);
  for (const char byte : literal.view()) {
    if (!XMLCharacters::IsPubIDChar(static_cast<unsigned char>(byte))) Fail(OxXMLError::kInvalidPubID);
  }
  return literal;
}

OxString OxXMLParser::ExpectName(const char* description) {
  scanner_.SkipWhitespace();
  OxString name;
  if (scanner_.MatchName(name)) return name;
  FailSyntax(OxString("Expected ") + description);
}

void OxXMLParser::ExpectWhitespace(const char* after) {
  if (scanner_.MatchWhitespace(OxScanner::kOneOrMore)) return;
  FailSyntax(OxString("Expected whitespace after ") + after);
}

// ">" at the end of a declaration whose message tells what came instead.
void OxXMLParser::ExpectEndOfDeclaration() {
  GetToken();
  if (!token_.Is('>')) FailGot("'>'");
}
