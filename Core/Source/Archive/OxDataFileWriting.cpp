#include <cstddef>
#include <span>
#include <utility>

#include "Archive/OxDataFile.h"
#include "Archive/Scramble.h"
#include "Foundation/Narrow.h"

using FlatFile::kNoName;
using FlatFile::kNoPosition;
using FlatFile::kRecordHeaderSize;
using FlatFile::LinkedList;
using FlatFile::RecordHeader;

/// What is to be stored: bytes in memory or, when there are none, those of a file from its beginning.
struct OxDataFile::Payload {
  std::uint64_t length = 0;
  const void* bytes = nullptr;
  OxFile* source = nullptr;
  FileStatus* sourceStatus = nullptr;
};

/// Where a record goes, and how.
struct OxDataFile::Placement {
  enum How { kInPlace, kReused, kAppended };

  DataType type = kDataRecord;
  std::uint32_t needed = 0;  // Bytes of header and payload.
  How how = kAppended;
  std::uint64_t block = kNoPosition;    // What lists and index record.
  std::uint64_t writeAt = kNoPosition;  // Where the header goes; elsewhere only in a reused block.
  std::size_t slot = 0;                 // Of the index.
  RecordHeader header;

  bool IsNewTail() const { return type == kDataRecord && how == kAppended; }
  RecordHeader HeaderOnDisk() const {
    RecordHeader onDisk = header;
    if (IsNewTail()) onDisk.next = block + header.blockSize;
    return onDisk;
  }
};

namespace {

// A link that leads out of the file is damage that was there before, and stays.
void ThrowIfFailed(FileStatus status) {
  if (status != kStatusOk && status != kStatusEndOfFile) throw OxDataFile::FileError(status);
}

}  // namespace

// ---- Records by name

void OxDataFile::AddRecord(const OxString& name, unsigned long length, const char* data) {
  CheckWritable(name, length);
  if (data == nullptr) length = 0;
  if (IsProtected()) {
    const OxBuffer scrambled = WobScrambleData(data, length, true);
    WriteData(name, {.length = length, .bytes = scrambled.data()}, kDataRecord);
  } else {
    WriteData(name, {.length = length, .bytes = data}, kDataRecord);
  }
}

void OxDataFile::AddRecord(const OxString& name, const OxBuffer& data) {
  AddRecord(name, data.length(), data.data());
}

FileStatus OxDataFile::AddRecordFromFile(const OxString& name, OxFile& source) {
  if (!source.IsOpen()) return kStatusNotOpen;
  const std::uint64_t length = source.GetLastKnownLength();
  CheckWritable(name, length);
  FileStatus status = kStatusOk;
  if (length > FileCopier::kBufferSize) {
    WriteData(name, {.length = length, .source = &source, .sourceStatus = &status}, kDataRecord);
    return status;
  }
  const std::span<std::byte> buffer = copier_.Buffer();
  std::size_t got = 0;
  status = source.ReadAt(0, buffer.first(static_cast<std::size_t>(length)), got);
  if (IsProtected()) scramble(kScrambleSeed, buffer.data(), buffer.data(), got);
  WriteData(name, {.length = got, .bytes = buffer.data()}, kDataRecord);
  return status;
}

// ---- The one writer of blocks

void OxDataFile::CheckWritable(const OxString& name, std::uint64_t length) const {
  if (!open_) throw FileNotOpen();
  if ((mode_ & kOpenWrite) == 0) throw AccessDenied();
  const std::uint64_t nameEnd = std::uint64_t{names_.Length()} + name.size() + 1;
  const bool tooLong = length > 0xFFFFFFFF - kRecordHeaderSize || nameEnd > 0xFFFFFFFF;
  if (tooLong) throw FileError(kStatusInputOutput);
}

void OxDataFile::WriteData(const OxString& name, const Payload& payload, DataType type) {
  CheckWritable(name, payload.length);
  if (file_.OwesRepairs()) ThrowIfFailed(file_.Settle());
  // Memory is taken before anything changes.
  if (type == kDataRecord) names_.Reserve(name.size());
  if (payload.source != nullptr) copier_.Buffer();
  ++change_;
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
  file_.SetPosition(place.writeAt + kRecordHeaderSize + place.header.dataLength);
}

// False when the free list cannot be read, which ends the operation without a word.
bool OxDataFile::FindPlace(const OxString& name, Placement& place) {
  std::uint64_t existing = place.type == kDataIndex ? header_.indexPos : header_.nameTablePos;
  place.slot = index_.EndSlot();
  if (place.type == kDataRecord) {
    const auto found = namesAreNew_ ? std::nullopt : index_.Find(name.view(), names_);
    existing = found ? found->position : kNoPosition;
    if (found) place.slot = found->slot;
  }
  if (existing != kNoPosition && RewriteOrDelete(existing, place)) return true;
  const FileStatus status = TakeFreeBlock(place);
  if (status != kStatusEndOfFile) return status == kStatusOk;
  file_.GoToEOF();
  place.block = place.writeAt = file_.GetPosition();
  place.header = RecordHeader();
  place.header.blockSize = place.needed;
  return true;
}

