#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "Posix/FileTypes.h"

namespace Posix {

/// How a file is opened; any of them may be combined.
enum OpenFlags : unsigned {
  kOpenToRead = 1,
  kOpenToWrite = 2,
  kOpenNew = 4,      ///< Create; fails with -EEXIST when the name exists, also as a dangling link.
  kOpenPrivate = 8,  ///< With kOpenNew: kPrivateFilePermissions.
  kOpenNoLink = 16,  ///< Fails with -ELOOP for a link; one on the way to it is followed.
};

/// Permission bits of what is created, before the process's umask takes some away.
constexpr unsigned kFilePermissions = 0666;
constexpr unsigned kPrivateFilePermissions = 0600;
constexpr unsigned kFolderPermissions = 0777;

/// The only door to the disk: one virtual function per system call that the system needs, so that a
/// test can fail any one of them, or choose the order in which a folder lists its entries.
///   Results: 0 or more on success; on failure the negated errno value (-ENOENT, ...). Nothing throws
///            but std::bad_alloc.
///   Paths:   bytes, taken as they stand. The empty path fails with -ENOENT.
///   Calls:   repeated when a signal interrupts them. A short transfer is returned to the caller.
class FileOps {
 public:
  FileOps() = default;
  FileOps(const FileOps&) = delete;
  FileOps& operator=(const FileOps&) = delete;
  virtual ~FileOps() = default;

  /// Opens a file with OpenFlags and returns its descriptor, which is closed on exec. Never blocks, so neither a
  /// FIFO nor a device can hold up the caller, who checks what kind of object was opened.
  virtual int Open(Place place, unsigned flags);
  /// Opens a folder for use as Place::folder. Needs the right to search it, not to read it. `followLink`: whether
  /// the last component of the path may be a link.
  virtual int OpenFolder(Place place, bool followLink);
  /// The descriptor is invalid afterwards, whatever the result; an interrupted close counts as done.
  virtual int Close(int fd);
  /// Reads into `out` and returns the number of bytes, which may be fewer than asked for; 0 at the end of
  /// the file.
  virtual std::int64_t ReadAt(int fd, std::span<std::byte> out, std::uint64_t position);
  /// Writes the pieces one after the other, starting at `position`, in one system call.
  virtual std::int64_t WriteAt(int fd, std::span<const Piece> pieces, std::uint64_t position);
  /// Copies at most `count` bytes from file to file in the kernel and returns how many (0: the end
  /// of the source). -EXDEV, -EINVAL, -ENOSYS or -EOPNOTSUPP: not possible for this pair of files;
  /// read and write instead.
  virtual std::int64_t CopyRange(int from, std::uint64_t fromPosition, int to, std::uint64_t toPosition,
                                 std::size_t count);
  /// Truncates the file, or extends it with zeros.
  virtual int SetLength(int fd, std::uint64_t length);
  /// Locks the open file for this process alone, without waiting; -EWOULDBLOCK when another has locked it.
  /// Closing the file unlocks it.
  virtual int Lock(int fd);
  virtual int SetPermissions(int fd, unsigned permissions);  ///< Less the umask.

  virtual int Status(Place place, FileInfo& info);      ///< Follows links.
  virtual int LinkStatus(Place place, FileInfo& info);  ///< Of the link itself.
  virtual int OpenStatus(int fd, FileInfo& info);       ///< Of an open file.

  /// Maps the first `length` bytes (above 0) read-only and shared; `address` receives the mapping.
  virtual int Map(int fd, std::size_t length, const std::byte*& address);
  virtual int Unmap(const std::byte* address, std::size_t length);  ///< `length` as for Map().

  /// Appends every entry but "." and ".." in the order in which the file system lists them; nothing
  /// is appended on failure.
  virtual int ListFolder(Place place, std::vector<FolderEntry>& entries);
  virtual int MakeFolder(Place place, unsigned permissions);  ///< Less the umask.
  virtual int RemoveFile(Place place);                        ///< unlink(2): never a folder.
  virtual int RemoveFolder(Place place);                      ///< rmdir(2): an empty folder only.
  /// Replaces what `to` names, if anything.
  virtual int Rename(const char* from, const char* to);
  /// Fails with -EEXIST when `to` exists. Where the file system has no such call: a check, then
  /// Rename.
  virtual int RenameWithoutReplacing(const char* from, const char* to);
  /// `target` receives the whole text of a link, however long.
  virtual int ReadLink(Place place, std::string& target);
  virtual int MakeLink(const std::string& target, Place place);  ///< A symbolic link.
  /// `resolved` receives the path of what `path` leads to: absolute, without links, "." and "..".
  virtual int Resolve(const char* path, std::string& resolved);
  /// Copies the permission bits (without set-user-ID, set-group-ID and sticky bits) and the time of the last
  /// modification.
  virtual int CopyAttributes(int from, int to);

  /// The working directory, absolute.
  virtual int CurrentFolder(std::string& path);
  virtual int ChangeFolder(const char* path);  ///< Of the whole process.
};

/// The object in use: the system's own unless a test has replaced it.
FileOps& Files();

/// Replaces what Files() returns for the lifetime of this object.
class ScopedFileOps {
 public:
  /// `ops` is not owned; null: the system's own. Objects may be nested; the inner one ends first.
  explicit ScopedFileOps(FileOps* ops);
  ScopedFileOps(const ScopedFileOps&) = delete;
  ScopedFileOps& operator=(const ScopedFileOps&) = delete;
  ~ScopedFileOps();

 private:
  FileOps* previous_;
};

}  // namespace Posix
