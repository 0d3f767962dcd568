#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

/// The bytes of a flat archive on disk: a 72-byte file header, then blocks, each a 32-byte record header
/// with its payload and perhaps unused bytes behind. Live records and free blocks form two doubly linked
/// lists; the index block and the name-table block belong to neither.
///   Order: little-endian throughout, but for FileHeader::typeCode, which is big-endian. The structures
///          hold the values in the machine's own order; Encode() and the Decode functions convert.
///   Units: positions are bytes from the start of the file.
namespace FlatFile {

constexpr std::uint64_t kNoPosition = 0xFFFFFFFFFFFFFFFF;  ///< There is no such block.
constexpr std::uint32_t kNoName = 0xFFFFFFFF;              ///< Name of the index and of free blocks.
constexpr std::uint32_t kNameTableName = 0xFFFFFFFE;       ///< Name of the name-table block.
constexpr std::uint32_t kInUse = 1;                        ///< Bit of RecordHeader::flags.
constexpr std::uint32_t kProtected = 1;                    ///< Bit of FileHeader::flags.

/// First and last block of a list, or kNoPosition twice.
struct LinkedList {
  std::uint64_t head = kNoPosition;
  std::uint64_t tail = kNoPosition;
};

struct FileHeader {
  std::uint32_t typeCode = 0;     ///< Four characters that name the kind of archive.
  std::uint32_t reserved = 0;     ///< A reader refuses anything but 0.
  std::uint32_t recordCount = 0;  ///< Live records, without index and name table.
  std::uint32_t freeCount = 0;
  LinkedList usedList;
  LinkedList freeList;
  std::uint64_t nameTablePos = kNoPosition;
  std::uint64_t indexPos = kNoPosition;
  std::uint32_t flags = 0;
  std::uint32_t reserved2 = 0;  ///< Written as 0, not checked.
};

struct RecordHeader {
  std::uint32_t blockSize = 0;         ///< The whole block, this header included; never changes.
  std::uint32_t nameOffset = kNoName;  ///< Where the name begins in the name table's payload.
  std::uint32_t dataLength = 0;        ///< Bytes of payload behind this header.
  std::uint32_t flags = 0;
  std::uint64_t next = kNoPosition;
  std::uint64_t prev = kNoPosition;
};

/// One record in the index block's payload.
struct IndexEntry {
  std::uint32_t nameOffset = 0;
  std::uint32_t reserved = 0;
  std::uint64_t position = 0;
};

constexpr std::uint32_t kFileHeaderSize = 72;
constexpr std::uint32_t kRecordHeaderSize = 32;
constexpr std::uint32_t kIndexEntrySize = 16;

static_assert(sizeof(FileHeader) == kFileHeaderSize && offsetof(FileHeader, usedList) == 16 &&
              offsetof(FileHeader, nameTablePos) == 48 && offsetof(FileHeader, flags) == 64);
static_assert(sizeof(RecordHeader) == kRecordHeaderSize && offsetof(RecordHeader, next) == 16);
static_assert(sizeof(IndexEntry) == kIndexEntrySize && offsetof(IndexEntry, position) == 8);

std::array<std::byte, kFileHeaderSize> Encode(const FileHeader& header);
std::array<std::byte, kRecordHeaderSize> Encode(const RecordHeader& header);
std::array<std::byte, kIndexEntrySize> Encode(const IndexEntry& entry);
std::array<std::byte, 8> EncodePosition(std::uint64_t position);

FileHeader DecodeFileHeader(std::span<const std::byte, kFileHeaderSize> bytes);
RecordHeader DecodeRecordHeader(std::span<const std::byte, kRecordHeaderSize> bytes);
IndexEntry DecodeIndexEntry(std::span<const std::byte, kIndexEntrySize> bytes);

}  // namespace FlatFile