// True when the existing block has room; otherwise it has gone to the free list.
bool OxDataFile::RewriteOrDelete(std::uint64_t block, Placement& place) {
  const FileStatus status = ReadHeaderAt(block, place.header);
  if (status == kStatusEndOfFile) return false;
  if (status != kStatusOk) throw FileError(status);
  if (place.needed <= place.header.blockSize) {
    place.how = Placement::kInPlace;
    place.block = place.writeAt = block;
    return true;
  }
  if (place.type != kDataRecord) {
    // These blocks are in no list. Links of a last block make the deletion leave the used list as it is.
    place.header.prev = header_.usedList.tail;
    place.header.next = kNoPosition;
    ThrowIfFailed(WriteHeaderAt(block, place.header));
  }
  const std::optional<std::size_t> removed = DeleteBlock(block);
  // The record keeps its number among the entries. In a damaged archive the block may have carried the
  // name of another entry, and then the numbers behind that one have changed.
  if (removed && *removed < place.slot && place.type == kDataRecord) ++place.slot;
  return false;
}

// The first free block that is large enough; kStatusEndOfFile when there is none.
FileStatus OxDataFile::TakeFreeBlock(Placement& place) {
  if (header_.freeList.head == kNoPosition) return kStatusEndOfFile;
  ThrowIfFailed(file_.Settle());
  const LinkTrail::NextOf nextOf = LinkReader();
  LinkTrail trail(header_.freeList.head);
  for (std::uint64_t block = header_.freeList.head; block != kNoPosition;) {
    const FileStatus status = ReadHeaderAt(block, place.header);
    if (status != kStatusOk) return status;
    if (place.needed <= place.header.blockSize) {
      const FileStatus unlinked = UnlinkBlock(place.header, header_.freeList);
      --header_.freeCount;
      const FileStatus written = WriteOrOweHeader(block, place.header);
      WriteFileHeader();
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

void OxDataFile::PrepareBlock(const OxString& name, Placement& place) {
  if (place.how == Placement::kInPlace) return;
  if (place.type == kDataIndex) {
    header_.indexPos = place.block;
    place.header.nameOffset = kNoName;
  } else if (place.type == kDataNameTable) {
    header_.nameTablePos = place.block;
    place.header.nameOffset = FlatFile::kNameTableName;
  } else {
    ThrowIfFailed(LinkBlock(place.block, place.header, header_.usedList));
    place.header.nameOffset = names_.Length();
    names_.Add(name.view());
  }
}

// Header and payload reach the file in one system call, unless the payload comes from a file. An appended
// record is written with the link that it will have when another one is appended behind it.
void OxDataFile::WriteBlock(const Payload& payload, Placement& place) {
  const FileStatus status =
      payload.source != nullptr ? StreamPayload(payload, place) : WriteFromMemory(payload, place);
  if (status != kStatusOk) throw FileError(status);
  if (place.IsNewTail()) file_.PutOffListEnd(place.block, place.HeaderOnDisk().next);
}

FileStatus OxDataFile::WriteFromMemory(const Payload& payload, const Placement& place) {
  const auto header = FlatFile::Encode(place.HeaderOnDisk());
  const auto length = static_cast<std::size_t>(payload.length);
  const Posix::Piece pieces[] = {header, {static_cast<const std::byte*>(payload.bytes), length}};
  return file_.WriteAt(place.writeAt, pieces);
}

// When the source ends early, the header is written once more and tells what was really copied.
FileStatus OxDataFile::StreamPayload(const Payload& payload, Placement& place) {
  const FileStatus status = WriteHeaderAt(place.writeAt, place.HeaderOnDisk());
  if (status != kStatusOk) return status;
  const CopyResult result =
      file_.CopyFrom(*payload.source, payload.length, place.writeAt + kRecordHeaderSize, copier_,
                     IsProtected() ? MakeScrambler() : nullptr);
  *payload.sourceStatus = result.readStatus;
  if (result.writeStatus != kStatusOk) return result.writeStatus;
  if (result.copied == payload.length) return kStatusOk;
  place.header.dataLength = static_cast<std::uint32_t>(result.copied);
  if (place.how == Placement::kAppended) {
    place.header.blockSize = place.header.dataLength + kRecordHeaderSize;
  }
  return WriteHeaderAt(place.writeAt, place.HeaderOnDisk());
}

void OxDataFile::Publish(const Placement& place) {
  if (place.type == kDataRecord && place.how != Placement::kInPlace) {
    index_.Insert(place.slot, {place.header.nameOffset, 0, place.block}, names_);
    ++header_.recordCount;
  }
  WriteFileHeader();
}

// The failure that led here is on its way to the caller; another one could not be told beside it. A link that
// cannot be written back is owed.
void OxDataFile::Undo(Placement& place) {
  if (place.how == Placement::kInPlace) return;
  const bool appended = place.how == Placement::kAppended;
  if (appended) file_.ForgetListEnd(place.block);
  if (place.type == kDataRecord) UnlinkBlock(place.header, header_.usedList);
  if (appended) file_.SetEOF(place.block);
}

// ---- Deleting

void OxDataFile::DeleteCurrent() {
  if (file_.IsOpen()) DeleteBlock(file_.GetPosition());
}

// Returns the slot of the index entry that was removed. A block that is not in use is left alone. What
// fails on the way is told when all is done; nothing after the search in the index throws.
std::optional<std::size_t> OxDataFile::DeleteBlock(std::uint64_t block) {
  ThrowIfFailed(file_.Settle());
  RecordHeader header;
  if (ReadHeaderAt(block, header) != kStatusOk) return std::nullopt;
  if ((header.flags & FlatFile::kInUse) == 0) return std::nullopt;
  if ((mode_ & kOpenWrite) == 0) throw ReadOnly();
  const std::optional<std::size_t> removed = RemoveFromIndex(header.nameOffset);
  ++change_;
  const FileStatus unlinked = UnlinkBlock(header, header_.usedList);
  header.flags &= ~FlatFile::kInUse;
  header.nameOffset = kNoName;
  header.dataLength = 0;
  const FileStatus linked = LinkBlock(block, header, header_.freeList);
  --header_.recordCount;
  ++header_.freeCount;
  const FileStatus written = WriteOrOweHeader(block, header);
  WriteFileHeader();
  for (const FileStatus status : {unlinked, linked, written}) ThrowIfFailed(status);
  return removed;
}

std::optional<std::size_t> OxDataFile::RemoveFromIndex(std::uint32_t nameOffset) {
  const auto found = index_.FindNameAt(nameOffset, names_);
  if (!found) return std::nullopt;
  index_.Remove(found->slot, names_);
  return found->slot;
}

// The archive is being closed: nothing is looked up in the index any more.
void OxDataFile::WriteIndex() {
  RecordIndex index = std::exchange(index_, RecordIndex());
  const std::span<const std::byte> payload = index.Encode();
  WriteData("index", {.length = payload.size(), .bytes = payload.data()}, kDataIndex);
}

void OxDataFile::WriteNameTable() {
  const std::string_view names = names_.view();
  WriteData("nametable", {.length = names.size(), .bytes = names.data()}, kDataNameTable);
}

// ---- Lists

LinkTrail::NextOf OxDataFile::LinkReader() {
  return [this](std::uint64_t block) {
    RecordHeader header;
    try {
      return ReadHeaderAt(block, header) == kStatusOk ? header.next : kNoPosition;
    } catch (const EndOfFile&) {
      return kNoPosition;
    }
  };
}

// A link that is in the file and cannot be written is owed.
FileStatus OxDataFile::SetLink(std::uint64_t block, Link link, std::uint64_t position) {
  RecordHeader header;
  FileStatus status = ReadHeaderAt(block, header);
  if (status == kStatusOk) {
    header.*link = position;
    status = WriteHeaderAt(block, header);
  }
  const bool isInFile = block < kNoPosition - kRecordHeaderSize &&
                        file_.ClampToLength(block + kRecordHeaderSize) == block + kRecordHeaderSize;
  if (status != kStatusOk && status != kStatusEndOfFile && isInFile) {
    const std::size_t offset =
        link == &RecordHeader::next ? offsetof(RecordHeader, next) : offsetof(RecordHeader, prev);
    file_.PutOffRepair(block + offset, FlatFile::EncodePosition(position));
  }
  return status;
}

FileStatus OxDataFile::WriteOrOweHeader(std::uint64_t block, const RecordHeader& header) {
  const FileStatus status = WriteHeaderAt(block, header);
  if (status != kStatusOk) file_.PutOffRepair(block, FlatFile::Encode(header));
  return status;
}

FileStatus OxDataFile::LinkBlock(std::uint64_t block, RecordHeader& header, LinkedList& list) {
  header.prev = list.tail;
  header.next = kNoPosition;
  FileStatus status = kStatusOk;
  if (list.head == kNoPosition) {
    list.head = block;
  } else if (!file_.TakeLink(list.tail, block)) {
    status = SetLink(list.tail, &RecordHeader::next, block);
  }
  list.tail = block;
  return status;
}

// Both neighbours are tried; the first failure is the result.
FileStatus OxDataFile::UnlinkBlock(RecordHeader& header, LinkedList& list) {
  FileStatus before = kStatusOk;
  FileStatus behind = kStatusOk;
  if (header.prev == kNoPosition) {
    list.head = header.next;
  } else {
    before = SetLink(header.prev, &RecordHeader::next, header.next);
  }
  if (header.next == kNoPosition) {
    list.tail = header.prev;
  } else {
    behind = SetLink(header.next, &RecordHeader::prev, header.prev);
  }
  header.next = kNoPosition;
  header.prev = kNoPosition;
  return before != kStatusOk ? before : behind;
}
