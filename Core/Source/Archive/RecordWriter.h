#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "Archive/ArchiveState.h"
#include "Files/OxFile.h"
#include "Foundation/OxString.h"

/// Stores and deletes records, and the archive's own two tables, in an archive that is open; what OxDataFile says of
/// AddRecord() and DeleteRecord() is done here.
class RecordWriter {
 public:
  /// What is to be stored: bytes in memory or, when there are none, those of a file from its beginning.
  struct Payload {
    std::uint64_t length = 0;            ///< Bytes.
    const void* bytes = nullptr;         ///< As they are to be stored.
    OxFile* source = nullptr;            ///< Its bytes are scrambled if the archive is protected.
    FileStatus* sourceStatus = nullptr;  ///< Receives the status of reading the source.
  };

  /// `archive` is not owned.
  explicit RecordWriter(ArchiveState& archive) : archive_(archive) {}

  /// Throws FlatFile::FileNotOpen, AccessDenied or, for what is too long, FileError; nothing has changed.
  void CheckWritable(const OxString& name, std::uint64_t length) const;
  /// Throws as CheckWritable(), and FileError when it could not be written.
  void Write(const OxString& name, const Payload& payload, FlatFile::DataType type);
  /// Writes the index, which is empty in memory then, and the name table.
  void WriteTables();
  /// Returns the slot of the index entry that was removed. A block that is not in use is left alone. Throws
  /// FlatFile::ReadOnly, and FileError when all that could be done is done; nothing after the search in the index throws.
  std::optional<std::size_t> Delete(std::uint64_t block);

 private:
  struct Placement;

  bool FindPlace(const OxString& name, Placement& place);
  bool RewriteOrDelete(std::uint64_t block, Placement& place);
  FileStatus TakeFreeBlock(Placement& place);
  void PrepareBlock(const OxString& name, Placement& place);
  void WriteBlock(const Payload& payload, Placement& place);
  FileStatus WriteFromMemory(const Payload& payload, const Placement& place);
  FileStatus StreamPayload(const Payload& payload, Placement& place);
  void Publish(const Placement& place);
  void Undo(Placement& place);
  std::optional<std::size_t> RemoveFromIndex(std::uint32_t nameOffset);

  ArchiveState& archive_;
};
