#include "Xml/XMLPack.h"

#include <algorithm>
#include <new>

#include "Foundation/Narrow.h"
#include "Xml/OxXMLNode.h"

XMLPack::Place XMLPack::Behind(Place place) const {
  const Record record = At(place);
  const bool isElement = record.kind == OxXMLNode::kElementNode;
  return place + static_cast<Place>(kHeader + (isElement ? record.size : Words(record.size)));
}

void XMLPack::Grow(std::size_t words) {
  constexpr std::size_t kLeast = 256;
  const std::size_t needed = NarrowLength(std::size_t{used_} + words);
  const std::size_t wanted = std::max({needed, std::size_t{capacity_} + capacity_ / 2, kLeast});
  const std::size_t granted = std::min<std::size_t>(wanted, UINT32_MAX);
  void* grown = std::realloc(words_.get(), granted * sizeof(std::uint32_t));
  if (grown == nullptr) throw std::bad_alloc();
  static_cast<void>(words_.release());
  words_.reset(static_cast<std::uint32_t*>(grown));
  capacity_ = static_cast<Place>(granted);
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
