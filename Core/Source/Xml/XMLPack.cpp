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

XMLPack::Place XMLPack::EndOfAttributes(const Record& element) const {
  Place place = element.begin;
  while (place < element.end &&
         (static_cast<unsigned char>(memory_.data()[place]) & kKindMask) == kAttribute) {
    place = Read(place, 0).end;
  }
  return place;
}
