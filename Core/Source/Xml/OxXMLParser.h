#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Foundation/OxString.h"
#include "Foundation/SmartPtr.h"
#include "Xml/OxXMLDoc.h"
#include "Xml/OxXMLError.h"
#include "Xml/OxXMLScanner.h"
#include "Xml/XMLExpansion.h"
#include "Xml/XMLNameCache.h"

/// Turns XML text into a tree of nodes.
///   Modes:   strict (the default) or lenient. Lenient also takes "<--" as the opener of a comment, "--"
///            inside a comment, attribute values without quotes, a "&" that begins no reference, and end
///            tags in other letter case. White space in front of text goes in both modes; lenient keeps
///            the rest and then trims both ends, as OxString::trim() does; strict turns every run into one
///            space, of which one may stay at the end. A document can ask for strict from its own place on
///            with <?wobblefield xml-strict="yes"?> ("1", "true").
///   Entities: references in text and attribute values are replaced by what the internal subset declares.
///            One that refers to itself, or that would exceed XMLExpansionBudget, stays as "&name;".
///            Deliberate: a subset ends at its first "]", but a literal, a comment or an instruction in it
///            is read to its own end, so that text behind the declaration can declare entities, too. Once
///            1 MiB, or the length of the text if that is more, was read so, further subsets are only
///            kept, and not read for declarations.
///   Lines:   each node knows the line on which it begins; an error has the line of the position.
///   Depth:   documents may nest as deep as memory allows; nothing recurses.
///   Copying: not possible; a parser serves one document after the other.
///
///   OxXMLParser parser;
///   parser.SetStrict(false);
///   auto doc = OxXMLDoc::Make();
///   const OxXMLError error = parser.Parse(text, doc);
///   if (error.GetError() != OxXMLError::kNoError) Report(error.GetDescription());
class OxXMLParser {
 public:
  /// A lexical unit of a declaration: a name, a quoted literal (its text without the quotes), a single
  /// other character, or the end of the input.
  struct Token {
    /// What the token is.
    enum Kind { kEnd, kName, kString, kCharacter };
    Kind kind = kEnd;  ///< kEnd until one is read.
    OxString text;     ///< Empty at the end.

    /// Whether it is this very name.
    bool IsName(const char* name) const { return kind == kName && text == name; }
    /// Whether it is this ASCII character, outside a literal.
    bool Is(char character) const {
      return kind == kCharacter && text.view() == std::string_view(&character, 1);
    }
  };

  OxXMLParser();
  ~OxXMLParser();

  /// Strict or lenient, for all parses from now on; what a document asks for itself ends with its parse.
  void SetStrict(bool strict) { strict_ = strict ? 1 : 0; }
  bool IsStrict() const { return strict_ != 0; }  ///< Of the next parse; true until SetStrict(false).

  /// Parses `text` into `doc`. Success is kNoError with line 0. After a failure the document holds what
  /// was complete before it: a top-level element arrives with its end tag. Throws nothing of its own: a
  /// null `doc`, a zero in the text and lack of memory give kSyntaxError, "Unknown error". The parser holds
  /// `doc` until the next parse. Deliberate: a second root element is parsed and then dropped without an
  /// error.
  OxXMLError Parse(const OxString& text, Hux::SmartPtr<OxXMLDoc> doc);

  /// The replacement text of a literal in an entity declaration at `line`: character references replaced,
  /// white space turned into spaces, general references kept. Parameter references are replaced by what
  /// the document of the last parse declares, or refused with kParameterEntityInMarkup inside an internal
  /// subset. Throws OxXMLError, and OxString::const_iterator::OutOfBounds for a zero in `value`.
  OxString NormalizeEntityValue(const OxString& value, int line, bool internalSubset);

