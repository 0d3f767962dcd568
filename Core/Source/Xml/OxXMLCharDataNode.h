#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>

#include "Xml/OxXMLNode.h"

/// Character data: base of text, CDATA sections and comments.
///   Units:  offsets and counts are characters, zeros included; a count past the end is cut to the end.
///   Errors: OxXMLDOMException(1) for a negative offset or count and for an offset that is not below the
///           length. Deliberate: so nothing can be inserted at the very end; that is AppendData()'s job.
class OxXMLCharDataNode : public OxXMLNode {
 public:
  std::uint32_t GetLength() const { return part_ ? part_->length : data_.length(); }  ///< Characters.
  /// Up to `count` characters from `offset`.
  OxString GetSubstring(OxString::Index offset, OxString::Index count) const;
  void AppendData(const OxString& text) { EditValueText() += text; }  ///< At the end.
  /// Puts `text` in front of the character at `offset`.
  void InsertData(OxString::Index offset, const OxString& text);
  /// Removes up to `count` characters.
  void DeleteData(OxString::Index offset, OxString::Index count);
  /// Puts `text` in the place of up to `count` characters.
  void ReplaceData(OxString::Index offset, OxString::Index count, const OxString& text);

 protected:
  /// A node without a document.
  explicit OxXMLCharDataNode(OxString data) : data_(std::move(data)) {}
  const OxString& data() const { return ValueText(); }  ///< The whole text.
  /// Moves what is behind so many characters into `tail`, which is empty. Both have the old text in common then,
  /// without a copy, until one is read or changed.
  void SplitOff(OxString::Index offset, OxXMLCharDataNode& tail);
  /// `count` characters from `offset`, which are there.
  OxString Part(OxString::Index offset, OxString::Index count) const;

 private:
  // A text of which several nodes have a part.
  struct Whole : Hux::Retainable {
    OxString text;
  };
  struct OfWhole {
    Hux::SmartPtr<Whole> whole;
    std::string_view bytes;
    std::uint32_t length;
  };

  const OxString& ValueText() const override;
  OxString& EditValueText() override;
  OxString::Index CheckRange(OxString::Index offset, OxString::Index count) const;

  mutable OxString data_;  // Empty while there is a part.
  mutable std::unique_ptr<OfWhole> part_;
};
