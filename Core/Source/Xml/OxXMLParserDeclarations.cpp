#include <algorithm>
#include <array>

#include "Xml/OxXMLParser.h"

namespace {

constexpr std::array<std::string_view, 8> kSimpleTypes = {"CDATA",  "ID",       "IDREF",   "IDREFS",
                                                          "ENTITY", "ENTITIES", "NMTOKEN", "NMTOKENS"};

}  // namespace

// ---- Elements

// Behind "<!ELEMENT".
void OxXMLParser::ParseElementDecl() {
  ExpectWhitespace("'!ELEMENT'");
  ExpectName("element name");
  ExpectWhitespace("element name");
  GetToken();
  if (token_.Is('(')) {
    ParseContentModel();
  } else if (token_.kind != Token::kName) {
    FailSyntax("Expected EMPTY, ANY, or children");
  } else if (!token_.IsName("EMPTY") && !token_.IsName("ANY")) {
    FailSyntax(OxString("Unexpected token. Got '") + token_.text + "'");
  }
  scanner_.SkipWhitespace();
  if (!scanner_.MatchByte('>')) FailSyntax("Expected '>'");
}

// Behind "(". A mixed list with names must be repeatable.
void OxXMLParser::ParseContentModel() {
  scanner_.SkipWhitespace();
  if (!scanner_.MatchASCII("#PCDATA")) return ParseChoiceOrSequence();
  const bool names = ParseNameChoices() > 0;
  if (!MatchOccurrence() && names) FailSyntax("Expected '?', '*', or '+'");
}

bool OxXMLParser::MatchOccurrence() {
  return scanner_.MatchByte('?') || scanner_.MatchByte('*') || scanner_.MatchByte('+');
}

// Behind "(": a group with all groups in it. Each open group remembers its separator, 0 before the first.
void OxXMLParser::ParseChoiceOrSequence() {
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
bool OxXMLParser::ParseContentParticle() {
  scanner_.SkipWhitespace();
  if (scanner_.MatchByte('(')) return false;
  ExpectName("content particle");
  MatchOccurrence();
  return true;
}

// What follows a particle of a group: the group's separator, or its end, which gives false.
bool OxXMLParser::ParseSeparator(char& separator) {
  scanner_.SkipWhitespace();
  if (scanner_.MatchByte(')')) return false;
  for (const char candidate : {',', '|'}) {
    if ((separator == 0 || separator == candidate) && scanner_.MatchByte(candidate)) {
      separator = candidate;
      return true;
    }
  }
  if (separator == ',') FailSyntax("Expected ',' or ')'");
  FailSyntax(separator == '|' ? "Expected '|' or ')'" : "Expected ',' or '|' or ')'");
}

// What follows the first item of a list up to ")": names, each behind a "|". Gives their number.
std::size_t OxXMLParser::ParseNameChoices() {
  for (std::size_t names = 0;; ++names) {
    scanner_.SkipWhitespace();
    if (scanner_.MatchByte(')')) return names;
    if (!scanner_.MatchByte('|')) FailSyntax("Expected '|' or ')'");
    ExpectName("name");
  }
}

// ---- Attributes

// Behind "<!ATTLIST".
void OxXMLParser::ParseAttListDecl() {
  ExpectWhitespace("'!ATTLIST'");
  ExpectName("element name");
  ExpectWhitespace("element name");
  while (!scanner_.MatchByte('>')) {
    ExpectName("attribute name");
    ExpectWhitespace("attribute name");
    ParseAttributeType();
    ExpectWhitespace("attribute type");
    ParseAttributeDefault();
    const bool more = scanner_.PeekByte() != '>';
    if (more && !scanner_.MatchWhitespace(OxScanner::kOneOrMore)) {
      FailSyntax("Expected whitespace after attribute definition");
    }
  }
}

void OxXMLParser::ParseAttributeType() {
  GetToken();
  if (token_.Is('(')) return ParseNameTokenChoices();
  if (token_.kind != Token::kName) FailGot("name or list");
  if (std::find(kSimpleTypes.begin(), kSimpleTypes.end(), token_.text.view()) != kSimpleTypes.end())
    return;
  if (!token_.IsName("NOTATION")) FailSyntax("Invalid attribute type");
  ExpectWhitespace("'NOTATION'");
  GetToken();
  if (!token_.Is('(')) FailGot("'('");
  ExpectName("name");
  ParseNameChoices();
}

// Behind "(".
void OxXMLParser::ParseNameTokenChoices() {
  do {
    scanner_.SkipWhitespace();
    OxString nameToken;
    if (!scanner_.MatchNameToken(nameToken)) FailSyntax("Expected name token");
    GetToken();
  } while (token_.Is('|'));
  if (!token_.Is(')')) FailGot("')'");
}

void OxXMLParser::ParseAttributeDefault() {
  if (scanner_.MatchASCII("#REQUIRED") || scanner_.MatchASCII("#IMPLIED")) return;
  if (scanner_.MatchASCII("#FIXED") && !scanner_.MatchWhitespace(OxScanner::kOneOrMore)) {
    FailSyntax("Whitespace expected after #FIXED");
  }
  ExpectLiteral("Invalid attribute value");
}

// ---- Notations

// Behind "<!NOTATION".
void OxXMLParser::ParseNotationDecl() {
  ExpectWhitespace("'!NOTATION'");
  ExpectName("name");
  ExpectWhitespace("name");
  GetToken();
  if (token_.IsName("SYSTEM")) {
    ExpectWhitespace("'SYSTEM'");
    ExpectLiteral("Expected system literal");
  } else if (token_.IsName("PUBLIC")) {
    ExpectWhitespace("'PUBLIC'");
    ExpectPubID("Expected public ID literal");
    if (scanner_.MatchWhitespace(OxScanner::kOneOrMore)) MatchLiteral(token_.text);
  } else {
    FailSyntax("Expected 'SYSTEM' or 'PUBLIC'");
  }
  ExpectEndOfDeclaration();
}
