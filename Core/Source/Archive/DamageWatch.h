#pragma once

#include <cstdint>

#include "Archive/OxDataFile.h"

/// The name table of an archive, as far as it is in the file.
struct NameTableExtent {
  /// kMissing: there is no such block, or only the empty one that the archive engine leaves where it reused a
  /// block; no record has a name then. kCutOff: the file ends inside the table or before it.
  enum State : std::uint8_t { kMissing, kWhole, kCutOff };

  State state = kMissing;   ///< State of the table.
  std::uint64_t bytes = 0;  ///< Bytes of names that are in the file.
};

/// Examines an archive that is open with OxDataFile::kOpenRead.
NameTableExtent FindNameTable(OxDataFile& archive);

/// The length of the archive's file; the greatest number when it cannot be determined.
std::uint64_t LengthOfFile(OxDataFile& archive);

/// Finds out whether an archive is damaged, during a walk over its records that the caller makes anyway:
///
///     DamageWatch watch(archive);
///     for (auto record = archive.Begin(); record != archive.End(); ++record) watch.See(*record);
///     if (watch.FoundDamage()) ...
///
///   Damage: the list of records leads to a block or a name that cannot be loaded, has a cycle, or does not
///           contain its last record; the file ends inside the name table; a record without a name has data,
///           which cannot be read; or the archive was never closed. Every archive that was closed passes,
///           however it was edited, unless the engine overwrote a record or lost a name. recordCount is
///           not examined, since it may be lower than the number of records.
///   Names:  in an archive without a name table all records are nameless, which is not damage; see HasNoNames().
class DamageWatch {
 public:
  /// Before the walk; `archive` is open with OxDataFile::kOpenRead and outlives this object.
  explicit DamageWatch(OxDataFile& archive);

  /// Each record, in the order of the walk.
  void See(const OxDataFile::Record& record);

  // After the walk.

  /// Whether some record or name cannot be read. May read one block.
  bool FoundDamage() const;
  /// Whether there are records, but no name table.
  bool HasNoNames() const { return sawRecord_ && names_.state == NameTableExtent::kMissing; }

 private:
  bool HasLostItsName(const OxDataFile::Record& record) const;
  bool MissedTheTail() const;
  bool WasNeverClosed() const;

  OxDataFile& archive_;
  FlatFile::FileHeader header_;
  bool isReadable_;
  NameTableExtent names_;
  std::uint64_t next_;  // Where the walk goes on.
  bool sawRecord_ = false;
  bool sawTail_ = false;
  bool lostName_ = false;
};
