#include "Archive/ArchiveState.h"
#include "Archive/OxDataFile.h"

using FlatFile::kNoPosition;

OxDataFile::Iterator::Iterator(OxDataFile* file) : Iterator(file, file->state_->header.usedList.head) {}

OxDataFile::Iterator::Iterator(OxDataFile* file, std::uint64_t position)
    : file_(file), position_(position), trail_(position, file->state_->change) {
  LoadRecord();
}

const OxDataFile::Record& OxDataFile::Iterator::operator*() const {
  if (position_ == kNoPosition) throw InvalidState();
  return record_;
}

OxDataFile::Iterator& OxDataFile::Iterator::operator++() {
  if (position_ == kNoPosition) throw InvalidState();
  const std::uint64_t next = record_.header_.next;
  const bool ends = next == kNoPosition ||
                    !trail_.StepTo(next, file_->state_->blocks.LinkReader(), file_->state_->change);
  position_ = ends ? kNoPosition : next;
  LoadRecord();
  return *this;
}

OxDataFile::Iterator OxDataFile::Iterator::operator++(int) {
  Iterator before = *this;
  ++*this;
  return before;
}

void OxDataFile::Iterator::LoadRecord() {
  if (position_ == kNoPosition) return;
  try {
    record_.Load(file_, position_);
  } catch (...) {
    position_ = kNoPosition;
  }
}
