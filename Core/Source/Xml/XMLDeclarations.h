#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "Xml/OxXMLDocTypeNode.h"
#include "Xml/OxXMLScanner.h"
#include "Xml/XMLExpansion.h"

/// Reads document type declarations for a parser. Entities go into their node; of the declarations of elements,
/// attributes and notations nothing is kept.
class XMLDeclarations {
 public:
  /// All three are borrowed.
  XMLDeclarations(OxXMLScanner& scanner, XMLExpansion& expansion, XMLExpansionBudget& budget)
      : scanner_(scanner), expansion_(expansion), budget_(budget) {}

  /// For a new text of so many bytes.
  void Begin(std::uint64_t textBytes) {
    textBytes_ = textBytes;
    readBehind_ = 0;
  }
  /// The value in the declaration of an entity.
  struct Literal {
    const OxString& text;  ///< Without its quotes.
    std::uint32_t line;    ///< For errors.
    bool
        isWritten;  ///< In the document itself and not in the text of an entity, whose line ends are spaces.
  };
  /// OxXMLParser::NormalizeEntityValue(); `docType` may be null.
  static OxString NormalizeEntityValue(const OxXMLDocTypeNode* docType, XMLExpansionBudget& budget,
                                       const Literal& literal, bool internalSubset);
  /// Reads what follows the name of `docType`, up to the end of its declaration. Throws OxXMLError.
  void Parse(OxXMLDocTypeNode& docType, bool strict);

 private:
  // A name, a quoted literal (its text without the quotes), a single other character, or the end of the input.
  struct Token {
    enum Kind { kEnd, kName, kString, kCharacter };
    Kind kind = kEnd;
    OxString text;

    bool IsName(const char* name) const { return kind == kName && text == name; }
    // Whether it is this ASCII character, outside a literal.
    bool Is(char character) const {
      return kind == kCharacter && text.view() == std::string_view(&character, 1);
    }
  };

  void ParseExternalID(OxXMLDocTypeNode& docType);
  OxString ExpectSystemID();
  std::pair<OxString, OxString> ExpectPublicID();
  void ParseInternalSubset(OxXMLDocTypeNode& docType);
  void ParseEntities(OxXMLDocTypeNode& docType);
  void ParseEntityRef(OxXMLDocTypeNode& docType);
  void SkipPast(const char* terminator, unsigned stops);
  void ParseSubsetMarkup(OxXMLDocTypeNode& docType);
  void ParseEntityDecl(OxXMLDocTypeNode& docType);
  void ParseExternalEntity();

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

  [[noreturn]] void FailGot(const char* expected) const;
  void GetToken();
  bool MatchLiteral(OxString& text);
  void CheckLiteral();
  OxString ExpectLiteral(const char* otherwise);
  OxString ExpectPubID(const char* otherwise);
  void ExpectEndOfDeclaration();

  OxXMLScanner& scanner_;
  XMLExpansion& expansion_;
  XMLExpansionBudget& budget_;
  bool strict_ = true;
  Token token_;
  std::uint64_t textBytes_ = 0;   // Of the whole text.
  std::uint64_t readBehind_ = 0;  // Bytes that subsets have read behind their "]".
  std::string text_;              // What is being collected.
  std::string spill_;             // A name that lies in two segments.
};
