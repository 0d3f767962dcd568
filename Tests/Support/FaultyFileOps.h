#pragma once

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "Posix/FileOps.h"

namespace Support {

enum class FileCall {
  kAny,
  kOpen,
  kOpenFolder,
  kClose,
  kReadAt,
  kWriteAt,
  kCopyRange,
  kSetLength,
  kLock,
  kSetPermissions,
  kStatus,
  kLinkStatus,
  kOpenStatus,
  kMap,
  kUnmap,
  kListFolder,
  kMakeFolder,
  kRemoveFile,
  kRemoveFolder,
  kRename,
  kRenameWithoutReplacing,
  kReadLink,
  kMakeLink,
  kResolve,
  kCopyAttributes,
  kCurrentFolder,
  kChangeFolder,
};

struct FaultPlan {
  int failCall = 0;                ///< Which of the counted calls fails: 1 is the first, 0 none.
  int error = EIO;                 ///< The errno value it fails with.
  FileCall only = FileCall::kAny;  ///< Which calls are counted.
  bool keepFailing = false;        ///< Every counted call from that one on fails.
  std::size_t mostBytes = 0;       ///< The most that one transfer moves; 0 for no limit.
  std::uint64_t extraLength = 0;   ///< Added to the length that each open file reports.
  /// Called with what ListFolder() found, to rearrange it.
  std::function<void(std::vector<Posix::FolderEntry>&)> order = nullptr;
};

/// Sorts the entries of a folder by the bytes of their names.
inline void SortByName(std::vector<Posix::FolderEntry>& entries) {
  std::ranges::sort(entries, {}, &Posix::FolderEntry::name);
}

/// The system's file operations, some of which fail as the plan says. They replace Posix::Files() while the object
/// lives. A failing Close() or Unmap() has still closed or unmapped; any other failing call did nothing.
class FaultyFileOps final : public Posix::FileOps {
 public:
  explicit FaultyFileOps(FaultPlan plan) : plan_(std::move(plan)), installed_(this) {}

  bool Fired() const { return failedCall_ != FileCall::kAny; }
  int Calls() const { return calls_; }  ///< How many calls were counted.
  /// The last call that failed, kAny for none, and the path that it was given; empty if it takes none.
  FileCall FailedCall() const { return failedCall_; }
  const std::string& FailedPath() const { return failedPath_; }

  int Open(Posix::Place place, unsigned flags) override {
    return Fails(FileCall::kOpen, place) ? -plan_.error : FileOps::Open(place, flags);
  }
  int OpenFolder(Posix::Place place, bool followLink) override {
    return Fails(FileCall::kOpenFolder, place) ? -plan_.error : FileOps::OpenFolder(place, followLink);
  }
  int Close(int fd) override;
  std::int64_t ReadAt(int fd, std::span<std::byte> out, std::uint64_t position) override;
  std::int64_t WriteAt(int fd, std::span<const Posix::Piece> pieces, std::uint64_t position) override;
  std::int64_t CopyRange(int from, std::uint64_t fromPosition, int to, std::uint64_t toPosition,
                         std::size_t count) override;
  int SetLength(int fd, std::uint64_t length) override {
    return Fails(FileCall::kSetLength) ? -plan_.error : FileOps::SetLength(fd, length);
  }
  int Lock(int fd) override { return Fails(FileCall::kLock) ? -plan_.error : FileOps::Lock(fd); }
  int SetPermissions(int fd, unsigned permissions) override {
    return Fails(FileCall::kSetPermissions) ? -plan_.error : FileOps::SetPermissions(fd, permissions);
  }
  int Status(Posix::Place place, Posix::FileInfo& info) override {
    return Fails(FileCall::kStatus, place) ? -plan_.error : FileOps::Status(place, info);
  }
  int LinkStatus(Posix::Place place, Posix::FileInfo& info) override {
    return Fails(FileCall::kLinkStatus, place) ? -plan_.error : FileOps::LinkStatus(place, info);
  }
  int OpenStatus(int fd, Posix::FileInfo& info) override {
    if (Fails(FileCall::kOpenStatus)) return -plan_.error;
    const int result = FileOps::OpenStatus(fd, info);
    info.size += plan_.extraLength;
    return result;
  }
  int Map(int fd, std::size_t length, const std::byte*& address) override {
    return Fails(FileCall::kMap) ? -plan_.error : FileOps::Map(fd, length, address);
  }
  int Unmap(const std::byte* address, std::size_t length) override;
  int ListFolder(Posix::Place place, std::vector<Posix::FolderEntry>& entries) override;
  int MakeFolder(Posix::Place place, unsigned permissions) override {
    return Fails(FileCall::kMakeFolder, place) ? -plan_.error : FileOps::MakeFolder(place, permissions);
  }
  int RemoveFile(Posix::Place place) override {
    return Fails(FileCall::kRemoveFile, place) ? -plan_.error : FileOps::RemoveFile(place);
  }
  int RemoveFolder(Posix::Place place) override {
    return Fails(FileCall::kRemoveFolder, place) ? -plan_.error : FileOps::RemoveFolder(place);
  }
  int Rename(const char* from, const char* to) override {
    return Fails(FileCall::kRename, from) ? -plan_.error : FileOps::Rename(from, to);
  }
  int RenameWithoutReplacing(const char* from, const char* to) override {
    return Fails(FileCall::kRenameWithoutReplacing, from) ? -plan_.error
                                                          : FileOps::RenameWithoutReplacing(from, to);
  }
  int ReadLink(Posix::Place place, std::string& target) override {
    return Fails(FileCall::kReadLink, place) ? -plan_.error : FileOps::ReadLink(place, target);
  }
  int MakeLink(const std::string& target, Posix::Place place) override {
    return Fails(FileCall::kMakeLink, place) ? -plan_.error : FileOps::MakeLink(target, place);
  }
  int Resolve(const char* path, std::string& resolved) override {
    return Fails(FileCall::kResolve, path) ? -plan_.error : FileOps::Resolve(path, resolved);
  }
  int CopyAttributes(int from, int to) override {
    return Fails(FileCall::kCopyAttributes) ? -plan_.error : FileOps::CopyAttributes(from, to);
  }
  int CurrentFolder(std::string& path) override {
    return Fails(FileCall::kCurrentFolder) ? -plan_.error : FileOps::CurrentFolder(path);
  }
  int ChangeFolder(const char* path) override {
    return Fails(FileCall::kChangeFolder, path) ? -plan_.error : FileOps::ChangeFolder(path);
  }

 private:
  bool Fails(FileCall call, Posix::Place place = "");
  std::size_t Bounded(std::size_t count) const;

  FaultPlan plan_;
  int calls_ = 0;
  FileCall failedCall_ = FileCall::kAny;
  std::string failedPath_;
  Posix::ScopedFileOps installed_;
};

}  // namespace Support
