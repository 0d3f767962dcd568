#pragma once

#include <cstddef>
#include <cstdint>

#include "Archive/OxDataFile.h"

/// Stops a walk over the records of an archive that was made to fill a disk or a terminal. In a sound
/// archive no two records share bytes, so all of them together are no longer than it; here a few
/// thousand may each claim the whole file, or one name as long as the file.
///   Allows: what damage may do: 16 MiB, or eight times the archive's length where that is more. And 4,096
///           folders, or half as many as the names have bytes where that is more: names that share no bytes
///           stay below it, since a folder takes two bytes of some name.
class OverlapLimit {
 public:
  /// For an open archive. One whose length cannot be asked, which no archive can bring about, has no
  /// limit: a sound one is never stopped.
  explicit OverlapLimit(OxDataFile& archive);

  /// Counts `bytes` that a record claims, no more than the whole archive. False when it is too much.
  bool Admits(std::uint64_t bytes);

  /// How many folders may still be made; whoever makes some takes them off.
  std::size_t& FoldersLeft() { return foldersLeft_; }

 private:
  std::uint64_t length_;     // Bytes of the archive.
  std::uint64_t bytesLeft_;  // What may still be claimed.
  std::size_t foldersLeft_;
};
