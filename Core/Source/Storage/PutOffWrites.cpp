#include "Storage/PutOffWrites.h"

#include <cstddef>
#include <span>

namespace {

FileStatus Write(OxFile& file, std::uint64_t position, std::span<const std::byte> bytes) {
  const Posix::Piece piece = bytes;
  return file.WriteAt(position, {&piece, 1});
}

}  // namespace

bool PutOffWrites::TakeLink(std::uint64_t block, std::uint64_t position) {
  const bool linked = listEnd_ && listEnd_->block == block && listEnd_->written == position;
  if (linked) listEnd_.reset();
  return linked;
}

void PutOffWrites::Forget() {
  header_.reset();
  listEnd_.reset();
}

FileStatus PutOffWrites::WriteTo(OxFile& file) {
  if (listEnd_) {
    const std::uint64_t link = listEnd_->block + offsetof(FlatFile::RecordHeader, next);
    const FileStatus status = Write(file, link, FlatFile::EncodePosition(FlatFile::kNoPosition));
    if (status != kStatusOk) return status;
    listEnd_.reset();
  }
  if (header_) {
    const FileStatus status = Write(file, 0, FlatFile::Encode(*header_));
    if (status != kStatusOk) return status;
    header_.reset();
  }
  return kStatusOk;
}
