#include "Xml/XMLNameCache.h"

const OxXMLName& XMLNameCache::Get(std::string_view utf8) {
  constexpr std::size_t kFactor = 31;
  std::size_t place = utf8.size();
  if (!utf8.empty()) {
    for (const char c : {utf8.front(), utf8[utf8.size() / 2], utf8.back()}) {
      place = place * kFactor + static_cast<unsigned char>(c);
    }
  }
  std::optional<OxXMLName>& kept = places_[place % kPlaces];
  if (!kept || kept->text().view() != utf8) kept.emplace(OxString(utf8));
  return *kept;
}
