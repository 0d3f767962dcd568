#pragma once

#include <cstdint>

/// Results of the operations that change a tree; the numbers are those of the W3C's DOM Level 1.
enum OxXMLResult : std::int32_t {
  kOxXMLSuccess = 0,
  kOxXMLIndexSize = 1,            ///< Only as the code of an exception.
  kOxXMLHierarchyNotAllowed = 3,  ///< This parent takes no such child.
  kOxXMLWrongDocument = 4,        ///< The nodes belong to different documents.
  kOxXMLNotFound = 8,             ///< The reference node is no child of this node.
  kOxXMLNotSupported = 9,         ///< Nodes of this kind cannot be imported.
};

/// Thrown by the operations on character data for an offset or a count out of range.
class OxXMLDOMException {
 public:
  /// An OxXMLResult other than success.
  explicit OxXMLDOMException(std::int32_t code) : code_(code) {}
  std::int32_t GetCode() const { return code_; }  ///< An OxXMLResult.

 private:
  std::int32_t code_;
};
