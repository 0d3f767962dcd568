#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "Posix/FileOps.h"

namespace Support {

/// The system's file operations, with an action of another process right before the n-th operation that names an
/// object or writes. They replace Posix::Files() while the object lives.
class Meddler final : public Posix::FileOps {
 public:
  Meddler(int call, std::function<void()> action) : callsLeft_(call), action_(std::move(action)) {}

  bool HasMeddled() const { return callsLeft_ <= 0; }

  int Open(Posix::Place place, unsigned flags) override { return Count(), FileOps::Open(place, flags); }
  int OpenFolder(Posix::Place place, bool followLink) override {
    return Count(), FileOps::OpenFolder(place, followLink);
  }
  std::int64_t WriteAt(int fd, std::span<const Posix::Piece> pieces, std::uint64_t position) override {
    return Count(), FileOps::WriteAt(fd, pieces, position);
  }
  int Status(Posix::Place place, Posix::FileInfo& info) override {
    return Count(), FileOps::Status(place, info);
  }
  int LinkStatus(Posix::Place place, Posix::FileInfo& info) override {
    return Count(), FileOps::LinkStatus(place, info);
  }
  int ListFolder(Posix::Place place, std::vector<Posix::FolderEntry>& entries) override {
    return Count(), FileOps::ListFolder(place, entries);
  }
  int MakeFolder(Posix::Place place, unsigned permissions) override {
    return Count(), FileOps::MakeFolder(place, permissions);
  }
  int RemoveFile(Posix::Place place) override { return Count(), FileOps::RemoveFile(place); }
  int RemoveFolder(Posix::Place place) override { return Count(), FileOps::RemoveFolder(place); }

 private:
  void Count() {
    if (--callsLeft_ == 0) action_();
  }

  int callsLeft_;
  std::function<void()> action_;
  Posix::ScopedFileOps installed_{this};
};

/// Replaces an object by a link to `target`, or by another hard link to it if that is a file. The object is moved to
/// PATH.moved.
void SwapForALink(const std::string& path, const std::string& target);

}  // namespace Support
