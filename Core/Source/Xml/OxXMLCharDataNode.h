#pragma once

#include <cstddef>
#include <utility>

#include "Xml/OxXMLNode.h"

/// Character data: base of text, CDATA sections and comments.
///   Units:  offsets and counts are characters, zeros included; a count past the end is cut to the end.
///   Errors: OxXMLDOMException(1) for a negative offset or count and for an offset that is not below the
///           length. Deliberate: so nothing can be inserted at the very end; that is AppendData()'s job.
class OxXMLCharDataNode : public OxXMLNode {
 public:
  std::uint32_t GetLength() const { return data_.length(); }  ///< Characters.
  /// Up to `count` characters from `offset`.
  OxString GetSubstring(OxString::Index offset, OxString::Index count) const;
  void AppendData(const OxString& text) { data_ += text; }  ///< At the end.
  /// Puts `text` in front of the character at `offset`.
  void InsertData(OxString::Index offset, const OxString& text);
  /// Removes up to `count` characters.
  void DeleteData(OxString::Index offset, OxString::Index count);
  /// Puts `text` in the place of up to `count` characters.
  void ReplaceData(OxString::Index offset, OxString::Index count, const OxString& text);

 protected:
  /// A node without a document.
  explicit OxXMLCharDataNode(OxString data) : data_(std::move(data)) {}
  const OxString& data() const { return data_; }  ///< The whole text.
  /// `count` characters from `offset`, which are there.
  OxString Part(OxString::Index offset, OxString::Index count) const;

 private:
  const OxString& ValueText() const override { return data_; }
  OxString& EditValueText() override { return data_; }
  std::size_t ByteOf(OxString::Index offset) const;
  OxString::Index CheckRange(OxString::Index offset, OxString::Index count) const;

  OxString data_;
};
