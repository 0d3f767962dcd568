#pragma once

#include <cstdint>
#include <optional>

#include "Storage/FlatFileFormat.h"
#include "Storage/OxFile.h"

/// The small writes that an archive owes its file, so that adding records one after the other costs one
/// system call each. There are two of them:
///   - the file header, of which only the last of many versions matters;
///   - the end of the used list. A record that is appended is written with its `next` link already
///     pointing at the end of its own block, where the next one will go. As long as none has gone there,
///     the link should read kNoPosition.
/// Whoever reads the file, or writes to it anywhere else, calls WriteTo() first; then the file holds what
/// it would without this class.
class PutOffWrites {
 public:
  bool Empty() const { return !header_ && !listEnd_; }  ///< Whether nothing is owed.

  /// In the place of the one before.
  void PutOffFileHeader(const FlatFile::FileHeader& header) { header_ = header; }
  /// `block` is the last of the used list, but on disk its `next` is `written`.
  void PutOffListEnd(std::uint64_t block, std::uint64_t written) { listEnd_ = ListEnd{block, written}; }
  /// Whether the `next` of `block` on disk already is `position`; then it is meant now and owed no more.
  bool TakeLink(std::uint64_t block, std::uint64_t position);
  /// For an archive that is given up.
  void Forget();

  /// What could not be written is kept, for another try.
  FileStatus WriteTo(OxFile& file);

 private:
  struct ListEnd {
    std::uint64_t block = 0;
    std::uint64_t written = 0;
  };

  std::optional<FlatFile::FileHeader> header_;
  std::optional<ListEnd> listEnd_;
};
