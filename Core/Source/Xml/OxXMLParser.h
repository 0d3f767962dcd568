#pragma once

#include <cstdint>
#include <string>
#include <string_view>
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
///            tags in other letter case; it keeps white space inside text and trims both ends, where
///            strict turns every run of it into one space and drops the first. A document can ask for
///            strict with <?wobblefield xml-strict="yes"?> ("1", "true").
///   Entities: references in text and attribute values are replaced by what the internal subset declares.
///            One that refers to itself, or that would exceed XMLExpansionBudget, stays as "&name;".
///   Lines:   each node knows the line on which it begins; an error has the line of the position.
///   Depth:   documents may nest as deep as memory allows; nothing recurses.
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
    enum Kind { kEnd, kName, kString, kCharacter };
    Kind kind = kEnd;
    OxString text;

    bool IsName(const char* name) const { return kind == kName && text == name; }
    bool Is(char character) const {
      return kind == kCharacter && text.view() == std::string_view(&character, 1);
    }
  };

  OxXMLParser();
  ~OxXMLParser();

  /// What a document asks for itself ends with its parse.
  void SetStrict(bool strict) { strict_ = strict ? 1 : 0; }
  bool IsStrict() const { return strict_ != 0; }

  /// Parses `text` into `doc`. Success is kNoError with line 0. After a failure the document holds what
  /// was complete before it: a top-level element arrives with its end tag. Deliberate: a second root
  /// element is parsed and then dropped without an error.
  OxXMLError Parse(const OxString& text, Hux::SmartPtr<OxXMLDoc> doc);

  /// The replacement text of a literal in an entity declaration at `line`: character references replaced,
  /// white space turned into spaces, general references kept. Parameter references are replaced by what
  /// the document under way declares, or refused with kParameterEntityInMarkup inside an internal subset.
  /// Throws OxXMLError.
  OxString NormalizeEntityValue(const OxString& value, int line, bool internalSubset);

 private:
  using Parent = const Hux::SmartPtr<OxXMLNode>&;
  using DocType = const Hux::SmartPtr<OxXMLDocTypeNode>&;

  // ---- Failures (OxXMLParser.cpp)
  [[noreturn]] void Fail(OxXMLError::Error kind, const OxString& text = OxString()) const;
  [[noreturn]] void FailSyntax(const OxString& text) const;
  [[noreturn]] void FailIllegalCharacter(std::uint32_t codePoint) const;

  // ---- Document and elements (OxXMLParser.cpp)
  void ParseDocument();
  void ParseTopLevelItem();
  void ParseElement(Parent parent);
  void OpenElement();
  void ParseAttribute(OxXMLElementNode& element);
  void ParseContentItem();
  void ParseMarkup();
  void CloseElement(Parent parent);
  void CheckEndTag(std::string_view name) const;
  bool MatchCommentOpener();
  std::string_view ExpectTagName();

  // ---- What elements hold (OxXMLParserContent.cpp)
  void ParseText(Parent parent);
  void CollectLenientText();
  void CollectStrictText();
  void CollectReference();
  bool CollectEntity(std::string_view name);
  void AppendText(Parent parent, std::string_view text, std::uint32_t line);
  void ParseCDATA(Parent parent);
  void ParseComment(Parent parent);
  std::string_view CollectUntil(std::string_view terminator, unsigned firstByte, bool comment);
  void ParsePI(Parent parent);
  void ParsePseudoAttributes(bool declaration);

  // ---- Attribute values (OxXMLParserAttributes.cpp)
  struct AttributeValue;
  OxString GetAttribute(OxString* plain = nullptr);

  void ParseDOCTYPE(Parent parent);

  Hux::SmartPtr<OxXMLDoc> doc_;
  Token token_;
  std::int32_t strict_ = 1;
  OxXMLScanner scanner_;
};
