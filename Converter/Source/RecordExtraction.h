#pragma once

#include <string>
#include <unordered_set>

#include "Foundation/OxPath.h"
#include "Storage/OxDataFile.h"

/// Writes records as files below one folder, which is taken to be new: a file that is found there was
/// written by a record before.
///   Stays in: no record is written outside that folder.
class RecordExtraction {
 public:
  /// `contents` is the folder; it need not exist.
  RecordExtraction(const OxPath& contents, bool verbose) : contents_(contents), verbose_(verbose) {}

  /// Writes one record; when `verbose`, a line says so. False, after a line on standard error, when its
  /// folder cannot be made or the file not be written. A record that is passed over is no failure.
  bool Extract(const OxDataFile::Record& record);
  /// Whether every record that was written had all its bytes in the archive.
  bool WasComplete() const { return complete_; }

 private:
  bool MakeFolder(const OxString& folder);
  bool WriteRecord(const OxDataFile::Record& record, OxFile& target);
  void ReportTruncation(const OxDataFile::Record& record, FileStatus status);

  OxPath contents_;
  bool verbose_;
  bool complete_ = true;
  std::unordered_set<std::string> folders_;  // Those that are known to exist.
  std::string lastFolder_;
};
