#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <utility>

#include "Files/FileStatus.h"
#include "Foundation/OxString.h"
#include "Posix/FileTypes.h"

/// A positioned byte stream on one regular file.
///   Shape:    closed -> Open() -> open -> Close() -> closed; the destructor closes.
///   Units:    positions and lengths are bytes from the start of the file.
///   Errors:   statuses; only GetPosition() and GetLength() throw. Operations on a closed file give
///             kStatusNotOpen.
///   Position: kept here, not in the system, so moving it costs nothing; the positioned operations
///             neither use nor move it.
///   Length:   while the file is open for writing it is taken to change through this object alone, and
///             is remembered; a file open for reading only is asked each time.
class OxFile {
 public:
  class FileNotOpen {};
  /// Asking for the length failed.
  class FileError {
   public:
    explicit FileError(FileStatus code) : status(code) {}  ///< Never kStatusOk.
    FileStatus status;                                     ///< Why.
  };

  /// Bits of the permission that Open() takes. kExpectNew only changes the cost: with kCreate it saves a system
  /// call where the file is missing, and costs one where it exists; a dangling link then
  /// gives kStatusFileNotFound and not kStatusDuplicateName.
  /// kPrivate: a file that is made is for its owner alone. kNoLink: a link is refused, as what is no file.
  enum Permission : unsigned long {
    kRead = 1,
    kWrite = 2,
    kCreate = 4,
    kExpectNew = 8,
    kPrivate = 16,
    kNoLink = 32
  };

  /// A path as the file system has it, which need not be UTF-8.
  struct NativePath {
    std::string bytes;                     ///< Without a zero byte.
    int folder = Posix::Place::kNoFolder;  ///< The open folder that the path counts from; not owned.
  };

  /// Touches nothing on disk.
  explicit OxFile(const OxString& path) : path_(path.view()) {}
  explicit OxFile(NativePath&& path) : path_(std::move(path.bytes)), folder_(path.folder) {}
  OxFile(const OxFile&) = delete;
  OxFile& operator=(const OxFile&) = delete;
  ~OxFile() { Close(); }

  /// Opens the file for reading, writing or both; never truncates. A missing file is made when
  /// `permission` has kCreate, else the status is kStatusFileNotFound. Anything but a regular file is
  /// refused, and a dangling link is an error; its target is never created. An open file is closed first.
  FileStatus Open(unsigned long permission);
  bool IsOpen() const { return fd_ >= 0; }  ///< Since a successful Open().
  /// Whether the last successful Open() made the file.
  bool WasCreated() const { return created_; }
  /// Closes the file; returns the status of close(), which may be the first to report a failed write.
  FileStatus Close();

  /// Reads up to `count` bytes at the position and moves it; kStatusEndOfFile when fewer were there.
  /// `actual`, unless null, receives the bytes read, also on a failure.
  FileStatus Read(void* buffer, unsigned long count, unsigned long* actual);
  /// Writes all bytes at the position, extending the file, and moves the position past what was
  /// written. A `count` of 0 gives 0 even on a closed file.
  FileStatus Write(const void* buffer, unsigned long count);
  /// Past the end: kStatusEndOfFile, and the position stands at the end.
  FileStatus SetPosition(std::uint64_t position);
  FileStatus GoToEOF();  ///< The position is the length then.
  /// Truncates or extends (with zeros); the position stays, also beyond the new end.
  FileStatus SetEOF(std::uint64_t length);
  /// Throws FileNotOpen.
  std::uint64_t GetPosition() const;
  /// Throws FileNotOpen or FileError.
  std::uint64_t GetLength() const;

  /// Closes the file and removes what the path names: a link itself, never a
  /// folder.
  FileStatus Delete();
  /// Deletes the open file: closes it and removes what the path names if that is
  /// still this file. Where it is not, or cannot be removed, the file is cut to no bytes first. The status is
  /// kStatusOk when the path does not name this file any more.
  FileStatus Discard();
  /// Locks the open file for this process alone, without waiting; kStatusFileBusy when another has locked
  /// it. Where the file system has no locks the file stays unlocked.
  FileStatus Lock() const;
  /// The status of the open file itself.
  FileStatus GetInfo(Posix::FileInfo& info) const;
  int Descriptor() const { return fd_; }  ///< The system's number for the open file, or -1.
  /// True if open, else whether the path names an existing object (links are followed).
  bool Exists() const { return IsOpen() || ExistsAt(Here()); }
  static bool Exists(const OxString& path) { return ExistsAt(path.c_str()); }

  // Positioned operations.

  /// Fills `out` from `position`; `actual` receives the bytes read. kStatusEndOfFile when the file ends
  /// first, for any position.
  FileStatus ReadAt(std::uint64_t position, std::span<std::byte> out, std::size_t& actual) const;
  /// Writes the pieces one behind the other; in one system call unless the system takes only a part.
  FileStatus WriteAt(std::uint64_t position, std::span<const Posix::Piece> pieces);
  /// Posix::FileOps::CopyRange() from this file to `target`: the bytes copied, 0 at the end of this file, or a negative number when they have to be read and written.
  std::int64_t CopyInKernel(std::uint64_t position, OxFile& target, std::uint64_t targetPosition,
                            std::size_t count) const;
  /// The permission bits and the time of the last modification.
  FileStatus CopyAttributesTo(OxFile& target) const;
  /// The smaller of `wanted` and the file's length; the system is asked only when `wanted` lies beyond
  /// the length last seen. 0 on a failure.
  std::uint64_t ClampToLength(std::uint64_t wanted) const;
  /// The length when it was last asked or changed, at the latest when the file was opened.
  std::uint64_t GetLastKnownLength() const { return length_; }

 private:
  static bool ExistsAt(Posix::Place place);
  Posix::Place Here() const { return {folder_, path_.c_str()}; }
  FileStatus OpenExisting(unsigned flags);
  FileStatus OpenNew(unsigned flags);
  void Adopt(int fd);
  FileStatus RefreshLength() const;
  FileStatus WriteAll(std::uint64_t position, std::span<const Posix::Piece> pieces,
                      std::size_t& written);
  FileStatus WriteSome(std::uint64_t position, std::span<const Posix::Piece> pieces,
                       std::size_t& written);

  std::string path_;
  int folder_ = Posix::Place::kNoFolder;
  int fd_ = -1;
  bool writable_ = false;
  bool created_ = false;
  std::uint64_t position_ = 0;
  mutable std::uint64_t length_ = 0;
};
