#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Foundation/OxString.h"
#include "Foundation/SmartPtr.h"

/// The name of a node: a text that never changes and that many nodes share, eight bytes in each. Any
/// string serves where one is wanted.
///   Threads: one for a name and its copies, so that nodes of different documents need names of their own.
class OxXMLName {
 public:
  /// Any text, an empty one too; nothing checks that XML allows it.
  OxXMLName(const OxString& text);
  /// The same; throws OxString::InvalidEncoding for what is no UTF-8.
  OxXMLName(const char* utf8) : OxXMLName(OxString(utf8)) {}

  const OxString& text() const { return shared_->text; }  ///< Lives as long as a name with this text.

 private:
  struct Shared : Hux::Retainable {
    explicit Shared(const OxString& name) : text(name) {}
    OxString text;
  };

  Hux::SmartPtr<Shared> shared_;
};

/// Names by number, for nodes to share. A place that two names want goes to the later one, so names cost the same
/// however many there are.
class XMLNames {
 public:
  /// The number of a name; equal names mostly have the same.
  std::uint32_t NumberOf(std::string_view name) {
    const std::uint32_t number = numbers_[PlaceOf(name)];
    return number < ranges_.size() && Text(number) == name ? number : Add(name);
  }
  /// The name with that number; valid until the next NumberOf().
  std::string_view Text(std::uint32_t number) const {
    return {bytes_.data() + ranges_[number].begin, ranges_[number].size};
  }
  /// The same as nodes share it.
  const OxXMLName& Name(std::uint32_t number);
  /// Puts the name as it is shared here in the place of an equal one; nothing for null.
  void Give(OxXMLName* name) {
    if (name != nullptr) *name = Name(NumberOf(name->text().view()));
  }

 private:
  struct Range {
    std::uint32_t begin;
    std::uint32_t size;
  };

  static constexpr std::size_t kNumbers = 512;

  static std::size_t PlaceOf(std::string_view name) {
    constexpr std::size_t kFactor = 31;
    if (name.empty()) return 0;
    std::size_t place = name.size();
    for (const char c : {name.front(), name[name.size() / 2], name.back()}) {
      place = place * kFactor + static_cast<unsigned char>(c);
    }
    return place % kNumbers;
  }
  std::uint32_t Add(std::string_view name);

  std::string bytes_;
  std::vector<Range> ranges_;
  std::vector<std::optional<OxXMLName>> made_;  // By number, as far as they were wanted.
  std::array<std::uint32_t, kNumbers> numbers_{};
};
