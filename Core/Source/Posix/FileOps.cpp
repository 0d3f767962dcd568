#include "Posix/FileOps.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace Posix {

namespace {

static_assert(sizeof(off_t) == sizeof(std::int64_t), "File positions need 64 bits");

// More pieces than these are left to the next call, as in any short transfer.
constexpr std::size_t kMostPieces = 16;

struct FolderCloser {
  void operator()(DIR* folder) const { ::closedir(folder); }
};
using FolderHandle = std::unique_ptr<DIR, FolderCloser>;

template <typename Number>
Number ResultOf(Number returned) {
  return returned < 0 ? static_cast<Number>(-errno) : returned;
}

int NativeFlags(unsigned flags) {
  const bool reads = (flags & kOpenToRead) != 0;
  const bool writes = (flags & kOpenToWrite) != 0;
  const int access = writes ? (reads ? O_RDWR : O_WRONLY) : O_RDONLY;
  const int creation = (flags & kOpenNew) != 0 ? O_CREAT | O_EXCL : 0;
  return access | creation | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
}

bool IsPosition(std::uint64_t number) {
  return std::in_range<off_t>(number);
}

FileKind KindOf(mode_t mode) {
  if (S_ISREG(mode)) return FileKind::kRegular;
  if (S_ISDIR(mode)) return FileKind::kFolder;
  if (S_ISLNK(mode)) return FileKind::kLink;
  return FileKind::kOther;
}

int Inform(int returned, const struct stat& status, FileInfo& info) {
  if (returned < 0) return -errno;
  info.kind = KindOf(status.st_mode);
  info.size = static_cast<std::uint64_t>(status.st_size);
  info.device = status.st_dev;
  info.inode = status.st_ino;
  info.links = status.st_nlink;
  info.modified = status.st_mtim.tv_sec;
  return 0;
}

// Some file systems do not keep an entry's kind beside its name.
FileKind KindOfEntry(DIR* folder, const dirent& entry) {
  if (entry.d_type != DT_UNKNOWN) return KindOf(static_cast<mode_t>(DTTOIF(entry.d_type)));
  struct stat status = {};
  if (::fstatat(::dirfd(folder), entry.d_name, &status, AT_SYMLINK_NOFOLLOW) < 0) {
    return FileKind::kOther;
  }
  return KindOf(status.st_mode);
}

// File systems in user space that number nothing put this in a listing.
constexpr std::uint64_t kNoInode = 0xFFFFFFFF;

std::uint64_t InodeOfEntry(const dirent& entry) {
  return entry.d_ino == kNoInode ? 0 : entry.d_ino;
}

bool IsSelfOrParent(std::string_view name) {
  return name == "." || name == "..";
}

// Calls `read(buffer, size)` with larger and larger buffers until what it writes fits.
template <typename Read>
int ReadGrowing(std::string& out, Read read) {
  for (std::size_t size = 256;; size *= 2) {
    out.resize(size);
    const ssize_t length = read(out.data(), size);
    if (length < 0 && errno != ERANGE) {
      const int error = errno;
      out.clear();
      return -error;
    }
    if (length >= 0 && static_cast<std::size_t>(length) < size) {
      out.resize(static_cast<std::size_t>(length));
      return 0;
    }
  }
}

FileOps* g_replacement = nullptr;

}  // namespace

int FileOps::Open(const char* path, unsigned flags) {
  const unsigned permissions = (flags & kOpenPrivate) != 0 ? kPrivateFilePermissions : kFilePermissions;
  return ResultOf(::open(path, NativeFlags(flags), permissions));
}

int FileOps::Close(int fd) {
  const int result = ResultOf(::close(fd));
  return result == -EINTR ? 0 : result;
}

std::int64_t FileOps::ReadAt(int fd, std::span<std::byte> out, std::uint64_t position) {
  if (!IsPosition(position)) return -EINVAL;
  return ResultOf(::pread(fd, out.data(), out.size(), static_cast<off_t>(position)));
}

std::int64_t FileOps::WriteAt(int fd, std::span<const Piece> pieces, std::uint64_t position) {
  if (!IsPosition(position)) return -EFBIG;
  if (pieces.size() == 1) {
    const Piece piece = pieces.front();
    return ResultOf(::pwrite(fd, piece.data(), piece.size(), static_cast<off_t>(position)));
  }
  std::array<iovec, kMostPieces> native;
  const std::size_t count = std::min(pieces.size(), native.size());
  std::transform(pieces.begin(), pieces.begin() + static_cast<std::ptrdiff_t>(count), native.begin(),
                 [](Piece piece) {
                   return iovec{const_cast<std::byte*>(piece.data()), piece.size()};
                 });
  return ResultOf(::pwritev(fd, native.data(), static_cast<int>(count), static_cast<off_t>(position)));
}

