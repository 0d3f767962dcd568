#include "Archive/DamageWatch.h"

#include <algorithm>
#include <limits>
#include <optional>

using FlatFile::kNoName;
using FlatFile::kNoPosition;

namespace {

using Record = OxDataFile::Record;

// Nullopt when the block, or its name, cannot be loaded.
std::optional<Record> LoadRecord(OxDataFile& archive, std::uint64_t position) {
  try {
    return Record(&archive, position);
  } catch (const OxDataFile::EndOfFile&) {
    return std::nullopt;
  } catch (const OxString::InvalidEncoding&) {
    return std::nullopt;
  }
}

bool IsInUse(const Record& record) {
  return (record.GetHeader().flags & FlatFile::kInUse) != 0;
}

bool IsEmptyFreeBlock(const Record& record) {
  return !IsInUse(record) && record.GetHeader().nameOffset == kNoName && record.GetDataLength() == 0;
}

bool HasNoBlocks(const FlatFile::FileHeader& header) {
  const std::uint64_t positions[] = {header.usedList.head, header.usedList.tail, header.freeList.head,
                                     header.freeList.tail, header.nameTablePos,  header.indexPos};
  return std::ranges::all_of(positions, [](std::uint64_t position) { return position == kNoPosition; });
}

}  // namespace

std::uint64_t LengthOfFile(OxDataFile& archive) {
  constexpr std::uint64_t kUnknown = std::numeric_limits<std::uint64_t>::max();
  const std::uint64_t position = archive.GetPosition();
  const std::uint64_t length = archive.GoToEOF() == kStatusOk ? archive.GetPosition() : kUnknown;
  archive.SetPosition(position);
  return length;
}

NameTableExtent FindNameTable(OxDataFile& archive) {
  FlatFile::FileHeader header;
  if (archive.ReadFileHeader(header, true) != kStatusOk) return {NameTableExtent::kCutOff, 0};
  if (header.nameTablePos == kNoPosition) return {};
  const std::optional<Record> table = LoadRecord(archive, header.nameTablePos);
  if (!table) return {NameTableExtent::kCutOff, 0};
  if (IsEmptyFreeBlock(*table)) return {};
  const std::uint64_t start = header.nameTablePos + FlatFile::kRecordHeaderSize;
  const std::uint64_t present = LengthOfFile(archive) - start;
  if (table->GetDataLength() > present) return {NameTableExtent::kCutOff, present};
  return {NameTableExtent::kWhole, table->GetDataLength()};
}

DamageWatch::DamageWatch(OxDataFile& archive)
    : archive_(archive),
      isReadable_(archive.ReadFileHeader(header_, true) == kStatusOk),
      names_(FindNameTable(archive)),
      next_(header_.usedList.head) {}

void DamageWatch::See(const OxDataFile::Record& record) {
  sawRecord_ = true;
  next_ = record.GetHeader().next;
  sawTail_ = sawTail_ || record.GetPosition() == header_.usedList.tail;
  lostName_ = lostName_ || HasLostItsName(record);
}

bool DamageWatch::HasLostItsName(const OxDataFile::Record& record) const {
  if (!record.GetName().empty() || names_.state == NameTableExtent::kMissing) return false;
  const std::uint32_t offset = record.GetHeader().nameOffset;
  const bool isBeyondTable = offset < FlatFile::kNameTableName && archive_.GetName(offset) == nullptr;
  return isBeyondTable || record.GetDataLength() > 0;
}

bool DamageWatch::FoundDamage() const {
  return !isReadable_ || lostName_ || names_.state == NameTableExtent::kCutOff || next_ != kNoPosition ||
         MissedTheTail() || WasNeverClosed();
}

bool DamageWatch::MissedTheTail() const {
  if (sawTail_ || header_.usedList.tail == kNoPosition) return false;
  const std::optional<Record> tail = LoadRecord(archive_, header_.usedList.tail);
  return tail && IsInUse(*tail) && !tail->GetName().empty();
}

bool DamageWatch::WasNeverClosed() const {
  if (!HasNoBlocks(header_)) return false;
  const std::optional<Record> first = LoadRecord(archive_, FlatFile::kFileHeaderSize);
  return first && IsInUse(*first);
}
