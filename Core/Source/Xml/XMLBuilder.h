#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "Xml/OxXMLDoc.h"
#include "Xml/XMLPack.h"

/// Puts what a parser reads into its document. Nodes of a document that is exactly an OxXMLDoc are packed, and
/// made when somebody asks for them; a derived class makes its nodes itself and is told of each, so there every
/// node is made and set at once. Either way an element arrives in its parent with its end tag, and what the
/// parent refuses is dropped.
class XMLBuilder {
 public:
  /// `document` is borrowed; the text has so many bytes.
  XMLBuilder(OxXMLDoc& document, std::size_t textBytes);
  XMLBuilder(const XMLBuilder&) = delete;
  XMLBuilder& operator=(const XMLBuilder&) = delete;
  ~XMLBuilder();

  bool HasOpen() const { return !open_.empty() || !nodes_.empty(); }  ///< Whether an element is open.
  std::string_view OpenName() const;  ///< Of the innermost open element, which is there.

  /// Opens an element inside the innermost open one, or in the document.
  void StartElement(std::string_view name, std::uint32_t line);
  /// An attribute of the element just started. `EndAttribute()` follows, with nothing in between.
  void StartAttribute(std::string_view name, std::uint32_t line);
  void EndAttribute(std::string_view value);  ///< With its whole text.
  void EndElement();                          ///< The innermost one.

  /// Text, a CDATA section, a comment or an instruction; a `name` counts for the last alone.
  void Add(OxXMLNode::NodeType kind, std::string_view name, std::string_view text, std::uint32_t line);
  /// Any node, into the innermost open element or the document.
  void Append(const Hux::SmartPtr<OxXMLNode>& node, std::uint32_t line);

 private:
  // An element that is being packed.
  struct Open {
    XMLPack::Place inside;
    std::uint32_t line;
    std::uint32_t name;
  };

  OxXMLNode& Parent() const;
  void Pack(OxXMLNode::NodeType kind, std::uint32_t line, std::uint32_t name, std::string_view text);

  OxXMLDoc& document_;
  bool packs_;
  bool hasChanged_ = false;  // Something was packed inside an element.
  Hux::SmartPtr<XMLPack> pack_;
  // The elements whose end tags are still to come, in the one form or the other.
  std::vector<Open> open_;
  std::vector<Hux::SmartPtr<OxXMLElementNode>> nodes_;
  std::uint32_t attributeName_ = 0;  // Of the attribute that was started.
  std::uint32_t attributeLine_ = 0;
};