std::int64_t FileOps::CopyRange(int from, std::uint64_t fromPosition, int to, std::uint64_t toPosition,
                                std::size_t count) {
  if (!IsPosition(fromPosition) || !IsPosition(toPosition)) return -EFBIG;
  auto source = static_cast<off64_t>(fromPosition);
  auto target = static_cast<off64_t>(toPosition);
  return ResultOf(::copy_file_range(from, &source, to, &target, count, 0));
}

int FileOps::SetLength(int fd, std::uint64_t length) {
  if (!IsPosition(length)) return -EFBIG;
  return ResultOf(::ftruncate(fd, static_cast<off_t>(length)));
}

int FileOps::Lock(int fd) {
  return ResultOf(::flock(fd, LOCK_EX | LOCK_NB));
}

// The umask can only be read by setting it.
int FileOps::SetPermissions(int fd, unsigned permissions) {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return ResultOf(::fchmod(fd, permissions & ~mask));
}

int FileOps::Status(const char* path, FileInfo& info) {
  struct stat status = {};
  return Inform(::stat(path, &status), status, info);
}

int FileOps::LinkStatus(const char* path, FileInfo& info) {
  struct stat status = {};
  return Inform(::lstat(path, &status), status, info);
}

int FileOps::OpenStatus(int fd, FileInfo& info) {
  struct stat status = {};
  return Inform(::fstat(fd, &status), status, info);
}

int FileOps::Map(int fd, std::size_t length, const std::byte*& address) {
  void* const mapping = ::mmap(nullptr, length, PROT_READ, MAP_SHARED, fd, 0);
  if (mapping == MAP_FAILED) return -errno;
  address = static_cast<const std::byte*>(mapping);
  return 0;
}

int FileOps::Unmap(const std::byte* address, std::size_t length) {
  return ResultOf(::munmap(const_cast<std::byte*>(address), length));
}

int FileOps::ListFolder(const char* path, std::vector<FolderEntry>& entries) {
  const FolderHandle folder(::opendir(path));
  if (!folder) return -errno;
  const std::size_t before = entries.size();
  errno = 0;
  while (const dirent* entry = ::readdir(folder.get())) {
    if (!IsSelfOrParent(entry->d_name)) {
      entries.push_back({entry->d_name, KindOfEntry(folder.get(), *entry), InodeOfEntry(*entry)});
    }
    errno = 0;
  }
  const int error = errno;
  if (error != 0) entries.resize(before);
  return -error;
}

int FileOps::MakeFolder(const char* path, unsigned permissions) {
  return ResultOf(::mkdir(path, permissions));
}

int FileOps::RemoveFile(const char* path) {
  return ResultOf(::unlink(path));
}

int FileOps::RemoveFolder(const char* path) {
  return ResultOf(::rmdir(path));
}

int FileOps::Rename(const char* from, const char* to) {
  return ResultOf(::rename(from, to));
}

int FileOps::RenameWithoutReplacing(const char* from, const char* to) {
  const int result = ResultOf(::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE));
  if (result != -EINVAL && result != -ENOSYS) return result;
  FileInfo target;
  const int status = FileOps::LinkStatus(to, target);
  if (status == 0) return -EEXIST;
  return status == -ENOENT ? FileOps::Rename(from, to) : status;
}

int FileOps::ReadLink(const char* path, std::string& target) {
  return ReadGrowing(target,
                     [path](char* buffer, std::size_t size) { return ::readlink(path, buffer, size); });
}

int FileOps::MakeLink(const std::string& target, const char* path) {
  return ResultOf(::symlink(target.c_str(), path));
}

int FileOps::CopyAttributes(int from, int to) {
  struct stat status = {};
  if (::fstat(from, &status) < 0) return -errno;
  if (::fchmod(to, status.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO)) < 0) return -errno;
  const timespec accessedThenModified[2] = {{.tv_sec = 0, .tv_nsec = UTIME_OMIT}, status.st_mtim};
  return ResultOf(::futimens(to, accessedThenModified));
}

int FileOps::CurrentFolder(std::string& path) {
  return ReadGrowing(path, [](char* buffer, std::size_t size) -> ssize_t {
    if (::getcwd(buffer, size) == nullptr) return -1;
    return static_cast<ssize_t>(std::char_traits<char>::length(buffer));
  });
}

int FileOps::ChangeFolder(const char* path) {
  return ResultOf(::chdir(path));
}

FileOps& Files() {
  static FileOps system;
  return g_replacement != nullptr ? *g_replacement : system;
}

ScopedFileOps::ScopedFileOps(FileOps* ops) : previous_(std::exchange(g_replacement, ops)) {}

ScopedFileOps::~ScopedFileOps() {
  g_replacement = previous_;
}

}  // namespace Posix
