#include "Archive/FlatFileFormat.h"

#include <algorithm>
#include <concepts>

namespace FlatFile {

namespace {

constexpr unsigned kBitsPerByte = 8;

// Writes fields one after the other.
class FieldWriter {
 public:
  explicit FieldWriter(std::byte* at) : at_(at) {}

  template <std::unsigned_integral Number>
  FieldWriter& Little(Number value) {
    for (std::size_t i = 0; i < sizeof value; ++i) {
      *at_++ = static_cast<std::byte>(value >> (kBitsPerByte * i));
    }
    return *this;
  }
  FieldWriter& Big(std::uint32_t value) {
    Little(value);
    std::reverse(at_ - sizeof value, at_);
    return *this;
  }
  FieldWriter& List(const LinkedList& list) { return Little(list.head).Little(list.tail); }

 private:
  std::byte* at_;
};

// Reads them back.
class FieldReader {
 public:
  explicit FieldReader(const std::byte* at) : at_(at) {}

  template <std::unsigned_integral Number>
  FieldReader& Little(Number& value) {
    value = 0;
    for (std::size_t i = 0; i < sizeof value; ++i) {
      value |= std::to_integer<Number>(*at_++) << (kBitsPerByte * i);
    }
    return *this;
  }
  FieldReader& Big(std::uint32_t& value) {
    value = 0;
    for (std::size_t i = 0; i < sizeof value; ++i) {
      value = (value << kBitsPerByte) | std::to_integer<std::uint32_t>(*at_++);
    }
    return *this;
  }
  FieldReader& List(LinkedList& list) { return Little(list.head).Little(list.tail); }

 private:
  const std::byte* at_;
};

// The order of the fields, for a writer and for a reader.

template <typename Codec, typename Header>
void CodeFileHeader(Codec codec, Header& header) {
  codec.Big(header.typeCode)
      .Little(header.reserved)
      .Little(header.recordCount)
      .Little(header.freeCount)
      .List(header.usedList)
      .List(header.freeList)
      .Little(header.nameTablePos)
      .Little(header.indexPos)
      .Little(header.flags)
      .Little(header.reserved2);
}

template <typename Codec, typename Header>
void CodeRecordHeader(Codec codec, Header& header) {
  codec.Little(header.blockSize)
      .Little(header.nameOffset)
      .Little(header.dataLength)
      .Little(header.flags)
      .Little(header.next)
      .Little(header.prev);
}

template <typename Codec, typename Entry>
void CodeIndexEntry(Codec codec, Entry& entry) {
  codec.Little(entry.nameOffset).Little(entry.reserved).Little(entry.position);
}

}  // namespace

std::array<std::byte, kFileHeaderSize> Encode(const FileHeader& header) {
  std::array<std::byte, kFileHeaderSize> bytes;
  CodeFileHeader(FieldWriter(bytes.data()), header);
  return bytes;
}

std::array<std::byte, kRecordHeaderSize> Encode(const RecordHeader& header) {
  std::array<std::byte, kRecordHeaderSize> bytes;
  CodeRecordHeader(FieldWriter(bytes.data()), header);
  return bytes;
}

std::array<std::byte, kIndexEntrySize> Encode(const IndexEntry& entry) {
  std::array<std::byte, kIndexEntrySize> bytes;
  CodeIndexEntry(FieldWriter(bytes.data()), entry);
  return bytes;
}

std::array<std::byte, 8> EncodePosition(std::uint64_t position) {
  std::array<std::byte, 8> bytes;
  FieldWriter(bytes.data()).Little(position);
  return bytes;
}

FileHeader DecodeFileHeader(std::span<const std::byte, kFileHeaderSize> bytes) {
  FileHeader header;
  CodeFileHeader(FieldReader(bytes.data()), header);
  return header;
}

RecordHeader DecodeRecordHeader(std::span<const std::byte, kRecordHeaderSize> bytes) {
  RecordHeader header;
  CodeRecordHeader(FieldReader(bytes.data()), header);
  return header;
}

IndexEntry DecodeIndexEntry(std::span<const std::byte, kIndexEntrySize> bytes) {
  IndexEntry entry;
  CodeIndexEntry(FieldReader(bytes.data()), entry);
  return entry;
}

}  // namespace FlatFile
