#include "Xml/XMLPack.h"

#include <algorithm>

#include "Foundation/Narrow.h"

void XMLPack::Grow(std::size_t bytes) {
  constexpr std::size_t kLeast = 1024;
  const std::size_t needed = NarrowLength(used_ + bytes);
  const std::size_t capacity = memory_.capacity();
  // The text's own length is mostly enough for all that is in it.
  memory_.Grow(std::max({needed, capacity + capacity / 2, kLeast}), expected_);
}

std::uint64_t XMLPack::GetNumber(Place& place) const {
  constexpr unsigned kBits = 7;
  constexpr unsigned kMore = 1U << kBits;
  std::uint64_t number = 0;
  for (unsigned shift = 0;; shift += kBits) {
    const auto byte = static_cast<unsigned char>(memory_.data()[place++]);
    number |= std::uint64_t{byte & (kMore - 1)} << shift;
    if (byte < kMore) return number;
  }
}

XMLPack::Record XMLPack::Read(Place place, std::uint32_t line) const {
  const std::uint64_t head = GetNumber(place);
  const auto kind = static_cast<std::uint32_t>(head & kKindMask);
  Record record{kind == 0 ? kKindMask + 1 : kind, line + static_cast<std::uint32_t>(head >> kKindBits),
                0, 0, 0};
  if (HasName(kind)) record.name = static_cast<std::uint32_t>(GetNumber(place));
  Place size = 0;
  if (kind == kElement) {
    std::memcpy(&size, memory_.data() + place, kSizeBytes);
    place += static_cast<Place>(kSizeBytes);
  } else {
    size = static_cast<Place>(GetNumber(place));
  }
  record.begin = place;
  record.end = place + size;
  return record;
}

std::uint32_t XMLPack::AddName(std::string_view name) {
  const NameRange range{NarrowLength(nameBytes_.size()), NarrowLength(name.size())};
  const std::uint32_t number = NarrowLength(names_.size());
  nameBytes_.append(name);
  names_.push_back(range);
  return numbers_[PlaceOf(name)] = number;
}

const OxXMLName& XMLPack::Name(std::uint32_t number) {
  if (made_.size() <= number) made_.resize(names_.size());
  std::optional<OxXMLName>& name = made_[number];
  if (!name) name.emplace(OxString::from_valid(NameText(number)));
  return *name;
}
