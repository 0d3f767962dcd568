#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// A hash table from hashes to slots (numbers below 2^32 - 2); a hash may have several. Only 32 bits of a hash are
/// stored, so searches find slots of other hashes too, and callers check the entries. Takes 12 to 24 bytes of memory
/// a slot. If Add() throws std::bad_alloc the table is unchanged.
class SlotTable {
 public:
  /// Allocates for `expected` slots, and grows beyond.
  explicit SlotTable(std::size_t expected);

  /// The pair must not be in the table yet.
  void Add(std::uint64_t hash, std::uint32_t slot);
  /// True when a probe grew so long that only equal or adversarial hashes explain it. The caller then scans: going on
  /// with the table would take quadratic time.
  bool IsCrowded() const { return isCrowded_; }
  void Remove(std::uint64_t hash, std::uint32_t slot);  ///< No effect if the pair is not in the table.

  /// Calls `visit(slot)` for the slots of `hash`, in no order, until it returns false.
  template <typename Visit>
  void ForEach(std::uint64_t hash, Visit visit) const {
    const std::uint32_t kept = Kept(hash);
    for (std::size_t at = kept & Mask(); cells_[at].slot != kEmpty; at = (at + 1) & Mask()) {
      if (cells_[at].hash == kept && cells_[at].slot != kRemoved && !visit(cells_[at].slot)) return;
    }
  }

 private:
  static constexpr std::uint32_t kEmpty = 0xFFFFFFFF;
  static constexpr std::uint32_t kRemoved = 0xFFFFFFFE;

  struct Cell {
    std::uint32_t hash = 0;
    std::uint32_t slot = kEmpty;
  };

  static std::uint32_t Kept(std::uint64_t hash) {
    return static_cast<std::uint32_t>(hash ^ (hash >> 32));
  }
  std::size_t Mask() const { return cells_.size() - 1; }
  void Put(Cell cell);
  void Resize(std::size_t slots);

  std::vector<Cell> cells_;  // Their number is a power of two; at least a third is empty.
  std::size_t filled_ = 0;   // Cells in use, removed slots included.
  std::size_t slots_ = 0;
  bool isCrowded_ = false;
};
