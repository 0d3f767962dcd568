#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "Xml/OxXMLDocTypeNode.h"
#include "Xml/OxXMLScanner.h"
#include "Xml/XMLExpansion.h"

/// Makes the replacement text of an entity out of the literal in its declaration; see
/// OxXMLParser::NormalizeEntityValue(). Good for one literal.
class XMLEntityValue {
 public:
  /// `docType` may be null.
  XMLEntityValue(const OxXMLDocTypeNode* docType, XMLExpansionBudget& budget, bool internalSubset)
      : docType_(docType), budget_(budget), internalSubset_(internalSubset) {}

  /// Throws OxXMLError with `line`.
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
  std::vector<std::unique_ptr<Open>> open_;  // The innermost last.
  std::unordered_set<const OxString*> openTexts_;
  OxString text_;
  std::string spill_;
};
