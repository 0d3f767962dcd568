#include "Storage/ArchiveFile.h"

#include <algorithm>
#include <cstring>

namespace {

// Longer reads go straight to where they are wanted.
constexpr std::size_t kLargestCopy = std::size_t{64} * 1024;
static_assert(kLargestCopy <= ReadWindow::kLargest);

}  // namespace

FileStatus ArchiveFile::OpenFile(const OxString& path, unsigned long permission) {
  window_.Reserve();
  auto file = std::make_unique<OxFile>(path);
  const FileStatus status = file->Open(permission);
  if (status == kStatusOk) file_ = std::move(file);
  return status;
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
  file_.reset();
  mapping_.reset();
  mappedPosition_ = 0;
  putOff_.Forget();
  window_.Forget();
  return status;
}

std::uint64_t ArchiveFile::GetPosition() const {
  return file_ != nullptr ? file_->GetPosition() : mappedPosition_;
}

FileStatus ArchiveFile::SetPosition(std::uint64_t position) {
  if (file_ != nullptr) return file_->SetPosition(position);
  if (mapping_ == nullptr) return kStatusNotOpen;
  mappedPosition_ = std::min<std::uint64_t>(position, mapping_->GetSize());
  return mappedPosition_ == position ? kStatusOk : kStatusEndOfFile;
}

FileStatus ArchiveFile::GoToEOF() {
  return file_ != nullptr ? file_->GoToEOF() : kStatusNotOpen;
}

FileStatus ArchiveFile::SetEOF(std::uint64_t length) {
  const FileStatus status = Settle();
  if (file_ == nullptr) return kStatusNotOpen;
  window_.Forget();
  const FileStatus cut = file_->SetEOF(length);
  return cut != kStatusOk ? cut : status;
}

void ArchiveFile::GatherAppends() {
  if (file_ != nullptr) file_->GatherAppends();
}

std::uint64_t ArchiveFile::ClampToLength(std::uint64_t wanted) const {
  if (mapping_ != nullptr) return std::min<std::uint64_t>(wanted, mapping_->GetSize());
  return file_ != nullptr ? file_->ClampToLength(wanted) : 0;
}

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
                               std::span<const std::byte>& bytes) {
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
  return status != kStatusOk ? status : window_.View(*file_, position, count, bytes);
}

FileStatus ArchiveFile::WriteAt(std::uint64_t position, std::span<const Posix::Piece> pieces) {
  if (file_ == nullptr) return kStatusNotOpen;
  window_.Forget();
  return file_->WriteAt(position, pieces);
}

FileStatus ArchiveFile::WriteAt(std::uint64_t position, std::span<const std::byte> bytes) {
  const Posix::Piece piece = bytes;
  return WriteAt(position, {&piece, 1});
}

FileStatus ArchiveFile::Write(std::span<const std::byte> bytes) {
  const FileStatus status = Settle();
  if (file_ == nullptr) return kStatusNotOpen;
  window_.Forget();
  return status != kStatusOk ? status : file_->Write(bytes.data(), bytes.size());
}

FileStatus ArchiveFile::Settle() {
  if (file_ == nullptr || putOff_.Empty()) return kStatusOk;
  window_.Forget();
  return putOff_.WriteTo(*file_);
}
