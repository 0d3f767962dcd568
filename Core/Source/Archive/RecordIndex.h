#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "Archive/FlatFileFormat.h"
#include "Archive/NameTable.h"
#include "Archive/SlotTable.h"

/// The index of an archive: the position of each name, in the order in which the names were added.
///   Names:  compared ignoring case. They are in the archive's name table, an argument of each operation that needs
///           it. An entry whose name is not UTF-8, or is beyond the table, never matches.
///   Slots:  a slot is the number of an entry. Removing an entry leaves its slot vacant, so that the
///           others keep their numbers and a record that is moved gets its slot back.
///   Cost:   finding, inserting and removing take constant time, through a hash table that is built by the
///           first search. Only where several entries have the same name does it matter how one of them is
///           chosen: by bisection, as if the entries were sorted, then by a scan. These are also used when a
///           hostile archive forces hash collisions.
///   Errors: std::bad_alloc, and what NameTable::At() throws. What throws leaves the index unchanged, except
///           that Insert() may have renumbered the slots; Encode(), Clear() and Remove() never throw.
class RecordIndex {
 public:
  /// Where a name was found.
  struct Found {
    std::uint64_t position = 0;  ///< Of the record's block.
    std::size_t slot = 0;        ///< Of the entry.
  };

  /// Reads the entries from an index block's payload; an incomplete one at its end is ignored.
  void Load(std::span<const std::byte> payload);
  /// The index block's payload, which replaces the entries in memory: only Clear() may be called then, which ends its
  /// validity.
  std::span<const std::byte> Encode();
  void Clear();  ///< Removes every entry.

  /// The slot that a new name gets. Slots stay valid until the next Insert().
  std::size_t EndSlot() const { return entries_.size(); }

  /// `name` must be acceptable UTF-8.
  std::optional<Found> Find(std::string_view name, NameTable& names);
  /// Finds the entry for the name at an offset of the name table, if that is a valid name.
  std::optional<Found> FindNameAt(std::uint32_t offset, NameTable& names);
  /// Fills a vacant slot, else moves the entries from `slot` on up by one.
  void Insert(std::size_t slot, const FlatFile::IndexEntry& entry, NameTable& names);
  /// The slot must not be vacant.
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
  // In a damaged archive an entry's name may be beyond the name table or run to its end. Names that are added to the
  // table then change it.
  bool someNameIsUnterminated_ = false;
  std::size_t tableMadeFor_ = 0;    // Bytes of the name table when `table_` was made.
  std::optional<SlotTable> table_;  // By hashes of names; nullopt until it is needed.
};
