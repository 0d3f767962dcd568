#include "Archive/RecordIndex.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

#include "Foundation/Narrow.h"
#include "Foundation/OxString.h"
#include "Foundation/StringComparison.h"
#include "Foundation/StringWalk.h"

using FlatFile::IndexEntry;
using FlatFile::kIndexEntrySize;

namespace {

// Whether the name is beyond the table, or no zero byte ends it there.
bool IsUnterminated(std::uint32_t offset, std::optional<std::string_view> name, std::size_t length) {
  if (offset >= FlatFile::kNameTableName) return false;
  return !name || offset + name->size() >= length;
}

// The name at `offset`, if it is valid.
std::optional<std::string_view> MatchableName(std::uint32_t offset, NameTable& names) {
  const std::optional<std::string_view> name = names.At(offset);
  return name && StringWalk::IsAcceptable(*name) ? name : std::nullopt;
}

}  // namespace

void RecordIndex::Load(std::span<const std::byte> payload) {
  std::vector<IndexEntry> entries;
  entries.reserve(payload.size() / kIndexEntrySize);
  for (; payload.size() >= kIndexEntrySize; payload = payload.subspan(kIndexEntrySize)) {
    entries.push_back(FlatFile::DecodeIndexEntry(payload.first<kIndexEntrySize>()));
  }
  std::vector<bool> vacant(entries.size());
  Clear();
  entries_.swap(entries);
  vacant_.swap(vacant);
}

std::span<const std::byte> RecordIndex::Encode() {
  CloseVacantSlots();
  for (IndexEntry& entry : entries_)
    std::memcpy(&entry, FlatFile::Encode(entry).data(), kIndexEntrySize);
  return std::as_bytes(std::span(entries_));
}

void RecordIndex::Clear() {
  entries_.clear();
  vacant_.clear();
  vacantCount_ = 0;
  table_.reset();
}

std::optional<RecordIndex::Found> RecordIndex::Find(std::string_view name, NameTable& names) {
  if (!table_ || (someNameIsUnterminated_ && names.Length() != tableMadeFor_)) MakeTable(names);
  if (table_->IsCrowded()) return FindLiterally(name, names);
  std::optional<Found> found;
  bool several = false;
  table_->ForEach(HashNoCase(name), [&](std::uint32_t slot) {
    const IndexEntry& entry = entries_[slot];
    if (CompareNoCase(name, *names.At(entry.nameOffset)) != 0) return true;
    several = found.has_value();
    found = Found{entry.position, slot};
    return !several;
  });
  return several ? FindLiterally(name, names) : found;
}

std::optional<RecordIndex::Found> RecordIndex::FindNameAt(std::uint32_t offset, NameTable& names) {
  const auto name = MatchableName(offset, names);
  // A copy: the table may hold one name at a time.
  return name ? Find(std::string(*name), names) : std::nullopt;
}

std::optional<RecordIndex::Found> RecordIndex::FindLiterally(std::string_view name,
                                                             NameTable& names) const {
  std::vector<std::size_t> slots;
  for (std::size_t slot = 0; slot < entries_.size(); ++slot) {
    if (!vacant_[slot]) slots.push_back(slot);
  }
  // Entries without a valid name sort before every name.
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

void RecordIndex::Insert(std::size_t slot, const IndexEntry& entry, NameTable& names) {
  if (IsVacant(slot)) {
    entries_[slot] = entry;
    vacant_[slot] = false;
    --vacantCount_;
  } else if (slot < entries_.size()) {
    InsertBefore(slot, entry);
    return;
  } else {
    Append(entry);
    slot = entries_.size() - 1;
  }
  AddToTable(slot, names);
}

void RecordIndex::InsertBefore(std::size_t slot, const IndexEntry& entry) {
  const auto place = static_cast<std::ptrdiff_t>(slot);
  entries_.reserve(entries_.size() + 1);
  vacant_.insert(vacant_.begin() + place, false);
  entries_.insert(entries_.begin() + place, entry);
  table_.reset();
}

void RecordIndex::Append(const IndexEntry& entry) {
  // Vacant slots are removed once they outnumber the others: constant cost on average.
  if (vacantCount_ > entries_.size() / 2) CloseVacantSlots();
  entries_.push_back(entry);
  try {
    vacant_.push_back(false);
  } catch (...) {
    entries_.pop_back();
    throw;
  }
}

void RecordIndex::Remove(std::size_t slot, NameTable& names) {
  RemoveFromTable(slot, names);
  vacant_[slot] = true;
  ++vacantCount_;
}

void RecordIndex::CloseVacantSlots() {
  std::size_t kept = 0;
  for (std::size_t slot = 0; slot < entries_.size(); ++slot) {
    if (!vacant_[slot]) entries_[kept++] = entries_[slot];
  }
  entries_.resize(kept);
  vacant_.resize(kept);
  std::fill(vacant_.begin(), vacant_.end(), false);
  vacantCount_ = 0;
  table_.reset();
}

// Strong guarantee.
void RecordIndex::MakeTable(NameTable& names) {
  table_.reset();
  SlotTable table(entries_.size());
  bool someNameIsUnterminated = false;
  for (std::size_t slot = 0; slot < entries_.size() && !table.IsCrowded(); ++slot) {
    if (vacant_[slot]) continue;
    const std::uint32_t offset = entries_[slot].nameOffset;
    const auto name = names.At(offset);
    someNameIsUnterminated |= IsUnterminated(offset, name, names.Length());
    if (name && StringWalk::IsAcceptable(*name)) table.Add(HashNoCase(*name), NarrowLength(slot));
  }
  table_ = std::move(table);
  someNameIsUnterminated_ = someNameIsUnterminated;
  tableMadeFor_ = names.Length();
}

// A table that cannot be updated is discarded; the next search makes another.
void RecordIndex::AddToTable(std::size_t slot, NameTable& names) {
  if (!table_ || table_->IsCrowded()) return;
  const std::uint32_t offset = entries_[slot].nameOffset;
  try {
    const auto name = names.At(offset);
    if (IsUnterminated(offset, name, names.Length())) someNameIsUnterminated_ = true;
    if (name && StringWalk::IsAcceptable(*name)) table_->Add(HashNoCase(*name), NarrowLength(slot));
  } catch (...) {
    table_.reset();
  }
}

void RecordIndex::RemoveFromTable(std::size_t slot, NameTable& names) {
  if (!table_ || table_->IsCrowded()) return;
  try {
    const auto name = MatchableName(entries_[slot].nameOffset, names);
    if (name) table_->Remove(HashNoCase(*name), NarrowLength(slot));
  } catch (...) {
    table_.reset();
  }
}
