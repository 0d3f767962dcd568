#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Foundation/OxString.h"
#include "Foundation/SmartPtr.h"
#include "Xml/OxXMLDoc.h"
#include "Xml/OxXMLError.h"
#include "Xml/OxXMLScanner.h"
#include "Xml/XMLBuilder.h"
#include "Xml/XMLDeclarations.h"
#include "Xml/XMLExpansion.h"

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
///            is read to its own end, so that text after the declaration can declare entities, too. Once
///            1 MiB, or the length of the text if that is more, was read so, further subsets are only
///            kept: their declarations are neither checked nor known. Lenient takes "<--" in a subset, too.
///   Breaks:   a carriage return with its line feed is one space in a quoted value and in an entity's literal
///            where both are written, and two where they come out of references. Elsewhere they stay.
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
  OxXMLError ParseCatching(std::size_t textBytes);
  void ParseDocument();
  void ParseTopLevelItem();
  void ParseDOCTYPE(std::uint32_t line);
  void ParseElement(std::uint32_t line);
  void ParseStartTag(std::uint32_t line);
  void ParseContentItem();
  void ParseMarkup();
  void ParseEndTag();
  void CheckEndTag(std::string_view name) const;

  void ParseAttribute();
  std::string_view GetAttribute();
  std::string_view GetQuotedValue(char quote);
  void CollectQuotedValue(char quote, unsigned quoteClass, std::uint32_t depth);
  std::string_view GetUnquotedValue();
  void ExpectEquals();

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

  Hux::SmartPtr<OxXMLDoc> doc_;
  std::optional<XMLBuilder> builder_;  // While a text is parsed.
  std::int32_t strict_ = 1;
  OxXMLScanner scanner_;
  XMLExpansionBudget budget_{0};
  XMLExpansion expansion_{scanner_, budget_};
  XMLDeclarations declarations_{scanner_, expansion_, budget_};
  std::string text_;           // What is being collected.
  std::string kept_;           // A value as attributes keep it.
  bool spacePending_ = false;  // White space was met that becomes one space if text follows or it ends.
  std::string spill_;          // A name that lies in two segments.
};
