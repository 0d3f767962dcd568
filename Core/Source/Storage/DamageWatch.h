#pragma once

#include <cstdint>

#include "Storage/OxDataFile.h"

/// The name table of an archive, as far as the file has it.
struct NameTableExtent {
  /// kMissing: there is no such block, or only the empty one that the archive engine leaves where it reused a
  /// block; then no record has a name. kCutOff: the file ends inside the table or before it.
  enum State : std::uint8_t { kMissing, kWhole, kCutOff };

  State state = kMissing;   ///< Of the table.
  std::uint64_t bytes = 0;  ///< Of names that the file has.
};

/// For an archive that is open with OxDataFile::kOpenRead.
NameTableExtent FindNameTable(OxDataFile& archive);

/// The bytes of the archive's file; the greatest number when the system cannot tell.
std::uint64_t LengthOfFile(OxDataFile& archive);

/// Finds out whether an archive is damaged, beside a walk over its records that the caller makes anyway:
///
///     DamageWatch watch(archive);
///     for (auto record = archive.Begin(); record != archive.End(); ++record) watch.See(*record);
///     if (watch.FoundDamage()) ...
///
///   Damage: the list of records leads to a block or a name that cannot be loaded, goes in a circle, or
///           misses its last record; the file ends inside the name table; a record without a name has data,
///           which nobody can get at; or the archive was never closed. Every archive that was closed passes,
///           however it was edited, unless its engine overwrote a record or lost a name. Counts are not
///           looked at, since they may be lower than the number of records.
///   Names:  an archive without a name table is a case of its own: all its records are nameless, which is
///           not damage. See HasNoNames().
class DamageWatch {
 public:
  /// Before the walk; `archive` is open with OxDataFile::kOpenRead and outlives this object.
  explicit DamageWatch(OxDataFile& archive);

  /// Each record, in the order of the walk.
  void See(const OxDataFile::Record& record);

  // After the walk.

  /// Whether some record or name cannot be read; may read one block.
  bool FoundDamage() const;
  /// There are records, but no name table.
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
