#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "Storage/FlatFileFormat.h"
#include "Storage/OxFile.h"
#include "Storage/OxMappedFile.h"
#include "Storage/PutOffWrites.h"
#include "Storage/ReadWindow.h"

/// The bytes of one open archive, in a file or in a read-only mapping of it, with a current position.
/// Reads see every write that was put off.
///   Errors: statuses; kStatusNotOpen when closed.
class ArchiveFile {
 public:
  /// For a closed object. `permission` as for OxFile::Open().
  FileStatus OpenFile(const OxString& path, unsigned long permission);
  /// For a closed object, and for reading only.
  bool OpenMapped(const OxString& path);
  /// Writes what was put off and closes. The first failure of either; closed in any case.
  FileStatus Close();
  bool IsOpen() const { return file_ != nullptr || mapping_ != nullptr; }  ///< In either way.
  /// The mapping, or null.
  const OxMappedFile* Mapping() const { return mapping_.get(); }
  /// The file, or null. Positioned reads of it need Settle() first.
  OxFile* File() { return file_.get(); }

  /// 0 when closed.
  std::uint64_t GetPosition() const;
  /// Past the end: kStatusEndOfFile, and the position stands at the end.
  FileStatus SetPosition(std::uint64_t position);
  FileStatus GoToEOF();                     ///< Files only.
  FileStatus SetEOF(std::uint64_t length);  ///< Files only.
  void GatherAppends();                     ///< OxFile::GatherAppends(); files only.
  /// The smaller of `wanted` and the number of bytes there are.
  std::uint64_t ClampToLength(std::uint64_t wanted) const;

  /// Copies from `position`; kStatusEndOfFile when the archive ends first. The position stays.
  FileStatus ReadAt(std::uint64_t position, std::span<std::byte> out, std::size_t& actual);
  /// The same without a copy, for up to ReadWindow::kLargest bytes; valid until the next call.
  FileStatus ViewAt(std::uint64_t position, std::size_t count, std::span<const std::byte>& bytes);
  /// Writes the pieces in one system call; what was put off stays so. The position stays.
  FileStatus WriteAt(std::uint64_t position, std::span<const Posix::Piece> pieces);
  FileStatus WriteAt(std::uint64_t position, std::span<const std::byte> bytes);

  /// Writes at the position and moves it.
  FileStatus Write(std::span<const std::byte> bytes);

  /// The writes that are owed.
  PutOffWrites& PutOff() { return putOff_; }
  /// Writes what was put off.
  FileStatus Settle();

 private:
  std::unique_ptr<OxFile> file_;
  std::unique_ptr<OxMappedFile> mapping_;
  std::uint64_t mappedPosition_ = 0;
  PutOffWrites putOff_;
  ReadWindow window_;
};
