#include "Posix/FileOps.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
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

#include "Posix/ResultOf.h"

namespace Posix {

namespace {

static_assert(kLongestPath + 1 == PATH_MAX, "The zero counts");
static_assert(sizeof(off_t) == sizeof(std::int64_t), "File positions need 64 bits");

// Pieces beyond this number are left to the next call, as in any short transfer.
constexpr std::size_t kMostPieces = 16;

struct FolderCloser {
  void operator()(DIR* folder) const { ::closedir(folder); }
};
using FolderHandle = std::unique_ptr<DIR, FolderCloser>;

static_assert(Place::kNoFolder < 0 && AT_FDCWD < 0, "No descriptor");

int FolderOf(Place place) {
  return place.folder == Place::kNoFolder ? AT_FDCWD : place.folder;
}

int NativeFlags(unsigned flags) {
  const bool reads = (flags & kOpenToRead) != 0;
  const bool writes = (flags & kOpenToWrite) != 0;
  const int access = writes ? (reads ? O_RDWR : O_WRONLY) : O_RDONLY;
  const int creation = (flags & kOpenNew) != 0 ? O_CREAT | O_EXCL : 0;
  const int links = (flags & kOpenNoLink) != 0 ? O_NOFOLLOW : 0;
  return access | creation | links | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
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

// Calls `query` with a status to fill.
template <typename Query>
int Inform(FileInfo& info, Query query) {
  struct stat status = {};
  const int result = ResultOf([&] { return query(&status); });
  if (result < 0) return result;
  info.kind = KindOf(status.st_mode);
  info.size = static_cast<std::uint64_t>(status.st_size);
  info.device = status.st_dev;
  info.inode = status.st_ino;
  info.links = status.st_nlink;
  info.modified = status.st_mtim.tv_sec;
  info.modifiedFraction = status.st_mtim.tv_nsec;
  return 0;
}

// Some file systems do not keep the kind of an entry in the folder.
FileKind KindOfEntry(DIR* folder, const dirent& entry) {
  if (entry.d_type != DT_UNKNOWN) return KindOf(static_cast<mode_t>(DTTOIF(entry.d_type)));
  struct stat status = {};
  if (::fstatat(::dirfd(folder), entry.d_name, &status, AT_SYMLINK_NOFOLLOW) < 0) {
    return FileKind::kOther;
  }
  return KindOf(status.st_mode);
}

// File systems in user space that do not number their files list this number.
constexpr std::uint64_t kNoInode = 0xFFFFFFFF;

std::uint64_t InodeOfEntry(const dirent& entry) {
  return entry.d_ino == kNoInode ? 0 : entry.d_ino;
}

bool IsSelfOrParent(std::string_view name) {
  return name == "." || name == "..";
}

int OpenToList(Place place, FolderHandle& folder) {
  constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK;
  const int fd = ::openat(FolderOf(place), place.path, kFlags);
  if (fd < 0) return -errno;
  folder.reset(::fdopendir(fd));
  if (folder) return 0;
  const int error = errno;
  ::close(fd);
  return -error;
}

int ListOnce(Place place, std::vector<FolderEntry>& entries) {
  FolderHandle folder;
  const int opened = OpenToList(place, folder);
  if (opened < 0) return opened;
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

// Calls `read(buffer, size)` with larger and larger buffers until the result fits.
template <typename Read>
int ReadGrowing(std::string& out, Read read) {
  for (std::size_t size = 256;; size *= 2) {
    out.resize(size);
    const ssize_t length = ResultOf([&] { return read(out.data(), size); });
    if (length < 0 && length != -ERANGE) {
      out.clear();
      return static_cast<int>(length);
    }
    if (length >= 0 && static_cast<std::size_t>(length) < size) {
      out.resize(static_cast<std::size_t>(length));
      return 0;
    }
  }
}

FileOps* g_replacement = nullptr;

}  // namespace

int FileOps::Open(Place place, unsigned flags) {
  const unsigned permissions = (flags & kOpenPrivate) != 0 ? kPrivateFilePermissions : kFilePermissions;
  return ResultOf(
      [&] { return ::openat(FolderOf(place), place.path, NativeFlags(flags), permissions); });
}

int FileOps::OpenFolder(Place place, bool followLink) {
  const int flags = O_PATH | O_DIRECTORY | O_CLOEXEC | (followLink ? 0 : O_NOFOLLOW);
  return ResultOf([&] { return ::openat(FolderOf(place), place.path, flags); });
}

int FileOps::Close(int fd) {
  return ::close(fd) < 0 && errno != EINTR ? -errno : 0;
}

std::int64_t FileOps::ReadAt(int fd, std::span<std::byte> out, std::uint64_t position) {
  if (!IsPosition(position)) return -EINVAL;
  return ResultOf([&] { return ::pread(fd, out.data(), out.size(), static_cast<off_t>(position)); });
}

std::int64_t FileOps::WriteAt(int fd, std::span<const Piece> pieces, std::uint64_t position) {
  if (!IsPosition(position)) return -EFBIG;
  if (pieces.size() == 1) {
    const Piece piece = pieces.front();
    return ResultOf(
        [&] { return ::pwrite(fd, piece.data(), piece.size(), static_cast<off_t>(position)); });
  }
  std::array<iovec, kMostPieces> native;
  const std::size_t count = std::min(pieces.size(), native.size());
  std::transform(pieces.begin(), pieces.begin() + static_cast<std::ptrdiff_t>(count), native.begin(),
                 [](Piece piece) {
                   return iovec{const_cast<std::byte*>(piece.data()), piece.size()};
                 });
  return ResultOf([&] {
    return ::pwritev(fd, native.data(), static_cast<int>(count), static_cast<off_t>(position));
  });
}

std::int64_t FileOps::CopyRange(int from, std::uint64_t fromPosition, int to, std::uint64_t toPosition,
                                std::size_t count) {
  if (!IsPosition(fromPosition) || !IsPosition(toPosition)) return -EFBIG;
  auto source = static_cast<off64_t>(fromPosition);
  auto target = static_cast<off64_t>(toPosition);
  return ResultOf([&] { return ::copy_file_range(from, &source, to, &target, count, 0); });
}

int FileOps::SetLength(int fd, std::uint64_t length) {
  if (!IsPosition(length)) return -EFBIG;
  return ResultOf([&] { return ::ftruncate(fd, static_cast<off_t>(length)); });
}

int FileOps::Lock(int fd) {
  return ResultOf([&] { return ::flock(fd, LOCK_EX | LOCK_NB); });
}

// The umask can only be read by setting it.
int FileOps::SetPermissions(int fd, unsigned permissions) {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return ResultOf([&] { return ::fchmod(fd, permissions & ~mask); });
}

int FileOps::Status(Place place, FileInfo& info) {
  return Inform(info, [&](struct stat* out) { return ::fstatat(FolderOf(place), place.path, out, 0); });
}

int FileOps::LinkStatus(Place place, FileInfo& info) {
  return Inform(info, [&](struct stat* out) {
    return ::fstatat(FolderOf(place), place.path, out, AT_SYMLINK_NOFOLLOW);
  });
}

int FileOps::OpenStatus(int fd, FileInfo& info) {
  return Inform(info, [&](struct stat* out) { return ::fstat(fd, out); });
}

int FileOps::Map(int fd, std::size_t length, const std::byte*& address) {
  void* const mapping = ::mmap(nullptr, length, PROT_READ, MAP_SHARED, fd, 0);
  if (mapping == MAP_FAILED) return -errno;
  address = static_cast<const std::byte*>(mapping);
  return 0;
}

int FileOps::Unmap(const std::byte* address, std::size_t length) {
  return ResultOf([&] { return ::munmap(const_cast<std::byte*>(address), length); });
}

int FileOps::ListFolder(Place place, std::vector<FolderEntry>& entries) {
  int result = ListOnce(place, entries);
  while (result == -EINTR) result = ListOnce(place, entries);
  return result;
}

int FileOps::MakeFolder(Place place, unsigned permissions) {
  return ResultOf([&] { return ::mkdirat(FolderOf(place), place.path, permissions); });
}

int FileOps::RemoveFile(Place place) {
  return ResultOf([&] { return ::unlinkat(FolderOf(place), place.path, 0); });
}

int FileOps::RemoveFolder(Place place) {
  return ResultOf([&] { return ::unlinkat(FolderOf(place), place.path, AT_REMOVEDIR); });
}

int FileOps::Rename(const char* from, const char* to) {
  return ResultOf([&] { return ::rename(from, to); });
}

int FileOps::RenameWithoutReplacing(const char* from, const char* to) {
  const int result =
      ResultOf([&] { return ::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE); });
  if (result != -EINVAL && result != -ENOSYS) return result;
  FileInfo target;
  const int status = FileOps::LinkStatus(to, target);
  if (status == 0) return -EEXIST;
  return status == -ENOENT ? FileOps::Rename(from, to) : status;
}

int FileOps::ReadLink(Place place, std::string& target) {
  return ReadGrowing(target, [&](char* buffer, std::size_t size) {
    return ::readlinkat(FolderOf(place), place.path, buffer, size);
  });
}

int FileOps::MakeLink(const std::string& target, Place place) {
  return ResultOf([&] { return ::symlinkat(target.c_str(), FolderOf(place), place.path); });
}

int FileOps::Resolve(const char* path, std::string& resolved) {
  const std::unique_ptr<char, decltype(&std::free)> text(::realpath(path, nullptr), &std::free);
  if (!text) return -errno;
  resolved = text.get();
  return 0;
}

int FileOps::CopyAttributes(int from, int to) {
  struct stat status = {};
  int result = ResultOf([&] { return ::fstat(from, &status); });
  if (result < 0) return result;
  result = ResultOf([&] { return ::fchmod(to, status.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO)); });
  if (result < 0) return result;
  const timespec accessedThenModified[2] = {{.tv_sec = 0, .tv_nsec = UTIME_OMIT}, status.st_mtim};
  return ResultOf([&] { return ::futimens(to, accessedThenModified); });
}

int FileOps::CurrentFolder(std::string& path) {
  return ReadGrowing(path, [](char* buffer, std::size_t size) -> ssize_t {
    if (::getcwd(buffer, size) == nullptr) return -1;
    return static_cast<ssize_t>(std::char_traits<char>::length(buffer));
  });
}

int FileOps::ChangeFolder(const char* path) {
  return ResultOf([&] { return ::chdir(path); });
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
