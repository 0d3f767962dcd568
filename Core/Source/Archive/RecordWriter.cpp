#include "Archive/RecordWriter.h"

#include <span>
#include <utility>

#include "Archive/ArchiveErrors.h"
#include "Archive/LinkTrail.h"
#include "Archive/Scramble.h"

using FlatFile::kNoName;
using FlatFile::kNoPosition;
using FlatFile::kRecordHeaderSize;
using FlatFile::RecordHeader;

/// Where a record goes, and how.
struct RecordWriter::Placement {
  enum How { kInPlace, kReused, kAppended };

  FlatFile::DataType type = FlatFile::kDataRecord;
  std::uint32_t needed = 0;  // Bytes of header and payload.
  How how = kAppended;
  std::uint64_t block = kNoPosition;    // What lists and index record.
  std::uint64_t writeAt = kNoPosition;  // Where the header goes; elsewhere only in a reused block.
  std::size_t slot = 0;                 // Of the index.
  RecordHeader header;

  bool IsNewTail() const { return type == FlatFile::kDataRecord && how == kAppended; }
  RecordHeader HeaderOnDisk() const {
    RecordHeader onDisk = header;
    if (IsNewTail()) onDisk.next = block + header.blockSize;
    return onDisk;
  }
};

namespace {

// A link that leads out of the file is damage that was there before, and stays.
void ThrowIfFailed(FileStatus status) {
  if (status != kStatusOk && status != kStatusEndOfFile) throw FlatFile::FileError(status);
}

}  // namespace

void RecordWriter::CheckWritable(const OxString& name, std::uint64_t length) const {
  if (!archive_.isOpen) throw FlatFile::FileNotOpen();
  if (!archive_.isWritable) throw FlatFile::AccessDenied();
  const std::uint64_t nameEnd = std::uint64_t{archive_.names.Length()} + name.size() + 1;
  const bool tooLong = length > 0xFFFFFFFF - kRecordHeaderSize || nameEnd > 0xFFFFFFFF;
  if (tooLong) throw FlatFile::FileError(kStatusInputOutput);
}

void RecordWriter::Write(const OxString& name, const Payload& payload, FlatFile::DataType type) {
  CheckWritable(name, payload.length);
  if (archive_.file.OwesRepairs()) ThrowIfFailed(archive_.file.Settle());
  // Memory is taken before anything changes.
  if (type == FlatFile::kDataRecord) archive_.names.Reserve(name.size());
  if (payload.source != nullptr) archive_.copier.Buffer();
  ++archive_.change;
  Placement place;
  place.type = type;
  place.needed = static_cast<std::uint32_t>(payload.length + kRecordHeaderSize);
  if (!FindPlace(name, place)) return;
  place.header.flags = FlatFile::kInUse;
  place.header.dataLength = static_cast<std::uint32_t>(payload.length);
  try {
    PrepareBlock(name, place);
    WriteBlock(payload, place);
    Publish(place);
  } catch (...) {
    Undo(place);
    throw;
  }
  archive_.file.SetPosition(place.writeAt + kRecordHeaderSize + place.header.dataLength);
}

// False when the free list cannot be read, which ends the operation without a word.
bool RecordWriter::FindPlace(const OxString& name, Placement& place) {
  std::uint64_t existing =
      place.type == FlatFile::kDataIndex ? archive_.header.indexPos : archive_.header.nameTablePos;
  place.slot = archive_.Index().EndSlot();
  if (place.type == FlatFile::kDataRecord) {
    const auto found =
        archive_.namesAreNew ? std::nullopt : archive_.Index().Find(name.view(), archive_.names);
    existing = found ? found->position : kNoPosition;
    if (found) place.slot = found->slot;
  }
  if (existing != kNoPosition && RewriteOrDelete(existing, place)) return true;
  const FileStatus status = TakeFreeBlock(place);
  if (status != kStatusEndOfFile) return status == kStatusOk;
  archive_.file.GoToEOF();
  place.block = place.writeAt = archive_.file.GetPosition();
  place.header = RecordHeader();
  place.header.blockSize = place.needed;
  return true;
}

