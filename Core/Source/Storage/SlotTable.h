#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// A hash table from hashes to slots (numbers below 2^32 - 2), of which a hash may have several. Only 32
/// bits of a hash are kept, so a caller finds slots of other hashes too and has to look at what they hold.
/// It lies in one piece of memory, which takes 12 to 24 bytes for each slot. An Add() that throws
/// std::bad_alloc leaves it as it was.
class SlotTable {
 public:
  /// Has room for `expected` slots, and grows.
  explicit SlotTable(std::size_t expected);

  /// The pair must not be there yet.
  void Add(std::uint64_t hash, std::uint32_t slot);
  /// Whether very many hashes lie in one place, as only equal or chosen names do. Then the table is no
  /// use: going on would take time by the square of their number.
  bool IsCrowded() const { return isCrowded_; }
  void Remove(std::uint64_t hash, std::uint32_t slot);  ///< Nothing if the pair is not there.

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

  std::vector<Cell> cells_;  // A power of two, of which a third and more is empty.
  std::size_t filled_ = 0;   // Cells that are not empty; removed slots count.
  std::size_t slots_ = 0;
  bool isCrowded_ = false;
};
