#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "Storage/FlatFileFormat.h"
#include "Storage/OxFile.h"

/// The small writes that an archive owes its file. Two are put off so that adding records one after the
/// other costs one system call each:
///   - the file header, of which only the last of many versions matters;
///   - the end of the used list. A record that is appended is written with its `next` link already
///     pointing at the end of its own block, where the next one will go. As long as none has gone there,
///     the link should read kNoPosition.
/// The others are repairs: links and headers of blocks that an operation failed to write. It goes on in
/// memory as if it had written them, so the lists there and on disk agree once the disk works again.
/// Whoever reads the file, or writes to it anywhere else, calls WriteTo() first; then the file holds what
/// it would without this class.
class PutOffWrites {
 public:
  /// Whether nothing is owed.
  bool Empty() const { return !header_ && !listEnd_ && !OwesRepairs(); }
  /// Whether something is owed that an operation failed to write.
  bool OwesRepairs() const { return repairCount_ > 0; }

  /// In the place of the one before.
  void PutOffFileHeader(const FlatFile::FileHeader& header) { header_ = header; }
  /// `block` is the last of the used list, but on disk its `next` is `written`.
  void PutOffListEnd(std::uint64_t block, std::uint64_t written) { listEnd_ = ListEnd{block, written}; }
  /// Whether the `next` of `block` on disk already is `position`; then it is meant now and owed no more.
  bool TakeLink(std::uint64_t block, std::uint64_t position);
  /// `block` is cut off the file's end.
  void ForgetListEnd(std::uint64_t block);
  /// A link or a header that could not be written to its place, which is inside the file. Operations begin by
  /// making repairs, so that few are ever owed.
  void PutOffRepair(std::uint64_t position, std::span<const std::byte> bytes);
  /// For an archive that is given up.
  void Forget();

  /// What could not be written is kept, for another try.
  FileStatus WriteTo(OxFile& file);

 private:
  struct ListEnd {
    std::uint64_t block = 0;
    std::uint64_t written = 0;
  };

  // Of at most a block's header.
  struct Repair {
    std::uint64_t position = 0;
    std::size_t size = 0;
    std::array<std::byte, FlatFile::kRecordHeaderSize> bytes{};
  };

  // A deletion writes four places, and the end of the list may be owed as well.
  static constexpr std::size_t kMostRepairs = 8;

  std::span<Repair> Repairs() { return std::span(repairs_).first(repairCount_); }
  void RemoveRepair(std::size_t index);

  std::optional<FlatFile::FileHeader> header_;
  std::optional<ListEnd> listEnd_;
  std::array<Repair, kMostRepairs> repairs_;  // In the order in which they are to be written.
  std::size_t repairCount_ = 0;
};
