#include "LiteralArchive.h"

#include <algorithm>
#include <cstring>
#include <set>
#include <span>
#include <utility>

using FlatFile::kNoName;
using FlatFile::kNoPosition;
using FlatFile::kRecordHeaderSize;
using FlatFile::RecordHeader;

LiteralArchive::LiteralArchive(std::uint32_t typeCode, bool isProtected) {
  header_.typeCode = typeCode;
  header_.flags = isProtected ? FlatFile::kProtected : 0;
  WriteFileHeader();
}

void LiteralArchive::Close() {
  std::string index;
  for (const FlatFile::IndexEntry& entry : index_) {
    const auto bytes = Encode(entry);
    index.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  }
  WriteData("index", index, Type::kIndex);
  WriteData("nametable", names_, Type::kNameTable);
}

bool LiteralArchive::Open(std::string file) {
  const std::uint32_t typeCode = header_.typeCode;
  file_ = std::move(file);
  if (file_.size() < FlatFile::kFileHeaderSize) return false;
  std::array<std::byte, FlatFile::kFileHeaderSize> header{};
  std::memcpy(header.data(), file_.data(), header.size());
  header_ = FlatFile::DecodeFileHeader(header);
  if (header_.typeCode != typeCode || header_.reserved != 0) return false;
  const std::string index = ReadPayload(header_.indexPos);
  names_ = ReadPayload(header_.nameTablePos);
  index_.clear();
  for (std::size_t at = 0; at + FlatFile::kIndexEntrySize <= index.size();
       at += FlatFile::kIndexEntrySize) {
    std::array<std::byte, FlatFile::kIndexEntrySize> bytes{};
    std::memcpy(bytes.data(), index.data() + at, bytes.size());
    index_.push_back(FlatFile::DecodeIndexEntry(bytes));
  }
  return true;
}

std::vector<std::pair<OxString, std::string>> LiteralArchive::Records() const {
  std::vector<std::pair<OxString, std::string>> records;
  std::set<std::uint64_t> seen;
  RecordHeader header;
  for (std::uint64_t at = header_.usedList.head;
       at != kNoPosition && seen.insert(at).second && ReadHeader(at, header); at = header.next) {
    try {
      const OxString name(header.nameOffset <= names_.size() ? NameAt(header.nameOffset).c_str() : "");
      records.emplace_back(name, ReadPayload(at));
    } catch (const OxString::InvalidEncoding&) {
      break;
    }
  }
  return records;
}

void LiteralArchive::AddRecord(const OxString& name, const std::string& data) {
  WriteData(name, data, Type::kRecord);
}

bool LiteralArchive::DeleteRecord(const OxString& name) {
  std::uint64_t position = kNoPosition;
  std::size_t slot = 0;
  if (!LookUp(name, position, slot) || position == kNoPosition) return false;
  DeleteBlock(position);
  return true;
}

bool LiteralArchive::GetRecord(const OxString& name, std::string& data) const {
  std::uint64_t position = kNoPosition;
  std::size_t slot = 0;
  if (!LookUp(name, position, slot) || position == kNoPosition) return false;
  data = ReadPayload(position);
  return true;
}

bool LiteralArchive::ReadHeader(std::uint64_t position, RecordHeader& header) const {
  if (position > file_.size() || file_.size() - position < kRecordHeaderSize) return false;
  std::array<std::byte, kRecordHeaderSize> bytes{};
  std::memcpy(bytes.data(), file_.data() + position, bytes.size());
  header = FlatFile::DecodeRecordHeader(bytes);
  return true;
}

void LiteralArchive::WriteAt(std::uint64_t position, const void* bytes, std::size_t count) {
  if (file_.size() < position + count) file_.resize(static_cast<std::size_t>(position + count));
  std::memcpy(file_.data() + position, bytes, count);
}

void LiteralArchive::WriteHeader(std::uint64_t position, const RecordHeader& header) {
  const auto bytes = Encode(header);
  WriteAt(position, bytes.data(), bytes.size());
}

void LiteralArchive::WriteFileHeader() {
  const auto bytes = Encode(header_);
  WriteAt(0, bytes.data(), bytes.size());
}

std::string LiteralArchive::ReadPayload(std::uint64_t position) const {
  RecordHeader header;
  if (!ReadHeader(position, header)) return {};
  return file_.substr(static_cast<std::size_t>(position) + kRecordHeaderSize, header.dataLength);
}

std::string LiteralArchive::NameAt(std::uint32_t offset) const {
  return names_.substr(offset, names_.find('\0', offset) - offset);
}

bool LiteralArchive::Matches(const OxString& name, std::size_t slot, int& order) const {
  order = 1;
  if (index_[slot].nameOffset > names_.size()) return false;
  try {
    order = name.compare(OxString(NameAt(index_[slot].nameOffset).c_str()), OxString::kCaseInsensitive);
  } catch (const OxString::InvalidEncoding&) {
    return false;
  }
  return order == 0;
}

