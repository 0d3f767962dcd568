#include "Xml/XMLDeclarations.h"

#include <algorithm>
#include <array>
#include <memory>
#include <unordered_set>
#include <vector>

using XMLCharacters::IsByte;

namespace {

// Bytes behind the "]" of subsets that may be read for declarations in documents that are shorter.
constexpr std::uint64_t kReadBehind = std::uint64_t{1} << 20;

constexpr std::array<std::string_view, 8> kSimpleTypes = {"CDATA",  "ID",       "IDREF",   "IDREFS",
                                                          "ENTITY", "ENTITIES", "NMTOKEN", "NMTOKENS"};

// Makes the replacement text of one literal.
class EntityValue {
 public:
  EntityValue(const OxXMLDocTypeNode* docType, XMLExpansionBudget& budget, bool internalSubset,
              bool written)
      : docType_(docType), budget_(budget), internalSubset_(internalSubset), written_(written) {}

  OxString Normalize(const OxString& value, std::uint32_t line);

 private:
  // A text that is being read: the value, or that of a parameter entity.
  struct Open {
    const OxString* text = nullptr;
    OxXMLScanner scanner;
  };

  void Enter(const OxString& text);
  void CollectWhitespace(OxXMLScanner& scanner);
  void CollectCharRef(OxXMLScanner& scanner);
  void CollectParameterEntity(OxXMLScanner& scanner, std::uint32_t line);

