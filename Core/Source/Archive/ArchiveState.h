#pragma once

#include <cstdint>

#include "Archive/ArchiveBlocks.h"
#include "Archive/ArchiveFile.h"
#include "Archive/FlatFileFormat.h"
#include "Archive/NameTable.h"
#include "Archive/RecordIndex.h"
#include "Files/FileCopier.h"

/// What an OxDataFile holds while it is open, shared with those who do its work.
class ArchiveState {
 public:
  ArchiveState() = default;
  ArchiveState(const ArchiveState&) = delete;
  ArchiveState& operator=(const ArchiveState&) = delete;

  ArchiveFile file;             ///< The bytes.
  ArchiveBlocks blocks{file};   ///< The blocks in them.
  FlatFile::FileHeader header;  ///< Valid while the archive is open; newer than the one on disk.
  NameTable names;              ///< Of the records.
  FileCopier copier;            ///< Its buffer serves every copy.
  bool isOpen = false;          ///< Since a successful Open().
  bool isWritable = false;      ///< Opened for writing.
  bool isLoaded = false;        ///< Closing writes index and names.
  bool namesAreNew = false;     ///< Nobody looks whether a name is there already.
  std::uint64_t change = 0;     ///< Counts the operations that may have changed the lists.

  /// Whether payloads are scrambled; false while the archive is not open.
  bool IsProtected() const { return isOpen && (header.flags & FlatFile::kProtected) != 0; }
  /// The index, which is read when it is first needed.
  RecordIndex& Index();
  void ClearIndex();  ///< An empty one, which counts as read.
  /// Reads the names, and the index if the archive is writable, as far as they can be read.
  void LoadIndexAndNames();
  /// Closes the file, with what was put off written; everything is as before opening.
  FileStatus Reset();

 private:
  void ReadIndex();
  void ReadNameTable();

  RecordIndex index_;
  bool indexIsRead_ = true;
};
