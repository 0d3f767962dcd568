#include "Archive/SlotTable.h"

#include <algorithm>
#include <bit>

namespace {

// With a million names that were not chosen for their hashes a probe is shorter than 200 cells.
constexpr std::size_t kMostPassed = 1000;

}  // namespace

SlotTable::SlotTable(std::size_t expected) {
  Resize(expected);
}

void SlotTable::Add(std::uint64_t hash, std::uint32_t slot) {
  if (3 * (filled_ + 1) > 2 * cells_.size()) Resize(2 * slots_ + 1);
  Put({Kept(hash), slot});
}

void SlotTable::Remove(std::uint64_t hash, std::uint32_t slot) {
  std::size_t at = Kept(hash) & Mask();
  while (cells_[at].slot != kEmpty && cells_[at].slot != slot) at = (at + 1) & Mask();
  if (cells_[at].slot == kEmpty) return;
  cells_[at].slot = kRemoved;
  --slots_;
}

// Reuses cells of removed slots; otherwise removing and adding one name again and again would fill the table.
void SlotTable::Put(Cell cell) {
  std::size_t at = cell.hash & Mask();
  std::size_t passed = 0;
  for (; cells_[at].slot != kEmpty && cells_[at].slot != kRemoved; ++passed) at = (at + 1) & Mask();
  if (cells_[at].slot == kEmpty) ++filled_;
  cells_[at] = cell;
  ++slots_;
  if (passed > kMostPassed) isCrowded_ = true;
}

// Rebuilds the table for so many slots, without the removed ones.
void SlotTable::Resize(std::size_t slots) {
  constexpr std::size_t kFewest = 16;
  std::vector<Cell> old(std::bit_ceil(std::max(kFewest, slots + slots / 2 + 1)));
  old.swap(cells_);
  filled_ = 0;
  slots_ = 0;
  for (const Cell& cell : old) {
    if (cell.slot != kEmpty && cell.slot != kRemoved) Put(cell);
  }
}