  const OxXMLDocTypeNode* docType_;
  XMLExpansionBudget& budget_;
  bool internalSubset_;
  bool written_;
  std::vector<std::unique_ptr<Open>> open_;  // The innermost last.
  std::unordered_set<const OxString*> openTexts_;
  OxString text_;
  std::string spill_;
};

// Every text is read by itself, so that what one ends with never joins what follows it.
OxString EntityValue::Normalize(const OxString& value, std::uint32_t line) {
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

void EntityValue::Enter(const OxString& text) {
  open_.push_back(std::make_unique<Open>());
  open_.back()->text = &text;
  openTexts_.insert(&text);
  open_.back()->scanner.SetData(text, 1);
}

// One space for each, and for a line end of two characters that was written so, and did not come out of references.
void EntityValue::CollectWhitespace(OxXMLScanner& scanner) {
  const bool written = written_ && open_.size() == 1;
  if (!written || !scanner.MatchASCII("\r\n")) scanner.TakeByte();
  text_.append_valid(" ");
}

// A reference to a general entity waits until this one is used.
void EntityValue::CollectCharRef(OxXMLScanner& scanner) {
  if (scanner.MatchCharRef(text_)) return;
  scanner.TakeByte();
  text_.append_valid("&");
}

// One that is being read already, or is past the budget, is passed over.
void EntityValue::CollectParameterEntity(OxXMLScanner& scanner, std::uint32_t line) {
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

}  // namespace

OxString XMLDeclarations::NormalizeEntityValue(const OxXMLDocTypeNode* docType,
                                               XMLExpansionBudget& budget, const Literal& literal,
                                               bool internalSubset) {
  EntityValue value(docType, budget, internalSubset, literal.isWritten);
  return value.Normalize(literal.text, literal.line);
}

void XMLDeclarations::Parse(OxXMLDocTypeNode& docType, bool strict) {
  strict_ = strict;
  ParseExternalID(docType);
  ParseInternalSubset(docType);
  scanner_.SkipWhitespace();
  if (!scanner_.MatchByte('>')) scanner_.FailSyntax("Expected '>'");
}

void XMLDeclarations::ParseExternalID(OxXMLDocTypeNode& docType) {
  scanner_.SkipWhitespace();
  OxString keyword;
  if (!scanner_.MatchName(keyword)) return;
  if (keyword == "SYSTEM") {
    docType.SetLocalPath(ExpectSystemID());
  } else if (keyword == "PUBLIC") {
    const auto [publicID, path] = ExpectPublicID();
    docType.SetPublicPath(publicID, path);
  } else {
    scanner_.FailSyntax(OxString("Expected SYSTEM or PUBLIC. Found \"") + keyword + "\"");
  }
}

// Behind SYSTEM: its literal.
OxString XMLDeclarations::ExpectSystemID() {
  scanner_.ExpectWhitespace("'SYSTEM'");
  return ExpectLiteral("Expected string");
}

// Behind PUBLIC: both literals.
std::pair<OxString, OxString> XMLDeclarations::ExpectPublicID() {
  scanner_.ExpectWhitespace("'PUBLIC'");
  OxString publicID = ExpectPubID("Expected string");
  scanner_.ExpectWhitespace("public id literal");
  return {std::move(publicID), ExpectLiteral("Expected string")};
}

// ---- Internal subset

// Deliberate: the text that is kept ends at the first "]", wherever that stands, and so does the subset,
// although its declarations are read with "]" allowed inside literals, comments and instructions, and so
// perhaps out of what follows. One such subset after the other would read the rest of the text each time;
// past kReadBehind no more declarations are read.
void XMLDeclarations::ParseInternalSubset(OxXMLDocTypeNode& docType) {
  scanner_.SkipWhitespace();
  if (!scanner_.MatchByte('[')) return CheckLiteral();
  const OxScanner::Pos start = scanner_.GetPos();
  if (readBehind_ <= std::max(kReadBehind, textBytes_)) ParseEntities(docType);
  const std::uint64_t left = scanner_.BytesLeft();
  scanner_.SetPos(start);
  for (text_.clear(); !scanner_.MatchByte(']');) {
    if (scanner_.PeekByte() == 0) scanner_.Fail(OxXMLError::kUnexpectedEOF);
    text_ += scanner_.TakeRun(XMLCharacters::kBracketByte);
  }
  docType.SetInternalSubset(OxString::from_valid(text_).trim());
  const std::uint64_t behind = scanner_.BytesLeft();
  if (left < behind) readBehind_ += behind - left;
}

// Reads declarations up to "]" or the end of the text; what is none is passed over.
void XMLDeclarations::ParseEntities(OxXMLDocTypeNode& docType) {
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

void XMLDeclarations::ParseSubsetMarkup(OxXMLDocTypeNode& docType) {
  scanner_.TakeByte();
  if (scanner_.MatchCommentOpener(strict_)) return SkipPast("-->", XMLCharacters::kHyphenByte);
  if (scanner_.MatchByte('?')) return SkipPast("?>", XMLCharacters::kQuestionByte);
  if (scanner_.MatchASCII("!ENTITY")) return ParseEntityDecl(docType);
  if (scanner_.MatchASCII("!ELEMENT")) return ParseElementDecl();
  if (scanner_.MatchASCII("!ATTLIST")) return ParseAttListDecl();
  if (scanner_.MatchASCII("!NOTATION")) return ParseNotationDecl();
}

// `stops` is the class of the first byte of `terminator`.
void XMLDeclarations::SkipPast(const char* terminator, unsigned stops) {
  while (scanner_.PeekByte() != 0 && !scanner_.MatchASCII(terminator)) {
    scanner_.TakeByte();
    scanner_.TakeRun(stops);
  }
}

// At "%". A reference between declarations is replaced by its text; one that is being read already, or
// is past the budget, is passed over, as is a "%" alone.
void XMLDeclarations::ParseEntityRef(OxXMLDocTypeNode& docType) {
  const std::uint32_t depth = scanner_.Depth();
  const std::string_view name = scanner_.TakePERef(spill_);
  if (name.empty()) return scanner_.TakeByte();
  const OxString* text = docType.FindParameterEntity(name);
  if (text == nullptr) scanner_.Fail(OxXMLError::kUnknownEntity, OxString("%") + OxString(name) + ";");
  expansion_.Push(*text, depth);
}

// ---- Entity declarations

// Behind "<!ENTITY". Only an entity with a literal is kept: nothing external is ever read.
void XMLDeclarations::ParseEntityDecl(OxXMLDocTypeNode& docType) {
  scanner_.ExpectWhitespace("'!ENTITY'");
  const bool parameter = scanner_.MatchByte('%');
  if (parameter) scanner_.ExpectWhitespace("'%'");
  const OxString name = scanner_.ExpectName("entity name");
  scanner_.ExpectWhitespace("entity name");
  scanner_.SkipWhitespace();
  const bool written = scanner_.Depth() == 0;
  GetToken();
  if (token_.kind == Token::kString) {
    const Literal literal{token_.text, scanner_.GetLine(), written};
    const OxString text = NormalizeEntityValue(&docType, budget_, literal, true);
    parameter ? docType.SetParameterEntity(name, text) : docType.SetEntity(name, text);
  } else {
    ParseExternalEntity();
  }
  ExpectEndOfDeclaration();
}

// The current token is the keyword.
void XMLDeclarations::ParseExternalEntity() {
  if (token_.IsName("PUBLIC")) {
    ExpectPublicID();
  } else if (token_.IsName("SYSTEM")) {
    ExpectSystemID();
  } else {
    scanner_.Fail(OxXMLError::kUnexpectedToken, token_.text);
  }
  scanner_.SkipWhitespace();
  OxString keyword;
  if (!scanner_.MatchName(keyword)) return;
  if (!(keyword == "NDATA")) scanner_.FailSyntax("Expected NDATA or '>'");
  scanner_.ExpectWhitespace("'NDATA'");
  scanner_.ExpectName("name after NDATA");
}

// ---- Elements

// Behind "<!ELEMENT".
void XMLDeclarations::ParseElementDecl() {
  scanner_.ExpectWhitespace("'!ELEMENT'");
  scanner_.ExpectName("element name");
  scanner_.ExpectWhitespace("element name");
  GetToken();
  if (token_.Is('(')) {
    ParseContentModel();
  } else if (token_.kind != Token::kName) {
    scanner_.FailSyntax("Expected EMPTY, ANY, or children");
  } else if (!token_.IsName("EMPTY") && !token_.IsName("ANY")) {
    scanner_.FailSyntax(OxString("Unexpected token. Got '") + token_.text + "'");
  }
  scanner_.SkipWhitespace();
  if (!scanner_.MatchByte('>')) scanner_.FailSyntax("Expected '>'");
}

// Behind "(". A mixed list with names must be repeatable.
void XMLDeclarations::ParseContentModel() {
  scanner_.SkipWhitespace();
  if (!scanner_.MatchASCII("#PCDATA")) return ParseChoiceOrSequence();
  const bool names = ParseNameChoices() > 0;
  if (!MatchOccurrence() && names) scanner_.FailSyntax("Expected '?', '*', or '+'");
}

bool XMLDeclarations::MatchOccurrence() {
  return scanner_.MatchByte('?') || scanner_.MatchByte('*') || scanner_.MatchByte('+');
}

// Behind "(": a group with all groups in it. Each open group remembers its separator, 0 before the first.
void XMLDeclarations::ParseChoiceOrSequence() {
  std::string separators(1, '\0');
  for (;;) {
    if (!ParseContentParticle()) {
      separators.push_back('\0');
      continue;
    }
    while (!ParseSeparator(separators.back())) {
      MatchOccurrence();
      separators.pop_back();
      if (separators.empty()) return;
    }
  }
}

// A name, or the opening of a group, which gives false.
bool XMLDeclarations::ParseContentParticle() {
  scanner_.SkipWhitespace();
  if (scanner_.MatchByte('(')) return false;
  scanner_.ExpectName("content particle");
  MatchOccurrence();
  return true;
}

// What follows a particle of a group: the group's separator, or its end, which gives false.
bool XMLDeclarations::ParseSeparator(char& separator) {
  scanner_.SkipWhitespace();
  if (scanner_.MatchByte(')')) return false;
  for (const char candidate : {',', '|'}) {
    if ((separator == 0 || separator == candidate) && scanner_.MatchByte(candidate)) {
      separator = candidate;
      return true;
    }
  }
  const char* const expected = separator == ','   ? "Expected ',' or ')'"
                               : separator == '|' ? "Expected '|' or ')'"
                                                  : "Expected ',' or '|' or ')'";
  scanner_.FailSyntax(expected);
  return false;
}

// What follows the first item of a list up to ")": names, each behind a "|". Gives their number.
std::size_t XMLDeclarations::ParseNameChoices() {
  for (std::size_t names = 0;; ++names) {
    scanner_.SkipWhitespace();
    if (scanner_.MatchByte(')')) return names;
    if (!scanner_.MatchByte('|')) scanner_.FailSyntax("Expected '|' or ')'");
    scanner_.ExpectName("name");
  }
}

// ---- Attributes

// Behind "<!ATTLIST".
void XMLDeclarations::ParseAttListDecl() {
  scanner_.ExpectWhitespace("'!ATTLIST'");
  scanner_.ExpectName("element name");
  scanner_.ExpectWhitespace("element name");
  while (!scanner_.MatchByte('>')) {
    scanner_.ExpectName("attribute name");
    scanner_.ExpectWhitespace("attribute name");
    ParseAttributeType();
    scanner_.ExpectWhitespace("attribute type");
    ParseAttributeDefault();
    const bool more = scanner_.PeekByte() != '>';
    if (more && !scanner_.MatchWhitespace(OxScanner::kOneOrMore)) {
      scanner_.FailSyntax("Expected whitespace after attribute definition");
    }
  }
}

void XMLDeclarations::ParseAttributeType() {
  GetToken();
  if (token_.Is('(')) return ParseNameTokenChoices();
  if (token_.kind != Token::kName) FailGot("name or list");
  if (std::find(kSimpleTypes.begin(), kSimpleTypes.end(), token_.text.view()) != kSimpleTypes.end())
    return;
  if (!token_.IsName("NOTATION")) scanner_.FailSyntax("Invalid attribute type");
  scanner_.ExpectWhitespace("'NOTATION'");
  GetToken();
  if (!token_.Is('(')) FailGot("'('");
  scanner_.ExpectName("name");
  ParseNameChoices();
}

// Behind "(".
void XMLDeclarations::ParseNameTokenChoices() {
  do {
    scanner_.SkipWhitespace();
    OxString nameToken;
    if (!scanner_.MatchNameToken(nameToken)) scanner_.FailSyntax("Expected name token");
    GetToken();
  } while (token_.Is('|'));
  if (!token_.Is(')')) FailGot("')'");
}

void XMLDeclarations::ParseAttributeDefault() {
  if (scanner_.MatchASCII("#REQUIRED") || scanner_.MatchASCII("#IMPLIED")) return;
  if (scanner_.MatchASCII("#FIXED") && !scanner_.MatchWhitespace(OxScanner::kOneOrMore)) {
    scanner_.FailSyntax("Whitespace expected after #FIXED");
  }
  ExpectLiteral("Invalid attribute value");
}

// ---- Notations

// Behind "<!NOTATION".
void XMLDeclarations::ParseNotationDecl() {
  scanner_.ExpectWhitespace("'!NOTATION'");
  scanner_.ExpectName("name");
  scanner_.ExpectWhitespace("name");
  GetToken();
  if (token_.IsName("SYSTEM")) {
    scanner_.ExpectWhitespace("'SYSTEM'");
    ExpectLiteral("Expected system literal");
  } else if (token_.IsName("PUBLIC")) {
    scanner_.ExpectWhitespace("'PUBLIC'");
    ExpectPubID("Expected public ID literal");
    if (scanner_.MatchWhitespace(OxScanner::kOneOrMore)) MatchLiteral(token_.text);
  } else {
    scanner_.FailSyntax("Expected 'SYSTEM' or 'PUBLIC'");
  }
  ExpectEndOfDeclaration();
}

// ---- Tokens and expectations

// "Expected X. Got 'Y'", Y being the current token.
void XMLDeclarations::FailGot(const char* expected) const {
  OxString detail("Expected ");
  detail += expected;
  detail += ". Got '";
  detail += token_.text;
  detail += "'";
  scanner_.FailSyntax(detail);
}

void XMLDeclarations::GetToken() {
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
bool XMLDeclarations::MatchLiteral(OxString& text) {
  const char quote = scanner_.PeekByte();
  if (quote != '"' && quote != '\'') return false;
  scanner_.TakeByte();
  for (text_.clear(); !scanner_.MatchByte(quote);) {
    if (scanner_.PeekByte() == 0) scanner_.Fail(OxXMLError::kUnterminatedString);
    text_ += scanner_.TakeRun(XMLCharacters::QuoteClass(quote));
  }
  text = OxString::from_valid(text_);
  return true;
}

// A literal that comes next must end, also where none is wanted.
void XMLDeclarations::CheckLiteral() {
  const OxScanner::Pos start = scanner_.GetPos();
  OxString literal;
  if (MatchLiteral(literal)) scanner_.SetPos(start);
}

OxString XMLDeclarations::ExpectLiteral(const char* otherwise) {
  OxString text;
  if (!MatchLiteral(text)) scanner_.FailSyntax(otherwise);
  return text;
}

OxString XMLDeclarations::ExpectPubID(const char* otherwise) {
  OxString literal = ExpectLiteral(otherwise);
  for (const char byte : literal.view()) {
    if (!XMLCharacters::IsPubIDChar(static_cast<unsigned char>(byte)))
      scanner_.Fail(OxXMLError::kInvalidPubID);
  }
  return literal;
}

// ">" at the end of a declaration whose message tells what came instead.
void XMLDeclarations::ExpectEndOfDeclaration() {
  GetToken();
  if (!token_.Is('>')) FailGot("'>'");
}
