#pragma once

#include <cstdint>

#include "Archive/ArchiveFile.h"
#include "Archive/FlatFileFormat.h"
#include "Archive/LinkTrail.h"
#include "Foundation/OxBuffer.h"

/// The blocks in the bytes of an archive: each has a header, a payload and its place in one of two linked lists. A
/// block is known by its position.
///   Errors: statuses, those of ArchiveFile; in a mapping a block past its end throws FlatFile::EndOfFile.
class ArchiveBlocks {
 public:
  /// `file` is not owned.
  explicit ArchiveBlocks(ArchiveFile& file) : file_(file) {}

  /// kStatusEndOfFile when the file ends inside the header.
  FileStatus ReadHeader(std::uint64_t block, FlatFile::RecordHeader& header);
  /// Writes it at the block's position.
  FileStatus WriteHeader(std::uint64_t block, const FlatFile::RecordHeader& header);
  /// The same; a header that cannot be written is owed as ArchiveFile::PutOffRepair() says.
  FileStatus WriteOrOweHeader(std::uint64_t block, const FlatFile::RecordHeader& header);

  /// Where the payload is, as far as the file has it: `start` and, 0 without a header, `length`. kStatusEndOfFile when
  /// that is not the whole.
  FileStatus FindPayload(std::uint64_t block, std::uint64_t& start, std::uint32_t& length);
  /// Reads the payload, as it is stored, as far as the file has it; `out` is empty when there is no header.
  FileStatus ReadPayload(std::uint64_t block, OxBuffer& out);

  /// Gives the `next` of a block; kNoPosition when it cannot be read.
  FlatFile::LinkTrail::NextOf LinkReader();
  /// Makes the block the last one of the list; `header` becomes what has to be written for it.
  FileStatus Link(std::uint64_t block, FlatFile::RecordHeader& header, FlatFile::LinkedList& list);
  /// Takes the block with that header out of the list. Both neighbours are tried; the first failure is the result.
  FileStatus Unlink(FlatFile::RecordHeader& header, FlatFile::LinkedList& list);

 private:
  using Field = std::uint64_t FlatFile::RecordHeader::*;

  FileStatus SetLink(std::uint64_t block, Field link, std::uint64_t position);

  ArchiveFile& file_;
};