 private:
  // ---- Document and elements (OxXMLParser.cpp)
  OxXMLError ParseCatching();
  void ParseDocument();
  void ParseTopLevelItem();
  void ParseElement(std::uint32_t line);
  void ParseStartTag(std::uint32_t line);
  void ParseContentItem();
  void ParseMarkup();
  void ParseEndTag();
  void CheckEndTag(std::string_view name) const;
  bool MatchCommentOpener();
  OxXMLNode& CurrentParent() const;
  void Append(const Hux::SmartPtr<OxXMLNode>& node, std::uint32_t line);

  // ---- Attributes (OxXMLParserAttributes.cpp)
  void ParseAttribute(OxXMLElementNode& element);
  OxString GetAttribute();
  OxString GetQuotedValue(char quote);
  void CollectQuotedValue(char quote, unsigned quoteClass, std::uint32_t depth);
  OxString GetUnquotedValue();
  void ExpectEquals();

  // ---- Text, CDATA sections, comments, instructions (OxXMLParserContent.cpp)
  void ParseText();
  void CollectText();
  void CollectReference();
  bool ExpandEntity(std::string_view name, std::uint32_t depth);
  void Collect(std::string_view text);
  void ParseCDATA(std::uint32_t line);
  void ParseComment(std::uint32_t line);
  void CollectLegal(unsigned stops);
  void ParsePI(std::uint32_t line);
  void ParsePseudoAttributes(bool declaration);
  void ParsePseudoAttribute(bool declaration);

  // ---- Document type declaration (OxXMLParserDocType.cpp)
  void ParseDOCTYPE(std::uint32_t line);
  void ParseExternalID(OxXMLDocTypeNode& docType);
  OxString ExpectSystemID();
  std::pair<OxString, OxString> ExpectPublicID();
  void ParseInternalSubset(OxXMLDocTypeNode& docType);
  void ParseEntities(OxXMLDocTypeNode& docType);
  void ParseEntityRef(OxXMLDocTypeNode& docType);
  void SkipPast(const char* terminator, unsigned stops);
  void ParseSubsetMarkup(OxXMLDocTypeNode& docType);
  void ParseEntityDecl(OxXMLDocTypeNode& docType, bool internalSubset);
  void ParseExternalEntity();

  // ---- Declarations of which nothing is kept (OxXMLParserDeclarations.cpp)
  void ParseElementDecl();
  void ParseContentModel();
  void ParseChoiceOrSequence();
  bool ParseContentParticle();
  bool ParseSeparator(char& separator);
  bool MatchOccurrence();
  void ParseAttListDecl();
  void ParseAttributeType();
  void ParseAttributeDefault();
  std::size_t ParseNameChoices();
  void ParseNameTokenChoices();
  void ParseNotationDecl();

  // ---- Tokens and expectations (OxXMLParserTokens.cpp)
  [[noreturn]] void Fail(OxXMLError::Error kind, const OxString& text = OxString()) const;
  [[noreturn]] void FailSyntax(const OxString& text) const;
  [[noreturn]] void FailGot(const char* expected) const;
  void GetToken();
  bool MatchLiteral(OxString& text);
  void CheckLiteral();
  OxString ExpectLiteral(const char* otherwise);
  OxString ExpectPubID(const char* otherwise);
  OxString ExpectName(const char* description);
  void ExpectWhitespace(const char* after);
  void ExpectEndOfDeclaration();

  Hux::SmartPtr<OxXMLDoc> doc_;
  Token token_;
  std::int32_t strict_ = 1;
  OxXMLScanner scanner_;

  std::vector<Hux::SmartPtr<OxXMLElementNode>> open_;  // The elements whose end tags are still to come.
  XMLNameCache names_;
  XMLExpansionBudget budget_{0};
  XMLExpansion expansion_{scanner_, budget_};
  std::uint64_t textBytes_ = 0;   // Of the whole text.
  std::uint64_t readBehind_ = 0;  // Bytes that subsets have read behind their "]".
  std::string text_;              // What is being collected.
  bool spacePending_ = false;  // White space was met that becomes one space if text follows or it ends.
  std::string spill_;          // A name that lies in two segments.
};
