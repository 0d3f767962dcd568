#pragma once

#include <cstdint>
#include <string>

#include "Xml/OxXMLDocTypeNode.h"
#include "Xml/OxXMLScanner.h"
#include "Xml/XMLExpansion.h"

/// Makes the replacement text of an entity out of the literal in its declaration; see
/// OxXMLParser::NormalizeEntityValue(). Good for one literal.
class XMLEntityValue {
 public:
  /// `docType` may be null.
  XMLEntityValue(const OxXMLDocTypeNode* docType, XMLExpansionBudget& budget, bool internalSubset)
      : docType_(docType), internalSubset_(internalSubset), expansion_(scanner_, budget) {}

  /// Throws OxXMLError with `line`.
  OxString Normalize(const OxString& value, std::uint32_t line);

 private:
  void CollectWhitespace();
  void CollectCharRef();
  void CollectParameterEntity(std::uint32_t line);

  const OxXMLDocTypeNode* docType_;
  bool internalSubset_;
  OxXMLScanner scanner_;
  XMLExpansion expansion_;
  OxString text_;
  std::string spill_;
};
