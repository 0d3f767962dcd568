#include "Archive/ArchiveFile.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace {

// Longer reads bypass the window.
constexpr std::size_t kLargestCopy = std::size_t{64} * 1024;
static_assert(kLargestCopy <= ReadWindow::kLargest);

// The most that is gathered, in bytes. Larger is no faster (measured) and costs page faults.
constexpr std::size_t kMostGathered = std::size_t{64} * 1024;

constexpr std::size_t kMostPieces = 3;

std::size_t TotalSize(std::span<const Posix::Piece> pieces) {
  std::size_t total = 0;
  for (const Posix::Piece piece : pieces) total += piece.size();
  return total;
}

}  // namespace

// ---- Opening and closing

FileStatus ArchiveFile::OpenFile(const OxString& path, unsigned long permission,
                                 const FileCheck& check) {
  window_.Reserve();
  auto file = std::make_unique<OxFile>(path);
  const FileStatus status = file->Open(permission);
  if (status != kStatusOk) return status;
  file_ = std::move(file);
  return check && !check(*file_) ? kStatusNoPermission : kStatusOk;
}

bool ArchiveFile::OpenMapped(const OxString& path) {
  auto mapping = std::make_unique<OxMappedFile>();
  const bool opened = mapping->Open(path);
  if (opened) mapping_ = std::move(mapping);
  return opened;
}

FileStatus ArchiveFile::Close() {
  FileStatus status = Settle();
  if (file_ != nullptr) {
    const FileStatus closed = file_->Close();
    if (status == kStatusOk) status = closed;
  }
  Forget();
  return status;
}

FileStatus ArchiveFile::Discard() {
  const FileStatus status = file_ != nullptr ? file_->Discard() : kStatusNotOpen;
  Forget();
  return status;
}

void ArchiveFile::Forget() {
  file_.reset();
  mapping_.reset();
  position_ = 0;
  window_.Forget();
  appends_.reset();
  gathered_ = 0;
  header_.reset();
  listEnd_.reset();
  repairCount_ = 0;
}

std::string_view ArchiveFile::Mapped() const {
  return mapping_ != nullptr ? mapping_->view() : std::string_view();
}

// ---- Position and length

FileStatus ArchiveFile::SetPosition(std::uint64_t position) {
  if (!IsOpen()) return kStatusNotOpen;
  position_ = ClampToLength(position);
  return position_ == position ? kStatusOk : kStatusEndOfFile;
}

FileStatus ArchiveFile::GoToEOF() {
  if (file_ == nullptr) return kStatusNotOpen;
  const FileStatus status = file_->GoToEOF();
  if (status == kStatusOk) position_ = file_->GetPosition() + gathered_;
  return status;
}

// Gathered bytes beyond the new end need not be written first.
FileStatus ArchiveFile::SetEOF(std::uint64_t length) {
  const FileStatus status = WritePutOff();
  if (file_ == nullptr) return kStatusNotOpen;
  window_.Forget();
  const std::uint64_t onDisk = file_->GetLastKnownLength();
  if (length <= onDisk + gathered_) {
    const bool isShorter = length < onDisk;
    gathered_ = isShorter ? 0 : static_cast<std::size_t>(length - onDisk);
    if (!isShorter && appends_ != nullptr) return status;
  } else {
    const FileStatus written = WriteGathered();
    if (written != kStatusOk) return written;
  }
  const FileStatus cut = file_->SetEOF(length);
  return cut != kStatusOk ? cut : status;
}

std::uint64_t ArchiveFile::ClampToLength(std::uint64_t wanted) const {
  if (mapping_ != nullptr) return std::min<std::uint64_t>(wanted, mapping_->GetSize());
  if (file_ == nullptr) return 0;
  if (gathered_ > 0) return std::min(wanted, file_->GetLastKnownLength() + gathered_);
  return file_->ClampToLength(wanted);
}

// ---- Reading

FileStatus ArchiveFile::ReadAt(std::uint64_t position, std::span<std::byte> out, std::size_t& actual) {
  actual = 0;
  if (file_ != nullptr && out.size() > kLargestCopy) {
    const FileStatus status = Settle();
    return status != kStatusOk ? status : file_->ReadAt(position, out, actual);
  }
  std::span<const std::byte> bytes;
  const FileStatus status = ViewAt(position, out.size(), bytes);
  if (!bytes.empty()) std::memcpy(out.data(), bytes.data(), bytes.size());
  actual = bytes.size();
  return status;
}

FileStatus ArchiveFile::ViewAt(std::uint64_t position, std::size_t count,
                               std::span<const std::byte>& bytes, ReadWindow& window) {
  bytes = {};
  if (mapping_ != nullptr) {
    const std::uint64_t start = ClampToLength(position);
    const auto available =
        static_cast<std::size_t>(std::min<std::uint64_t>(count, mapping_->GetSize() - start));
    bytes = std::as_bytes(std::span(mapping_->GetAddress() + start, available));
    return available == count ? kStatusOk : kStatusEndOfFile;
  }
  if (file_ == nullptr) return kStatusNotOpen;
  const FileStatus status = Settle();
  return status != kStatusOk ? status : window.View(*file_, position, count, bytes);
}

CopyResult ArchiveFile::CopyTo(FilePlace target, std::uint64_t count, std::uint64_t position,
                               FileCopier& copier, const FileCopier::Change& change) {
  const FileStatus status = Settle();
  if (status != kStatusOk) return {.readStatus = status};
  return copier.Copy({*file_, position}, target, count, change);
}