bool LiteralArchive::LookUp(const OxString& name, std::uint64_t& position, std::size_t& slot) const {
  const auto found = [&](std::size_t at) {
    position = index_[at].position;
    slot = at;
    return true;
  };
  int order = 0;
  for (long low = 0, high = static_cast<long>(index_.size()) - 1; low <= high;) {
    const long middle = (low + high) / 2;
    if (Matches(name, static_cast<std::size_t>(middle), order))
      return found(static_cast<std::size_t>(middle));
    (order < 0 ? high : low) = order < 0 ? middle - 1 : middle + 1;
  }
  for (std::size_t at = 0; at < index_.size(); ++at) {
    if (Matches(name, at, order)) return found(at);
  }
  slot = index_.size();
  return false;
}

void LiteralArchive::RemoveFromIndex(std::uint32_t nameOffset) {
  if (nameOffset > names_.size()) return;
  std::uint64_t position = kNoPosition;
  std::size_t slot = 0;
  try {
    if (LookUp(OxString(NameAt(nameOffset).c_str()), position, slot)) {
      index_.erase(index_.begin() + static_cast<std::ptrdiff_t>(slot));
    }
  } catch (const OxString::InvalidEncoding&) {
  }
}

void LiteralArchive::SetLink(std::uint64_t block, Direction direction, std::uint64_t value) {
  RecordHeader header;
  if (!ReadHeader(block, header)) return;
  header.*direction = value;
  WriteHeader(block, header);
}

void LiteralArchive::Link(std::uint64_t block, RecordHeader& header, FlatFile::LinkedList& list) {
  header.prev = list.tail;
  header.next = kNoPosition;
  if (list.head == kNoPosition) {
    list.head = block;
  } else {
    SetLink(list.tail, &RecordHeader::next, block);
  }
  list.tail = block;
}

void LiteralArchive::Unlink(RecordHeader& header, FlatFile::LinkedList& list) {
  if (header.prev == kNoPosition) {
    list.head = header.next;
  } else {
    SetLink(header.prev, &RecordHeader::next, header.next);
  }
  if (header.next == kNoPosition) {
    list.tail = header.prev;
  } else {
    SetLink(header.next, &RecordHeader::prev, header.prev);
  }
  header.next = header.prev = kNoPosition;
}

void LiteralArchive::DeleteBlock(std::uint64_t block) {
  RecordHeader header;
  if (!ReadHeader(block, header) || (header.flags & FlatFile::kInUse) == 0) return;
  RemoveFromIndex(header.nameOffset);
  Unlink(header, header_.usedList);
  header.flags &= ~FlatFile::kInUse;
  header.nameOffset = kNoName;
  header.dataLength = 0;
  Link(block, header, header_.freeList);
  --header_.recordCount;
  ++header_.freeCount;
  WriteHeader(block, header);
  WriteFileHeader();
}

bool LiteralArchive::FindFreeBlock(std::size_t needed, std::uint64_t& block, RecordHeader& header) {
  std::set<std::uint64_t> seen;
  for (block = header_.freeList.head; block != kNoPosition && seen.insert(block).second;
       block = header.next) {
    if (!ReadHeader(block, header)) return false;
    if (needed > header.blockSize) continue;
    Unlink(header, header_.freeList);
    --header_.freeCount;
    WriteHeader(block, header);
    WriteFileHeader();
    return true;
  }
  return false;
}

void LiteralArchive::WriteData(const OxString& name, const std::string& data, Type type) {
  const std::size_t needed = data.size() + kRecordHeaderSize;
  std::size_t slot = 0;
  std::uint64_t block = kNoPosition;
  if (type == Type::kIndex) block = header_.indexPos;
  if (type == Type::kNameTable) block = header_.nameTablePos;
  if (type == Type::kRecord) LookUp(name, block, slot);

  RecordHeader header;
  const bool exists = block != kNoPosition && ReadHeader(block, header);
  const bool inPlace = exists && needed <= header.blockSize;
  if (exists && !inPlace) {
    if (type != Type::kRecord) {
      header.prev = header_.usedList.tail;
      header.next = kNoPosition;
      WriteHeader(block, header);
    }
    DeleteBlock(block);
  }

  std::uint64_t target = block;
  if (!inPlace) {
    header = RecordHeader();
    if (FindFreeBlock(needed, block, header)) {
      target = block + kRecordHeaderSize;  // Deliberate: after the header that was just written.
    } else {
      block = target = file_.size();
      header = RecordHeader();
      header.blockSize = static_cast<std::uint32_t>(needed);
    }
  }
  header.flags = FlatFile::kInUse;
  header.dataLength = static_cast<std::uint32_t>(data.size());
  if (!inPlace && type == Type::kIndex) {
    header_.indexPos = block;
    header.nameOffset = kNoName;
  } else if (!inPlace && type == Type::kNameTable) {
    header_.nameTablePos = block;
    header.nameOffset = FlatFile::kNameTableName;
  } else if (!inPlace) {
    Link(block, header, header_.usedList);
    header.nameOffset = static_cast<std::uint32_t>(names_.size());
    names_.append(name.view()).push_back('\0');
  }
  WriteHeader(target, header);
  WriteAt(target + kRecordHeaderSize, data.data(), data.size());
  if (!inPlace && type == Type::kRecord) {
    ++header_.recordCount;
    index_.insert(index_.begin() + static_cast<std::ptrdiff_t>(std::min(slot, index_.size())),
                  {header.nameOffset, 0, block});
  }
  WriteFileHeader();
}