// True when the existing block has room; otherwise it has gone to the free list.
bool RecordWriter::RewriteOrDelete(std::uint64_t block, Placement& place) {
  const FileStatus status = archive_.blocks.ReadHeader(block, place.header);
  if (status == kStatusEndOfFile) return false;
  if (status != kStatusOk) throw FlatFile::FileError(status);
  if (place.needed <= place.header.blockSize) {
    place.how = Placement::kInPlace;
    place.block = place.writeAt = block;
    return true;
  }
  if (place.type != FlatFile::kDataRecord) {
    // These blocks are in no list. Links of a last block make the deletion leave the used list as it is.
    place.header.prev = archive_.header.usedList.tail;
    place.header.next = kNoPosition;
    ThrowIfFailed(archive_.blocks.WriteHeader(block, place.header));
  }
  const std::optional<std::size_t> removed = Delete(block);
  // The record keeps its number among the entries. In a damaged archive the block may have carried the
  // name of another entry, and then the numbers behind that one have changed.
  if (removed && *removed < place.slot && place.type == FlatFile::kDataRecord) ++place.slot;
  return false;
}

// The first free block that is large enough; kStatusEndOfFile when there is none.
FileStatus RecordWriter::TakeFreeBlock(Placement& place) {
  if (archive_.header.freeList.head == kNoPosition) return kStatusEndOfFile;
  ThrowIfFailed(archive_.file.Settle());
  const FlatFile::LinkTrail::NextOf nextOf = archive_.blocks.LinkReader();
  FlatFile::LinkTrail trail(archive_.header.freeList.head);
  for (std::uint64_t block = archive_.header.freeList.head; block != kNoPosition;) {
    const FileStatus status = archive_.blocks.ReadHeader(block, place.header);
    if (status != kStatusOk) return status;
    if (place.needed <= place.header.blockSize) {
      const FileStatus unlinked = archive_.blocks.Unlink(place.header, archive_.header.freeList);
      --archive_.header.freeCount;
      const FileStatus written = archive_.blocks.WriteOrOweHeader(block, place.header);
      archive_.file.PutOffFileHeader(archive_.header);
      ThrowIfFailed(unlinked);
      ThrowIfFailed(written);
      place.how = Placement::kReused;
      place.block = block;
      // Deliberate: the record goes behind the header that was just written back, not over it.
      place.writeAt = block + kRecordHeaderSize;
      return kStatusOk;
    }
    if (place.header.next != kNoPosition && !trail.StepTo(place.header.next, nextOf)) break;
    block = place.header.next;
  }
  return kStatusEndOfFile;
}

void RecordWriter::PrepareBlock(const OxString& name, Placement& place) {
  if (place.how == Placement::kInPlace) return;
  if (place.type == FlatFile::kDataIndex) {
    archive_.header.indexPos = place.block;
    place.header.nameOffset = kNoName;
  } else if (place.type == FlatFile::kDataNameTable) {
    archive_.header.nameTablePos = place.block;
    place.header.nameOffset = FlatFile::kNameTableName;
  } else {
    ThrowIfFailed(archive_.blocks.Link(place.block, place.header, archive_.header.usedList));
    place.header.nameOffset = archive_.names.Length();
    archive_.names.Add(name.view());
  }
}

// Header and payload reach the file in one system call, unless the payload comes from a file. An appended
// record is written with the link that it will have when another one is appended behind it.
void RecordWriter::WriteBlock(const Payload& payload, Placement& place) {
  const FileStatus status =
      payload.source != nullptr ? StreamPayload(payload, place) : WriteFromMemory(payload, place);
  if (status != kStatusOk) throw FlatFile::FileError(status);
  if (place.IsNewTail()) archive_.file.PutOffListEnd(place.block, place.HeaderOnDisk().next);
}

FileStatus RecordWriter::WriteFromMemory(const Payload& payload, const Placement& place) {
  const auto header = FlatFile::Encode(place.HeaderOnDisk());
  const auto length = static_cast<std::size_t>(payload.length);
  const Posix::Piece pieces[] = {header, {static_cast<const std::byte*>(payload.bytes), length}};
  return archive_.file.WriteAt(place.writeAt, pieces);
}

