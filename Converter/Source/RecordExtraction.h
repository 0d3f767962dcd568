#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Archive/OxDataFile.h"
#include "Files/OpenFolders.h"
#include "Foundation/OxPath.h"
#include "OverlapLimit.h"
#include "Posix/FileOps.h"

/// Whether extraction makes a file of a record: it has a name, which is not that of the metadata and has no
/// ".." component.
bool IsExtractable(const OxDataFile::Record& record);

/// The bundle that records are extracted into.
struct TargetBundle {
  OxPath path;                          ///< As messages name it.
  int above = Posix::Place::kNoFolder;  ///< The open folder that it lies in; none: the path says.
  std::optional<Posix::FileInfo>
      emptied{};  ///< The folder that is there, empty; none: it is to be made.
};

/// Writes records as files below the contents folder of one bundle, which is taken to be new: a file that is
/// found there was written by a record before.
///   Stays in: no record is written outside that folder, whatever is renamed or replaced meanwhile. The
///             bundle is made when the first record needs it, and refused if somebody else has made it until
///             then. From there on each folder is made and opened in the one above it, links are neither
///             entered nor written through, and a file of more than one name is not written over.
///   Names:    a "." component that another one follows is dropped, as "a/./b" is "a/b". A path that is too
///             long for the system, as a whole, is refused although its folders could be made.
class RecordExtraction {
 public:
  /// What became of a record; a failure has printed its line.
  enum class Outcome : std::uint8_t { kDone, kFailed, kTooManyFolders };

  /// `limit` counts the folders; it and the open folder of `target` outlive this object.
  RecordExtraction(const TargetBundle& target, OverlapLimit& limit, bool verbose);

  /// Writes one record; when `verbose`, a line says so. kFailed, after a line on standard error, when its
  /// folder cannot be made or the file not be written; kTooManyFolders, without one, when it would take more
  /// folders than the limit allows. A record that is passed over is not a failure: one that is not
  /// extractable, or one whose name is too long or that of a folder.
  Outcome Extract(const OxDataFile::Record& record);
  /// Whether every record that was written had all its bytes in the archive.
  bool WasComplete() const { return complete_; }

 private:
  // How the way to a record's folder ended: there, at a file, or with an outcome.
  enum class Way : std::uint8_t { kThere, kAtAFile, kBarred, kTooManyFolders, kNoHandles };

  void SetPath(std::string_view name);
  Way GoTo(std::string_view folder);
  static Way WayOf(int result);
  Way MakeBundle();
  Way GoAbove(OpenFolders& above, const std::string& folder);
  bool IsNewBundle(bool isMade) const;
  Way Descend(std::string_view names);
  Way Enter(std::string_view name, std::size_t left);
  Outcome WriteFile(const OxDataFile::Record& record, std::string_view name);
  FileStatus Open(OxFile& target);
  bool WriteRecord(const OxDataFile::Record& record, OxFile& target);
  void ReportTruncation(const OxDataFile::Record& record, FileStatus status);

  TargetBundle target_;
  OverlapLimit& limit_;
  bool verbose_;
  bool complete_ = true;
  OpenFolders way_{OpenFolders::Links::kRefuse};  // From the bundle to the last record's folder.
  std::string path_;            // Of the record's file; begins with that of the contents.
  std::size_t bundleLength_;    // Of the bundle's path, with the "/".
  std::size_t contentsLength_;  // Of the contents' path, with the "/".
  std::string lastFolder_;      // Where the way leads, as a path.
  std::string folderName_;      // Of the folder to be entered.
};
