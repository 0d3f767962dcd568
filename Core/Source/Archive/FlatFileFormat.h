#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

/// The bytes of a flat archive on disk: a 72-byte file header, then blocks, each a 32-byte record header
/// with its payload and perhaps unused bytes after it. Live records and free blocks form two doubly linked
/// lists; the index block and the name-table block belong to neither.
///   Order: little-endian throughout, except FileHeader::typeCode, which is big-endian. The structures
///          have the values in machine order; Encode() and the Decode functions convert.
///   Units: positions are bytes from the start of the file.
namespace FlatFile {

constexpr std::uint64_t kNoPosition = 0xFFFFFFFFFFFFFFFF;  ///< There is no such block.
constexpr std::uint32_t kNoName = 0xFFFFFFFF;              ///< Name of the index and of free blocks.
constexpr std::uint32_t kNameTableName = 0xFFFFFFFE;       ///< Name of the name-table block.
constexpr std::uint32_t kInUse = 1;                        ///< Bit of RecordHeader::flags.
constexpr std::uint32_t kProtected = 1;                    ///< Bit of FileHeader::flags.

/// First and last block of a list, or kNoPosition twice.
struct LinkedList {
  std::uint64_t head = kNoPosition;  ///< First block.
  std::uint64_t tail = kNoPosition;  ///< Last block.
};

/// The first bytes of the file.
struct FileHeader {
  std::uint32_t typeCode = 0;     ///< Four characters that name the kind of archive.
  std::uint32_t reserved = 0;     ///< Readers refuse any other value than 0.
  std::uint32_t recordCount = 0;  ///< Live records, minus one per relocation of the index or name table.
  std::uint32_t freeCount = 0;    ///< Blocks of the free list.
  LinkedList usedList;            ///< Live records in order.
  LinkedList freeList;            ///< Free blocks in order.
  std::uint64_t nameTablePos = kNoPosition;  ///< Of the name-table block.
  std::uint64_t indexPos = kNoPosition;      ///< Of the index block.
  std::uint32_t flags = 0;                   ///< kProtected or 0.
  std::uint32_t reserved2 = 0;               ///< Written as 0, not checked.
};

/// The first bytes of a block.
struct RecordHeader {
  std::uint32_t blockSize = 0;         ///< The whole block, this header included; never changes.
  std::uint32_t nameOffset = kNoName;  ///< Offset of the name in the name table's payload.
  std::uint32_t dataLength = 0;        ///< Bytes of payload after this header.
  std::uint32_t flags = 0;             ///< kInUse, or 0 for a free block.
  std::uint64_t next = kNoPosition;    ///< Position of the neighbour in the block's list.
  std::uint64_t prev = kNoPosition;    ///< Position of the neighbour in the block's list.
};

/// One record in the index block's payload.
struct IndexEntry {
  std::uint32_t nameOffset = 0;  ///< As in the record's header.
  std::uint32_t reserved = 0;    ///< Written as 0, not checked.
  std::uint64_t position = 0;    ///< Of the record's block.
};

/// The type code of a widget's archive: 'w', 'd', 'g', 't'.
constexpr std::uint32_t kWidget = 0x77646774;

/// What a block is for: a named record or the archive's own upkeep.
enum DataType { kDataRecord = 0, kDataIndex = 1, kDataNameTable = 2 };

/// Bytes on disk; the structures have the same size in memory.
constexpr std::uint32_t kFileHeaderSize = 72;
constexpr std::uint32_t kRecordHeaderSize = 32;  ///< Bytes on disk.
constexpr std::uint32_t kIndexEntrySize = 16;    ///< Bytes on disk.

static_assert(sizeof(FileHeader) == kFileHeaderSize && offsetof(FileHeader, usedList) == 16 &&
              offsetof(FileHeader, nameTablePos) == 48 && offsetof(FileHeader, flags) == 64);
static_assert(sizeof(RecordHeader) == kRecordHeaderSize && offsetof(RecordHeader, next) == 16);
static_assert(sizeof(IndexEntry) == kIndexEntrySize && offsetof(IndexEntry, position) == 8);

/// The bytes on disk.
std::array<std::byte, kFileHeaderSize> Encode(const FileHeader& header);
std::array<std::byte, kRecordHeaderSize> Encode(const RecordHeader& header);
std::array<std::byte, kIndexEntrySize> Encode(const IndexEntry& entry);
/// One position, as encoded in `next` and `prev`.
std::array<std::byte, 8> EncodePosition(std::uint64_t position);

/// Decodes the bytes on disk; nothing is checked.
FileHeader DecodeFileHeader(std::span<const std::byte, kFileHeaderSize> bytes);
/// Decodes the bytes on disk; nothing is checked.
RecordHeader DecodeRecordHeader(std::span<const std::byte, kRecordHeaderSize> bytes);
/// Decodes the bytes on disk; nothing is checked.
IndexEntry DecodeIndexEntry(std::span<const std::byte, kIndexEntrySize> bytes);

}  // namespace FlatFile