// When the source ends early, the header is written once more and tells what was really copied.
FileStatus RecordWriter::StreamPayload(const Payload& payload, Placement& place) {
  const FileStatus status = archive_.blocks.WriteHeader(place.writeAt, place.HeaderOnDisk());
  if (status != kStatusOk) return status;
  const CopyResult result =
      archive_.file.CopyFrom(*payload.source, payload.length, place.writeAt + kRecordHeaderSize,
                             archive_.copier, archive_.IsProtected() ? MakeScrambler() : nullptr);
  *payload.sourceStatus = result.readStatus;
  if (result.writeStatus != kStatusOk) return result.writeStatus;
  if (result.copied == payload.length) return kStatusOk;
  place.header.dataLength = static_cast<std::uint32_t>(result.copied);
  if (place.how == Placement::kAppended) {
    place.header.blockSize = place.header.dataLength + kRecordHeaderSize;
  }
  return archive_.blocks.WriteHeader(place.writeAt, place.HeaderOnDisk());
}

void RecordWriter::Publish(const Placement& place) {
  if (place.type == FlatFile::kDataRecord && place.how != Placement::kInPlace) {
    archive_.Index().Insert(place.slot, {place.header.nameOffset, 0, place.block}, archive_.names);
    ++archive_.header.recordCount;
  }
  archive_.file.PutOffFileHeader(archive_.header);
}

// The failure that led here is on its way to the caller; another one could not be told beside it. A link that
// cannot be written back is owed.
void RecordWriter::Undo(Placement& place) {
  if (place.how == Placement::kInPlace) return;
  const bool appended = place.how == Placement::kAppended;
  if (appended) archive_.file.ForgetListEnd(place.block);
  if (place.type == FlatFile::kDataRecord)
    archive_.blocks.Unlink(place.header, archive_.header.usedList);
  if (appended) archive_.file.SetEOF(place.block);
}

// ---- Deleting

// What fails on the way is told when all is done.
std::optional<std::size_t> RecordWriter::Delete(std::uint64_t block) {
  ThrowIfFailed(archive_.file.Settle());
  RecordHeader header;
  if (archive_.blocks.ReadHeader(block, header) != kStatusOk) return std::nullopt;
  if ((header.flags & FlatFile::kInUse) == 0) return std::nullopt;
  if (!archive_.isWritable) throw FlatFile::ReadOnly();
  const std::optional<std::size_t> removed = RemoveFromIndex(header.nameOffset);
  ++archive_.change;
  const FileStatus unlinked = archive_.blocks.Unlink(header, archive_.header.usedList);
  header.flags &= ~FlatFile::kInUse;
  header.nameOffset = kNoName;
  header.dataLength = 0;
  const FileStatus linked = archive_.blocks.Link(block, header, archive_.header.freeList);
  --archive_.header.recordCount;
  ++archive_.header.freeCount;
  const FileStatus written = archive_.blocks.WriteOrOweHeader(block, header);
  archive_.file.PutOffFileHeader(archive_.header);
  for (const FileStatus status : {unlinked, linked, written}) ThrowIfFailed(status);
  return removed;
}

std::optional<std::size_t> RecordWriter::RemoveFromIndex(std::uint32_t nameOffset) {
  const auto found = archive_.Index().FindNameAt(nameOffset, archive_.names);
  if (!found) return std::nullopt;
  archive_.Index().Remove(found->slot, archive_.names);
  return found->slot;
}

void RecordWriter::WriteTables() {
  // Nothing is looked up in the index any more.
  RecordIndex index = std::exchange(archive_.Index(), RecordIndex());
  const std::span<const std::byte> payload = index.Encode();
  Write("index", {.length = payload.size(), .bytes = payload.data()}, FlatFile::kDataIndex);
  const std::string_view names = archive_.names.view();
  Write("nametable", {.length = names.size(), .bytes = names.data()}, FlatFile::kDataNameTable);
}
