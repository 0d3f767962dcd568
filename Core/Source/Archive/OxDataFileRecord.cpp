#include <algorithm>

#include "Archive/ArchiveState.h"
#include "Archive/OxDataFile.h"
#include "Archive/Scramble.h"

using FlatFile::kRecordHeaderSize;
using FlatFile::RecordHeader;

namespace {

// Writes the payload straight from where it lies in memory, piece by piece.
CopyResult CopyByViews(ArchiveState& archive, std::uint64_t start, std::uint32_t length, OxFile& target,
                       const FileCopier::Change& scramble) {
  static_assert(ReadWindow::kLargest <= FileCopier::kBufferSize);
  CopyResult result;
  while (result.copied < length && result.readStatus == kStatusOk) {
    const std::uint64_t from = start + result.copied;
    const auto wanted =
        static_cast<std::size_t>(std::min<std::uint64_t>(length - result.copied, ReadWindow::kLargest));
    std::span<const std::byte> bytes;
    result.readStatus = archive.file.ViewAt(from, wanted, bytes);
    if (scramble) {
      const std::span<std::byte> buffer = archive.copier.Buffer().first(bytes.size());
      std::ranges::copy(bytes, buffer.begin());
      scramble(buffer);
      bytes = buffer;
    }
    result.writeStatus = target.Write(bytes.data(), bytes.size());
    if (result.writeStatus != kStatusOk) return result;
    result.copied += bytes.size();
  }
  return result;
}

}  // namespace

OxDataFile::Record::Record(OxDataFile* file, std::uint64_t position) {
  Load(file, position);
}

// The name's storage serves record after record.
void OxDataFile::Record::Load(OxDataFile* file, std::uint64_t position) {
  if (file == nullptr || file->state_->blocks.ReadHeader(position, header_) != kStatusOk)
    throw EndOfFile();
  const auto name = file->state_->names.At(header_.nameOffset);
  name_.set(name ? name->data() : nullptr, name ? name->size() : 0);
  file_ = file;
  position_ = position;
}

FileStatus OxDataFile::Record::GetData(OxBuffer& out) const {
  if (file_ == nullptr) return kStatusNotOpen;
  const FileStatus status = file_->state_->blocks.ReadPayload(position_, out);
  if (file_->IsProtected()) scramble(kScrambleSeed, out.data(), out.data(), out.length());
  return status;
}

CopyResult OxDataFile::Record::CopyDataTo(OxFile& target) const {
  if (file_ == nullptr) return {.readStatus = kStatusNotOpen};
  if (!target.IsOpen()) return {.writeStatus = kStatusNotOpen};
  RecordHeader header;
  const FileStatus status = file_->state_->blocks.ReadHeader(position_, header);
  if (status != kStatusOk) return {.readStatus = status};
  const FileCopier::Change scramble = file_->IsProtected() ? MakeScrambler() : nullptr;
  ArchiveFile& archive = file_->state_->file;
  if (archive.IsMapped() || header.dataLength <= ReadWindow::kLargest) {
    return CopyByViews(*file_->state_, position_ + kRecordHeaderSize, header.dataLength, target,
                       scramble);
  }
  const std::uint64_t start = target.GetPosition();
  const CopyResult result =
      archive.CopyTo({target, start}, header.dataLength, position_ + kRecordHeaderSize,
                     file_->state_->copier, scramble);
  target.SetPosition(start + result.copied);
  return result;
}

const char* OxDataFile::Record::GetMappedRecordPtr(unsigned long& length) const {
  if (file_ == nullptr) throw AccessDenied();
  return file_->MappedPayload(position_, length);
}
