#include "Storage/PutOffWrites.h"

#include <algorithm>
#include <cassert>

namespace {

FileStatus Write(OxFile& file, std::uint64_t position, std::span<const std::byte> bytes) {
  const Posix::Piece piece = bytes;
  return file.WriteAt(position, {&piece, 1});
}

}  // namespace

bool PutOffWrites::TakeLink(std::uint64_t block, std::uint64_t position) {
  const bool linked =
      !OwesRepairs() && listEnd_ && listEnd_->block == block && listEnd_->written == position;
  if (linked) listEnd_.reset();
  return linked;
}

void PutOffWrites::ForgetListEnd(std::uint64_t block) {
  if (listEnd_ && listEnd_->block == block) listEnd_.reset();
}

// In the place of an earlier one there.
void PutOffWrites::PutOffRepair(std::uint64_t position, std::span<const std::byte> bytes) {
  const auto same = std::ranges::find_if(Repairs(), [&](const Repair& repair) {
    return repair.position == position && repair.size == bytes.size();
  });
  if (same != Repairs().end()) RemoveRepair(static_cast<std::size_t>(same - Repairs().begin()));
  assert(repairCount_ < kMostRepairs && bytes.size() <= FlatFile::kRecordHeaderSize);
  Repair& repair = repairs_[repairCount_++];
  repair.position = position;
  repair.size = bytes.size();
  std::ranges::copy(bytes, repair.bytes.begin());
}

void PutOffWrites::RemoveRepair(std::size_t index) {
  const auto removed = repairs_.begin() + static_cast<std::ptrdiff_t>(index);
  std::move(removed + 1, repairs_.end(), removed);
  --repairCount_;
}

void PutOffWrites::Forget() {
  header_.reset();
  listEnd_.reset();
  repairCount_ = 0;
}

FileStatus PutOffWrites::WriteTo(OxFile& file) {
  if (listEnd_) {
    // From the first try on nobody knows what the link is on disk.
    const std::uint64_t link = listEnd_->block + offsetof(FlatFile::RecordHeader, next);
    listEnd_.reset();
    PutOffRepair(link, FlatFile::EncodePosition(FlatFile::kNoPosition));
  }
  for (; OwesRepairs(); RemoveRepair(0)) {
    const Repair& first = repairs_.front();
    const FileStatus status = Write(file, first.position, std::span(first.bytes).first(first.size));
    if (status != kStatusOk) return status;
  }
  if (header_) {
    const FileStatus status = Write(file, 0, FlatFile::Encode(*header_));
    if (status != kStatusOk) return status;
    header_.reset();
  }
  return kStatusOk;
}
