#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

// What the calls of FileOps take and give.

namespace Posix {

enum class FileKind : std::uint8_t { kRegular, kFolder, kLink, kOther };

/// A path, or a name that counts from an open folder.
struct Place {
  /// A path. Implicit, since that is the usual case.
  Place(const char* where) : path(where) {}  // NOLINT(google-explicit-constructor)
  Place(int in, const char* where)
      : folder(in), path(where) {}  ///< A name that counts from the folder `in`.

  static constexpr int kNoFolder = -1;  ///< Not a descriptor.
  int folder = kNoFolder;  ///< A descriptor; kNoFolder: the path counts from the working directory.
  const char* path;        ///< Zero-terminated. An absolute one goes its own way.
};

/// Bytes of the longest path that the system takes.
constexpr std::size_t kLongestPath = 4095;

/// One buffer of a gathered write; see FileOps::WriteAt().
using Piece = std::span<const std::byte>;

/// What a status query tells of one object.
struct FileInfo {
  FileKind kind = FileKind::kOther;   ///< Of the object that the query reached.
  std::uint64_t size = 0;             ///< Bytes.
  std::uint64_t device = 0;           ///< With `inode`: identifies the object, whatever its name.
  std::uint64_t inode = 0;            ///< With `device`.
  std::uint64_t links = 0;            ///< Number of hard links.
  std::int64_t modified = 0;          ///< Whole seconds since 1970-01-01 UTC, fraction dropped.
  std::int64_t modifiedFraction = 0;  ///< Nanoseconds beyond that, as exact as the file system is.

  /// Whether both describe one object, under whatever names.
  bool IsSameObject(const FileInfo& other) const {
    return device == other.device && inode == other.inode;
  }
};

/// One entry of a folder. `kind` is that of the entry itself (a link is a link).
struct FolderEntry {
  std::string name;                  ///< Bytes as the file system has them.
  FileKind kind = FileKind::kOther;  ///< Of the entry itself.
  /// Of the entry itself; 0 when the listing does not say. For a mount point it is that of the covered
  /// folder, so an equal number has to be confirmed by a status query.
  std::uint64_t inode = 0;
};

}  // namespace Posix
