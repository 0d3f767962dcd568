#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Archive/ArchiveFile.h"
#include "Archive/ReadWindow.h"
#include "Posix/GrowingMemory.h"

/// The names of an archive, one after the other, each followed by a zero byte. They are in memory where names may be
/// added; otherwise they are read from the file on demand, so that a table takes no more memory than its longest
/// name, whatever its length field says.
///   Units:  offsets and lengths are bytes from the table's first.
///   Errors: At() throws FlatFile::FileError when the file cannot be read. What throws has no effect.
class NameTable {
 public:
  /// An empty table in memory.
  NameTable() = default;
  /// A table in memory.
  explicit NameTable(std::string_view names);

  /// Reads `length` bytes at `start` into memory, or as many as possible; see the status.
  FileStatus Read(ArchiveFile& file, std::uint64_t start, std::uint32_t length);
  /// Leaves them in the file, which must have that many bytes and stay open.
  void ReadAsNeeded(ArchiveFile& file, std::uint64_t start, std::uint32_t length);
  void Clear();  ///< An empty table in memory.

  std::uint32_t Length() const { return static_cast<std::uint32_t>(length_); }  ///< Of all names.
  /// All names; only of a table in memory, until the next change.
  std::string_view view() const { return {names_.data(), length_}; }

  /// The name at an offset, up to the next zero byte or the table's end; nullopt beyond the end and for the two
  /// offsets that mean "no name". Valid until the next call or change.
  std::optional<std::string_view> At(std::uint32_t offset);

  /// Allocates for one more name of `size` bytes, so that adding it does not throw.
  void Reserve(std::size_t size);
  /// Adds a name, and a zero byte, to a table in memory. The caller keeps the table below 4 GiB.
  void Add(std::string_view name);

 private:
  std::string_view View(std::uint32_t offset, std::size_t count);
  std::string_view ReadName(std::uint32_t offset);

  Posix::GrowingMemory names_;  // Unless file_ is set.
  std::size_t length_ = 0;
  ArchiveFile* file_ = nullptr;
  std::uint64_t start_ = 0;
  ReadWindow window_;
  std::string longName_;
};
