#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "Foundation/OxBuffer.h"
#include "Storage/FlatFileFormat.h"
#include "Storage/NameTable.h"
#include "Storage/SlotTable.h"

/// The index of an archive: which name lies at which position, in the order in which the names came.
///   Names:  without regard to letter case; held by the archive's name table, which every operation that
///           needs it is given. An entry whose name is no UTF-8, or lies beyond the
///           table, never matches.
///   Slots:  a slot is the number of an entry. Removing an entry leaves its slot vacant, so that the
///           others keep their numbers and a record that moves gets its own slot back.
///   Cost:   finding, inserting and removing take constant time, through a hash table that the first
///           search makes. Only where several entries have one name does the procedure matter that
///           chooses between them: a bisection as if the entries were sorted, then a scan. It also
///           takes over where very many entries have one name.
///   Errors: std::bad_alloc, and what NameTable::At() throws. Whatever throws leaves the index as it was,
///           but Insert() may have renumbered the slots; Clear() and Remove() never throw.
class RecordIndex {
 public:
  /// Where a name was found.
  struct Found {
    std::uint64_t position = 0;  ///< Of the record's block.
    std::size_t slot = 0;        ///< Of the entry.
  };

  /// Takes whole entries over from an index block's payload; a rest at its end is dropped.
  void Load(std::span<const std::byte> payload);
  /// The index block's payload.
  OxBuffer Encode() const;
  void Clear();  ///< Forgets every entry.

  /// The slot that a new name gets. Slots stay valid until the next Insert().
  std::size_t EndSlot() const { return entries_.size(); }

  /// `name` must be acceptable UTF-8.
  std::optional<Found> Find(std::string_view name, NameTable& names);
  /// Finds the name that lies at an offset of the name table, if it can match anything.
  std::optional<Found> FindNameAt(std::uint32_t offset, NameTable& names);
  /// Fills a vacant slot, else moves the entries from `slot` on up by one.
  void Insert(std::size_t slot, const FlatFile::IndexEntry& entry, NameTable& names);
  /// The slot must hold an entry.
  void Remove(std::size_t slot, NameTable& names);

 private:
  bool IsVacant(std::size_t slot) const { return slot < entries_.size() && vacant_[slot]; }
  void CloseVacantSlots();
  void InsertBefore(std::size_t slot, const FlatFile::IndexEntry& entry);
  void Append(const FlatFile::IndexEntry& entry);
  void MakeTable(NameTable& names);
  void AddToTable(std::size_t slot, NameTable& names);
  void RemoveFromTable(std::size_t slot, NameTable& names);
  std::optional<Found> FindLiterally(std::string_view name, NameTable& names) const;

  std::vector<FlatFile::IndexEntry> entries_;
  std::vector<bool> vacant_;
  std::size_t vacantCount_ = 0;
  // In a damaged archive an entry's name may lie beyond the name table or run to its very end. Names that
  // are added then change it.
  bool someNameIsUnterminated_ = false;
  std::size_t tableMadeFor_ = 0;    // Bytes of the name table then.
  std::optional<SlotTable> table_;  // By the hashes of the names; nothing while it is not needed.
};
