#include "Xml/XMLPack.h"

#include <algorithm>
#include <cstdlib>

#include <sys/mman.h>

#include "Foundation/Narrow.h"

namespace {

// What is larger has pages of its own, which go back to the system at once, whatever the heap keeps.
constexpr std::size_t kLargestOnHeap = std::size_t{256} << 10;

}  // namespace

XMLPack::~XMLPack() {
  if (capacity_ > kLargestOnHeap) {
    munmap(bytes_, capacity_);
  } else {
    std::free(bytes_);
  }
}

// A large piece begins with room for the whole text, which costs nothing until it is used.
void XMLPack::Grow(std::size_t bytes) {
  constexpr std::size_t kLeast = 1024;
  const std::size_t needed = NarrowLength(used_ + bytes);
  const std::size_t wanted = std::max({needed, capacity_ + capacity_ / 2, kLeast});
  if (wanted <= kLargestOnHeap) {
    void* grown = std::realloc(bytes_, wanted);
    if (grown == nullptr) throw std::bad_alloc();
    bytes_ = static_cast<char*>(grown);
    capacity_ = wanted;
    return;
  }
  const bool isMapped = capacity_ > kLargestOnHeap;
  const std::size_t size = isMapped ? wanted : std::max(wanted, expected_);
  void* grown = isMapped
                    ? mremap(bytes_, capacity_, size, MREMAP_MAYMOVE)
                    : mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (grown == MAP_FAILED) throw std::bad_alloc();
  madvise(grown, size, MADV_HUGEPAGE);  // A wish.
  if (!isMapped) {
    if (used_ > 0) std::memcpy(grown, bytes_, used_);
    std::free(bytes_);
  }
  bytes_ = static_cast<char*>(grown);
  capacity_ = size;
}

std::uint64_t XMLPack::GetNumber(Place& place) const {
  constexpr unsigned kBits = 7;
  constexpr unsigned kMore = 1U << kBits;
  std::uint64_t number = 0;
  for (unsigned shift = 0;; shift += kBits) {
    const auto byte = static_cast<unsigned char>(bytes_[place++]);
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
    std::memcpy(&size, bytes_ + place, kSizeBytes);
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
