#include "Storage/RecordIndex.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "Foundation/Narrow.h"
#include "Foundation/OxString.h"
#include "Foundation/StringWalk.h"

using FlatFile::IndexEntry;
using FlatFile::kIndexEntrySize;

namespace {

// Whether the name lies beyond the table or is not ended by a zero byte in it.
bool IsUnterminated(std::uint32_t offset, std::string_view names) {
  if (offset >= FlatFile::kNameTableName) return false;
  const auto name = NameAt(names, offset);
  return !name || offset + name->size() >= names.size();
}

// The name at `offset`, if it can match anything.
std::optional<std::string_view> MatchableName(std::uint32_t offset, std::string_view names) {
  const std::optional<std::string_view> name = NameAt(names, offset);
  std::size_t characters = 0;
  if (!name || !StringWalk::Validate(*name, characters)) return std::nullopt;
  return name;
}

}  // namespace

std::optional<std::string_view> NameAt(std::string_view names, std::uint32_t offset) {
  if (offset >= FlatFile::kNameTableName || offset > names.size()) return std::nullopt;
  const std::string_view rest = names.substr(offset);
  return rest.substr(0, rest.find('\0'));
}

void RecordIndex::Load(std::span<const std::byte> payload) {
  Clear();
  entries_.reserve(payload.size() / kIndexEntrySize);
  for (; payload.size() >= kIndexEntrySize; payload = payload.subspan(kIndexEntrySize)) {
    entries_.push_back(FlatFile::DecodeIndexEntry(payload.first<kIndexEntrySize>()));
  }
  vacant_.resize(entries_.size());
}

OxBuffer RecordIndex::Encode() const {
  OxBuffer payload(kIndexEntrySize * (entries_.size() - vacantCount_));
  char* out = payload.data();
  for (std::size_t slot = 0; slot < entries_.size(); ++slot) {
    if (vacant_[slot]) continue;
    std::memcpy(out, FlatFile::Encode(entries_[slot]).data(), kIndexEntrySize);
    out += kIndexEntrySize;
  }
  return payload;
}

void RecordIndex::Clear() {
  entries_.clear();
  vacant_.clear();
  vacantCount_ = 0;
  table_.reset();
}

std::optional<RecordIndex::Found> RecordIndex::Find(std::string_view name, std::string_view names) {
  if (!table_ || (someNameIsUnterminated_ && names.size() != tableMadeFor_)) MakeTable(names);
  if (table_->IsCrowded()) return FindLiterally(name, names);
  std::optional<Found> found;
  bool several = false;
  table_->ForEach(HashNoCase(name), [&](std::uint32_t slot) {
    const IndexEntry& entry = entries_[slot];
    if (CompareNoCase(name, *NameAt(names, entry.nameOffset)) != 0) return true;
    several = found.has_value();
    found = Found{entry.position, slot};
    return !several;
  });
  return several ? FindLiterally(name, names) : found;
}

std::optional<RecordIndex::Found> RecordIndex::FindNameAt(std::uint32_t offset, std::string_view names) {
  const auto name = MatchableName(offset, names);
  return name ? Find(*name, names) : std::nullopt;
}

std::optional<RecordIndex::Found> RecordIndex::FindLiterally(std::string_view name,
                                                             std::string_view names) const {
  std::vector<std::size_t> slots;
  for (std::size_t slot = 0; slot < entries_.size(); ++slot) {
    if (!vacant_[slot]) slots.push_back(slot);
  }
  // An entry that never matches counts as one that the name comes behind.
  const auto compare = [&](std::size_t slot) {
    const auto entryName = MatchableName(entries_[slot].nameOffset, names);
    return entryName ? CompareNoCase(name, *entryName) : 1;
  };
  const auto found = [&](std::size_t slot) { return Found{entries_[slot].position, slot}; };
  for (std::ptrdiff_t low = 0, high = std::ssize(slots) - 1; low <= high;) {
    const std::ptrdiff_t middle = (low + high) / 2;
    const std::size_t slot = slots[static_cast<std::size_t>(middle)];
    const int order = compare(slot);
    if (order == 0) return found(slot);
    (order < 0 ? high : low) = order < 0 ? middle - 1 : middle + 1;
  }
  const auto match = std::ranges::find_if(slots, [&](std::size_t slot) { return compare(slot) == 0; });
  if (match == slots.end()) return std::nullopt;
  return found(*match);
}

void RecordIndex::Insert(std::size_t slot, const IndexEntry& entry, std::string_view names) {
  if (IsVacant(slot)) {
    entries_[slot] = entry;
    vacant_[slot] = false;
    --vacantCount_;
  } else if (slot < entries_.size()) {
    const auto place = static_cast<std::ptrdiff_t>(slot);
    entries_.insert(entries_.begin() + place, entry);
    vacant_.insert(vacant_.begin() + place, false);
    table_.reset();
    return;
  } else {
    // Vacant slots are closed once they outnumber the others, which keeps the mean cost constant.
    if (vacantCount_ > entries_.size() / 2) CloseVacantSlots();
    slot = entries_.size();
    entries_.push_back(entry);
    vacant_.push_back(false);
  }
  if (table_) AddToTable(slot, names);
}

void RecordIndex::Remove(std::size_t slot, std::string_view names) {
  if (table_) RemoveFromTable(slot, names);
  vacant_[slot] = true;
  ++vacantCount_;
}

void RecordIndex::CloseVacantSlots() {
  std::size_t kept = 0;
  for (std::size_t slot = 0; slot < entries_.size(); ++slot) {
    if (!vacant_[slot]) entries_[kept++] = entries_[slot];
  }
  entries_.resize(kept);
  vacant_.assign(kept, false);
  vacantCount_ = 0;
  table_.reset();
}

void RecordIndex::MakeTable(std::string_view names) {
  table_.emplace(entries_.size());
  someNameIsUnterminated_ = false;
  tableMadeFor_ = names.size();
  for (std::size_t slot = 0; slot < entries_.size() && !table_->IsCrowded(); ++slot) {
    if (!vacant_[slot]) AddToTable(slot, names);
  }
}

void RecordIndex::AddToTable(std::size_t slot, std::string_view names) {
  if (table_->IsCrowded()) return;
  if (IsUnterminated(entries_[slot].nameOffset, names)) someNameIsUnterminated_ = true;
  const auto name = MatchableName(entries_[slot].nameOffset, names);
  if (name) table_->Add(HashNoCase(*name), NarrowLength(slot));
}

void RecordIndex::RemoveFromTable(std::size_t slot, std::string_view names) {
  if (table_->IsCrowded()) return;
  const auto name = MatchableName(entries_[slot].nameOffset, names);
  if (name) table_->Remove(HashNoCase(*name), NarrowLength(slot));
}
