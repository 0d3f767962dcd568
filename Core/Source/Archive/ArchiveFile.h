#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

#include "Archive/FlatFileFormat.h"
#include "Archive/ReadWindow.h"
#include "Files/FileCopier.h"
#include "Files/OxFile.h"
#include "Files/OxMappedFile.h"

/// The bytes of one open archive, in a file or in a read-only mapping of it, with a current position.
///   Errors: statuses; kStatusNotOpen when closed.
///   Write-behind: some writes are put off, so that many records cost one system call. Reads see them. These are
///             - appends, once GatherAppends() was called: they reach the disk together;
///             - the file header, of which only the last of many versions matters;
///             - the end of the used list. A record that is appended is written with its `next` link already
///               pointing at the end of its own block, where the next one will go. As long as none has gone
///               there, the link should read kNoPosition;
///             - repairs: links and headers of blocks that an operation failed to write. It goes on in memory
///               as if it had written them, so the lists there and on disk agree once the disk works again.
///           A write that fails is reported by the operation that triggered it and kept for another try.
class ArchiveFile {
 public:
  /// Looks at a file that has been opened; false refuses it.
  using FileCheck = std::function<bool(OxFile&)>;

  /// For a closed object. `permission` as for OxFile::Open(); `check` may be null.
  FileStatus OpenFile(const OxString& path, unsigned long permission, const FileCheck& check);
  /// For a closed object, and for reading only.
  bool OpenMapped(const OxString& path);
  /// Writes what was put off and closes. Returns the first failure of either; closed in any case.
  FileStatus Close();
  /// Drops what was put off; files only: removes the file as OxFile::Discard() does, and is closed.
  FileStatus Discard();
  bool IsOpen() const { return IsFile() || IsMapped(); }  ///< In either way.
  bool IsFile() const { return file_ != nullptr; }        ///< Open, and not as a mapping.
  bool IsMapped() const { return mapping_ != nullptr; }   ///< Open as a mapping.
  /// The whole mapping; empty unless mapped.
  std::string_view Mapped() const;
  /// Whether opening made the file.
  bool WasCreated() const { return file_ != nullptr && file_->WasCreated(); }
  /// Locks the file unless another process has locked it.
  bool IsLockedElsewhere() const { return file_ != nullptr && file_->Lock() == kStatusFileBusy; }

  std::uint64_t GetPosition() const { return position_; }  ///< 0 when closed.
  /// Past the end: kStatusEndOfFile, and the position stands at the end.
  FileStatus SetPosition(std::uint64_t position);
  FileStatus GoToEOF();                     ///< Files only.
  FileStatus SetEOF(std::uint64_t length);  ///< Files only; the position stays.
  /// The smaller of `wanted` and the number of bytes there are.
  std::uint64_t ClampToLength(std::uint64_t wanted) const;

  // Positioned operations; the position stays.

  /// kStatusEndOfFile when the archive ends first.
  FileStatus ReadAt(std::uint64_t position, std::span<std::byte> out, std::size_t& actual);
  /// The same without a copy, for up to ReadWindow::kLargest bytes; valid until the next call.
  FileStatus ViewAt(std::uint64_t position, std::size_t count, std::span<const std::byte>& bytes) {
    return ViewAt(position, count, bytes, window_);
  }
  /// The same through a window of the caller's, who reads far from all others. Files must not be written to.
  FileStatus ViewAt(std::uint64_t position, std::size_t count, std::span<const std::byte>& bytes,
                    ReadWindow& window);
  /// Writes at most three pieces one after the other, in one system call, unless appends are gathered and
  /// there is room for them; other writes that were put off stay so.
  FileStatus WriteAt(std::uint64_t position, std::span<const Posix::Piece> pieces);
  FileStatus WriteAt(std::uint64_t position, std::span<const std::byte> bytes);
  /// Writes the first `count` bytes of a file, as FileCopier::Copy() does.
  CopyResult CopyFrom(OxFile& source, std::uint64_t count, std::uint64_t position, FileCopier& copier,
                      const FileCopier::Change& change);
  /// Files only: appends `count` bytes from `position` to `target`, as FileCopier::Copy() does.
  CopyResult CopyTo(FilePlace target, std::uint64_t count, std::uint64_t position, FileCopier& copier,
                    const FileCopier::Change& change);

  /// Writes at the position and moves it.
  FileStatus Write(std::span<const std::byte> bytes);

  // Writes that are put off; files only.

  /// From here until closing, appends are gathered.
  void GatherAppends();
  /// In the place of the one before.
  void PutOffFileHeader(const FlatFile::FileHeader& header) { header_ = header; }
  /// `block` is the last of the used list, but on disk its `next` is `written`.
  void PutOffListEnd(std::uint64_t block, std::uint64_t written) { listEnd_ = ListEnd{block, written}; }
  /// Whether the `next` of `block` on disk already is `position`; in that case the put-off end is cancelled.
  bool TakeLink(std::uint64_t block, std::uint64_t position);
  /// `block` is cut off the file's end.
  void ForgetListEnd(std::uint64_t block);
  /// A link or a header that could not be written to its place, which is inside the file. Operations begin by
  /// making repairs, so that few are ever owed.
  void PutOffRepair(std::uint64_t position, std::span<const std::byte> bytes);
  /// Whether something is owed that an operation failed to write.
  bool OwesRepairs() const { return repairCount_ > 0; }
  /// Writes what was put off.
  FileStatus Settle();

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

  void Forget();
  bool Gather(std::span<const Posix::Piece> pieces);
  FileStatus WriteBehindGathered(std::span<const Posix::Piece> pieces);
  FileStatus WriteGathered();
  FileStatus WriteThrough(std::uint64_t position, std::span<const std::byte> bytes);
  FileStatus WritePutOff();
  std::span<Repair> Repairs() { return std::span(repairs_).first(repairCount_); }
  void RemoveRepair(std::size_t index);

  std::unique_ptr<OxFile> file_;
  std::unique_ptr<OxMappedFile> mapping_;
  std::uint64_t position_ = 0;
  ReadWindow window_;
  std::unique_ptr<std::byte[]> appends_;  // Null unless appends are gathered.
  std::size_t gathered_ = 0;              // Bytes in there; they belong at the end of the file.
  std::optional<FlatFile::FileHeader> header_;
  std::optional<ListEnd> listEnd_;
  std::array<Repair, kMostRepairs> repairs_;  // In the order in which they are to be written.
  std::size_t repairCount_ = 0;
};
