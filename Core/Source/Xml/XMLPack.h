#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "Foundation/Retainable.h"
#include "Posix/GrowingMemory.h"
#include "Xml/OxXMLName.h"

/// What a parser found inside the elements of a document, in one piece of memory, for nodes that are made when
/// somebody asks for them. Records lie in document order: inside an element those of its attributes and then those
/// of its children. Whoever still has to make nodes out of it holds it.
///   Record: a varint with the kind and how many lines behind the element around it; the number of the name, if
///           the kind has one; the size of what is inside, in four bytes for an element and a varint for a text.
///   Errors: std::bad_alloc when memory is short, and beyond 4 GiB.
class XMLPack : public Hux::Retainable {
 public:
  using Place = std::uint32_t;  ///< In bytes from the front.

  /// A record as it is read.
  struct Record {
    std::uint32_t kind;  ///< An OxXMLNode::NodeType.
    std::uint32_t line;  ///< Of the document.
    std::uint32_t name;  ///< By number; 0 for what has no name of its own.
    Place begin;         ///< Of the text, or of what is inside an element.
    Place end;           ///< The next record beside this one is here.
  };

  /// For a text of so many bytes, which is no limit.
  explicit XMLPack(std::size_t textBytes) : expected_(textBytes) {}

  XMLNames& Names() { return names_; }              ///< Those of the records.
  const XMLNames& Names() const { return names_; }  ///< The same.

  /// Begins an element, whose inside is what is added up to End(), which wants the result.
  Place Begin(std::uint32_t lines, std::uint32_t name) {
    Reserve(0);
    PutHead(kElement, lines);
    PutNumber(name);
    used_ += kSizeBytes;
    return used_;
  }
  /// Ends the element whose inside begins there.
  void End(Place inside) {
    const Place size = used_ - inside;
    std::memcpy(memory_.data() + inside - kSizeBytes, &size, kSizeBytes);
  }
  /// A record with a text; `name` counts for kinds that have one. `lines` is how many lines behind the element.
  void Add(std::uint32_t kind, std::uint32_t lines, std::uint32_t name, std::string_view text) {
    Reserve(text.size());
    PutHead(kind, lines);
    if (HasName(kind)) PutNumber(name);
    PutNumber(text.size());
    if (!text.empty()) std::memcpy(memory_.data() + used_, text.data(), text.size());
    used_ += static_cast<Place>(text.size());
  }

  Place Size() const { return used_; }  ///< The place behind everything.
  /// Where the attributes of an element end and its children begin.
  Place EndOfAttributes(const Record& element) const;
  /// The record at a place, inside an element on `line`.
  Record Read(Place place, std::uint32_t line) const {
    const std::uint64_t head = GetNumber(place);
    Record record{KindOf(head), line + static_cast<std::uint32_t>(head >> kKindBits), 0, 0, 0};
    if (HasName(record.kind)) record.name = static_cast<std::uint32_t>(GetNumber(place));
    Place size = 0;
    if (record.kind == kElement) {
      std::memcpy(&size, memory_.data() + place, kSizeBytes);
      place += static_cast<Place>(kSizeBytes);
    } else {
      size = static_cast<Place>(GetNumber(place));
    }
    record.begin = place;
    record.end = place + size;
    return record;
  }
  /// The text of a record that has one; valid until something is added.
  std::string_view Text(const Record& record) const {
    return {memory_.data() + record.begin, record.end - record.begin};
  }

 private:
  static constexpr std::uint32_t kElement = 1;
  static constexpr std::uint32_t kAttribute = 2;
  static constexpr std::uint32_t kInstruction = 7;
  static constexpr unsigned kKindBits = 3;
  static constexpr unsigned kKindMask = (1U << kKindBits) - 1;
  static constexpr std::uint32_t kComment = kKindMask + 1;  // 0 there.
  static constexpr std::size_t kSizeBytes = sizeof(Place);
  static constexpr std::size_t kLongestHead = 32;
  static constexpr unsigned kNumberBits = 7;  // Of each byte; the last one says whether more follow.
  static constexpr unsigned kMore = 1U << kNumberBits;

  static std::uint32_t KindOf(std::uint64_t head) {
    const auto kind = static_cast<std::uint32_t>(head & kKindMask);
    return kind == 0 ? kComment : kind;
  }
  static bool HasName(std::uint32_t kind) { return kind < 3 || kind == kInstruction; }
  void Reserve(std::size_t textBytes) {
    if (textBytes + kLongestHead > memory_.capacity() - used_) Grow(textBytes + kLongestHead);
  }
  void PutHead(std::uint32_t kind, std::uint32_t lines) {
    PutNumber((std::uint64_t{lines} << kKindBits) | (kind & kKindMask));
  }
  void PutNumber(std::uint64_t number) {
    for (; number >= kMore; number >>= kNumberBits)
      memory_.data()[used_++] = static_cast<char>(number | kMore);
    memory_.data()[used_++] = static_cast<char>(number);
  }
  std::uint64_t GetNumber(Place& place) const {
    std::uint64_t number = 0;
    for (unsigned shift = 0;; shift += kNumberBits) {
      const auto byte = static_cast<unsigned char>(memory_.data()[place++]);
      number |= std::uint64_t{byte & (kMore - 1)} << shift;
      if (byte < kMore) return number;
    }
  }
  void Grow(std::size_t bytes);

  Posix::GrowingMemory memory_;
  Place used_ = 0;
  std::size_t expected_;
  XMLNames names_;
};
