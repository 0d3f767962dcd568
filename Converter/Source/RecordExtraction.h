#pragma once

#include <set>
#include <string>

#include "Foundation/OxPath.h"
#include "OverlapLimit.h"
#include "Storage/OxDataFile.h"

/// Whether extraction makes a file of a record: it has a name, which is not that of the metadata and has no
/// ".." component.
bool IsExtractable(const OxDataFile::Record& record);

/// Writes records as files below one folder, which is taken to be new: a file that is found there was
/// written by a record before.
///   Stays in: no record is written outside that folder.
///   Names:    a "." component that another one follows is dropped, as "a/./b" is "a/b".
class RecordExtraction {
 public:
  /// What became of a record; a failure has printed its line.
  enum class Outcome : std::uint8_t { kDone, kFailed, kTooManyFolders };

  /// `contents` is the folder; it need not exist. `limit` counts the folders and outlives this object.
  RecordExtraction(const OxPath& contents, OverlapLimit& limit, bool verbose)
      : contents_(contents), limit_(limit), verbose_(verbose) {}

  /// Writes one record; when `verbose`, a line says so. kFailed, after a line on standard error, when its
  /// folder cannot be made or the file not be written; kTooManyFolders, without one, when it would take more
  /// folders than the limit allows. A record that is passed over is not a failure: one that is not
  /// extractable, or one whose name is too long or that of a folder.
  Outcome Extract(const OxDataFile::Record& record);
  /// Whether every record that was written had all its bytes in the archive.
  bool WasComplete() const { return complete_; }

 private:
  Outcome MakeFolder(const OxString& folder);
  bool WriteRecord(const OxDataFile::Record& record, OxFile& target);
  void ReportTruncation(const OxDataFile::Record& record, FileStatus status);

  OxPath contents_;
  OverlapLimit& limit_;
  bool verbose_;
  bool complete_ = true;
  std::set<std::string> folders_;  // Those that are known to exist; names from outside are not hashed.
  std::string lastFolder_;
};
