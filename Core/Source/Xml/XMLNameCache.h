#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

#include "Xml/OxXMLName.h"

/// Gives nodes with equal names the same text. A place that two names want goes to the later one, so names
/// cost the same however many a document has.
class XMLNameCache {
 public:
  /// `utf8` came out of an OxString.
  const OxXMLName& Get(std::string_view utf8);

 private:
  static constexpr std::size_t kPlaces = 512;

  std::array<std::optional<OxXMLName>, kPlaces> places_;
};