// ---- Writing

FileStatus ArchiveFile::WriteAt(std::uint64_t position, std::span<const Posix::Piece> pieces) {
  if (file_ == nullptr) return kStatusNotOpen;
  window_.Forget();
  if (position == file_->GetLastKnownLength() + gathered_) {
    return Gather(pieces) ? kStatusOk : WriteBehindGathered(pieces);
  }
  const FileStatus status = WriteGathered();
  return status != kStatusOk ? status : file_->WriteAt(position, pieces);
}

FileStatus ArchiveFile::WriteAt(std::uint64_t position, std::span<const std::byte> bytes) {
  const Posix::Piece piece = bytes;
  return WriteAt(position, {&piece, 1});
}

FileStatus ArchiveFile::Write(std::span<const std::byte> bytes) {
  FileStatus status = Settle();
  if (file_ == nullptr) return kStatusNotOpen;
  if (status == kStatusOk) status = WriteAt(position_, bytes);
  if (status == kStatusOk) position_ += bytes.size();
  return status;
}

CopyResult ArchiveFile::CopyFrom(OxFile& source, std::uint64_t count, std::uint64_t position,
                                 FileCopier& copier, const FileCopier::Change& change) {
  const FileStatus status = file_ != nullptr ? WriteGathered() : kStatusNotOpen;
  if (status != kStatusOk) return {.writeStatus = status};
  window_.Forget();
  return copier.Copy({source, 0}, {*file_, position}, count, change);
}

// ---- Writes that are put off

void ArchiveFile::GatherAppends() {
  if (file_ != nullptr) appends_ = std::make_unique_for_overwrite<std::byte[]>(kMostGathered);
}

// False when there is no room.
bool ArchiveFile::Gather(std::span<const Posix::Piece> pieces) {
  if (appends_ == nullptr || TotalSize(pieces) > kMostGathered - gathered_) return false;
  for (const Posix::Piece piece : pieces) {
    if (!piece.empty()) std::memcpy(appends_.get() + gathered_, piece.data(), piece.size());
    gathered_ += piece.size();
  }
  return true;
}

// Writes the gathered bytes and then the pieces. What the file has grown by says how many were written.
FileStatus ArchiveFile::WriteBehindGathered(std::span<const Posix::Piece> pieces) {
  assert(pieces.size() <= kMostPieces);
  const std::uint64_t end = file_->GetLastKnownLength();
  if (gathered_ == 0) return file_->WriteAt(end, pieces);
  std::array<Posix::Piece, kMostPieces + 1> all = {Posix::Piece(appends_.get(), gathered_)};
  std::ranges::copy(pieces, all.begin() + 1);
  const FileStatus status = file_->WriteAt(end, std::span(all).first(pieces.size() + 1));
  const auto written =
      static_cast<std::size_t>(std::min<std::uint64_t>(gathered_, file_->GetLastKnownLength() - end));
  gathered_ -= written;
  if (gathered_ > 0) std::memmove(appends_.get(), appends_.get() + written, gathered_);
  return status;
}

FileStatus ArchiveFile::WriteGathered() {
  return gathered_ > 0 ? WriteBehindGathered({}) : kStatusOk;
}

FileStatus ArchiveFile::WriteThrough(std::uint64_t position, std::span<const std::byte> bytes) {
  const FileStatus status = WriteGathered();
  const Posix::Piece piece = bytes;
  return status != kStatusOk ? status : file_->WriteAt(position, {&piece, 1});
}

bool ArchiveFile::TakeLink(std::uint64_t block, std::uint64_t position) {
  const bool linked =
      !OwesRepairs() && listEnd_ && listEnd_->block == block && listEnd_->written == position;
  if (linked) listEnd_.reset();
  return linked;
}

void ArchiveFile::ForgetListEnd(std::uint64_t block) {
  if (listEnd_ && listEnd_->block == block) listEnd_.reset();
}

// Replaces an earlier one at that position.
void ArchiveFile::PutOffRepair(std::uint64_t position, std::span<const std::byte> bytes) {
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

void ArchiveFile::RemoveRepair(std::size_t index) {
  const auto removed = repairs_.begin() + static_cast<std::ptrdiff_t>(index);
  std::move(removed + 1, repairs_.end(), removed);
  --repairCount_;
}

FileStatus ArchiveFile::Settle() {
  if (file_ == nullptr) return kStatusOk;
  const FileStatus status = WritePutOff();
  return status != kStatusOk ? status : WriteGathered();
}

// All but the gathered appends, if there is anything.
FileStatus ArchiveFile::WritePutOff() {
  if (file_ == nullptr || (!header_ && !listEnd_ && !OwesRepairs())) return kStatusOk;
  window_.Forget();
  if (listEnd_) {
    // Once writing was tried, the link on disk is unknown.
    const std::uint64_t link = listEnd_->block + offsetof(FlatFile::RecordHeader, next);
    listEnd_.reset();
    PutOffRepair(link, FlatFile::EncodePosition(FlatFile::kNoPosition));
  }
  for (; OwesRepairs(); RemoveRepair(0)) {
    const Repair& first = repairs_.front();
    const FileStatus status = WriteThrough(first.position, std::span(first.bytes).first(first.size));
    if (status != kStatusOk) return status;
  }
  if (header_) {
    const FileStatus status = WriteThrough(0, FlatFile::Encode(*header_));
    if (status != kStatusOk) return status;
    header_.reset();
  }
  return kStatusOk;
}
