#include "Xml/OxXMLName.h"

#include "Foundation/Narrow.h"

OxXMLName::OxXMLName(const OxString& text) : shared_(Hux::SmartPtr<Shared>::Adopt(new Shared(text))) {}

std::uint32_t XMLNames::Add(std::string_view name) {
  const Range range{NarrowLength(bytes_.size()), NarrowLength(name.size())};
  const std::uint32_t number = NarrowLength(ranges_.size());
  bytes_.append(name);
  ranges_.push_back(range);
  return numbers_[PlaceOf(name)] = number;
}

const OxXMLName& XMLNames::Name(std::uint32_t number) {
  if (made_.size() <= number) made_.resize(ranges_.size());
  std::optional<OxXMLName>& name = made_[number];
  if (!name) name.emplace(OxString::from_valid(Text(number)));
  return *name;
}
