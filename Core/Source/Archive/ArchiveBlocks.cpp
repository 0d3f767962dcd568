#include "Archive/ArchiveBlocks.h"

#include <cstddef>
#include <span>
#include <string_view>

#include "Archive/ArchiveErrors.h"

using FlatFile::EndOfFile;
using FlatFile::kNoPosition;
using FlatFile::kRecordHeaderSize;
using FlatFile::LinkedList;
using FlatFile::RecordHeader;

FileStatus ArchiveBlocks::ReadHeader(std::uint64_t block, RecordHeader& header) {
  std::span<const std::byte> bytes;
  const FileStatus status = file_.ViewAt(block, kRecordHeaderSize, bytes);
  if (status == kStatusOk) header = FlatFile::DecodeRecordHeader(bytes.first<kRecordHeaderSize>());
  if (file_.IsMapped() && block > file_.Mapped().size()) throw EndOfFile();
  return status;
}

FileStatus ArchiveBlocks::WriteHeader(std::uint64_t block, const RecordHeader& header) {
  return file_.WriteAt(block, FlatFile::Encode(header));
}

FileStatus ArchiveBlocks::FindPayload(std::uint64_t block, std::uint64_t& start, std::uint32_t& length) {
  length = 0;
  RecordHeader header;
  const FileStatus status = ReadHeader(block, header);
  if (status != kStatusOk) return status;
  start = block + kRecordHeaderSize;
  const std::uint64_t end = file_.ClampToLength(start + header.dataLength);
  if (end > start) length = static_cast<std::uint32_t>(end - start);
  return length < header.dataLength ? kStatusEndOfFile : kStatusOk;
}

FileStatus ArchiveBlocks::ReadPayload(std::uint64_t block, OxBuffer& out) {
  out.Clear();
  std::uint64_t start = 0;
  std::uint32_t length = 0;
  const FileStatus status = FindPayload(block, start, length);
  if (length == 0) return status;
  out.SetLength(length);
  std::size_t got = 0;
  const FileStatus readStatus =
      file_.ReadAt(start, std::as_writable_bytes(std::span(out.data(), length)), got);
  out.SetLength(got);
  return readStatus != kStatusOk ? readStatus : status;
}

// ---- Lists

FlatFile::LinkTrail::NextOf ArchiveBlocks::LinkReader() {
  return [this](std::uint64_t block) {
    RecordHeader header;
    try {
      return ReadHeader(block, header) == kStatusOk ? header.next : kNoPosition;
    } catch (const EndOfFile&) {
      return kNoPosition;
    }
  };
}

// A link that is in the file and cannot be written is owed.
FileStatus ArchiveBlocks::SetLink(std::uint64_t block, Field link, std::uint64_t position) {
  RecordHeader header;
  FileStatus status = ReadHeader(block, header);
  if (status == kStatusOk) {
    header.*link = position;
    status = WriteHeader(block, header);
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

FileStatus ArchiveBlocks::WriteOrOweHeader(std::uint64_t block, const RecordHeader& header) {
  const FileStatus status = WriteHeader(block, header);
  if (status != kStatusOk) file_.PutOffRepair(block, FlatFile::Encode(header));
  return status;
}

FileStatus ArchiveBlocks::Link(std::uint64_t block, RecordHeader& header, LinkedList& list) {
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

FileStatus ArchiveBlocks::Unlink(RecordHeader& header, LinkedList& list) {
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
