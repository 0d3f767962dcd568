#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Foundation/Retainable.h"
#include "Xml/OxXMLName.h"

/// What a parser found inside the elements of a document, in one piece of memory, for nodes that are made when
/// somebody asks for them. Records lie in document order: behind an element's own those of its attributes, then
/// those of its children. Whoever still has to make nodes out of it holds it.
class XMLPack : public Hux::Retainable {
 public:
  using Place = std::uint32_t;  ///< Of a record, in words from the front.

  /// The fixed part of a record; the bytes of a text follow it.
  struct Record {
    std::uint32_t kind;  ///< An OxXMLNode::NodeType.
    std::uint32_t line;
    std::uint32_t name;  ///< By NumberOf(); without a meaning for what has no name of its own.
    std::uint32_t size;  ///< The bytes of the text; for an element the words of all that is inside.
  };

  /// The number of a name; equal names mostly have the same. A place that two names want goes to the later one,
  /// so names cost the same however many a document has.
  std::uint32_t NumberOf(std::string_view name) {
    const std::uint32_t number = numbers_[PlaceOf(name)];
    return number < names_.size() && NameText(number) == name ? number : AddName(name);
  }
  std::string_view NameText(std::uint32_t number) const {
    return std::string_view(nameBytes_).substr(names_[number].begin, names_[number].size);
  }
  /// The name as nodes share it.
  const OxXMLName& Name(std::uint32_t number);

  /// Begins an element, whose inside is what is added up to End().
  Place Begin(std::uint32_t kind, std::uint32_t line, std::uint32_t name) {
    const Place place = used_;
    Put({kind, line, name, 0}, kHeader);
    return place;
  }
  void End(Place element) { words_[element + kSize] = used_ - Inside(element); }  ///< Of the innermost element.
  /// A record with a text. Throws std::bad_alloc beyond 4 GiB of text.
  void Add(std::uint32_t kind, std::uint32_t line, std::uint32_t name, std::string_view text) {
    if (text.size() > UINT32_MAX) throw std::bad_alloc();
    const Place place = used_;
    Put({kind, line, name, static_cast<std::uint32_t>(text.size())}, kHeader + Words(text.size()));
    if (!text.empty()) std::memcpy(&words_[place + kHeader], text.data(), text.size());
  }

  Place Size() const { return used_; }  ///< The place behind everything.
  Record At(Place place) const {
    Record record{};
    std::memcpy(&record, &words_[place], sizeof record);
    return record;
  }
  static Place Inside(Place place) { return place + kHeader; }  ///< The first record inside an element.
  /// Behind a record and all that is inside.
  Place Behind(Place place) const;
  std::string_view Text(Place place) const {
    return {reinterpret_cast<const char*>(&words_[place + kHeader]), words_[place + kSize]};
  }

 private:
  static constexpr std::size_t kHeader = sizeof(Record) / sizeof(std::uint32_t);
  static constexpr std::size_t kSize = kHeader - 1;  // Where a record's `size` is.
  static constexpr std::size_t kNumbers = 512;

  struct NameRange {
    std::uint32_t begin;
    std::uint32_t size;
  };
  struct FreeWords {
    void operator()(std::uint32_t* words) const { std::free(words); }
  };

  static std::size_t Words(std::size_t bytes) { return (bytes + kSize) / sizeof(std::uint32_t); }
  static std::size_t PlaceOf(std::string_view name) {
    constexpr std::size_t kFactor = 31;
    if (name.empty()) return 0;
    std::size_t place = name.size();
    for (const char c : {name.front(), name[name.size() / 2], name.back()}) {
      place = place * kFactor + static_cast<unsigned char>(c);
    }
    return place % kNumbers;
  }
  void Put(const Record& record, std::size_t words) {
    if (words > capacity_ - used_) Grow(words);
    std::memcpy(&words_[used_], &record, sizeof record);
    used_ += static_cast<Place>(words);
  }
  void Grow(std::size_t words);
  std::uint32_t AddName(std::string_view name);

  // The C allocator's memory: a large piece grows without being copied, and goes back to the system.
  std::unique_ptr<std::uint32_t[], FreeWords> words_;
  Place used_ = 0;
  Place capacity_ = 0;
  std::string nameBytes_;
  std::vector<NameRange> names_;
  std::vector<std::optional<OxXMLName>> made_;  // By number, as far as they were asked for.
  std::array<std::uint32_t, kNumbers> numbers_{};
};
