#include "Support/FaultyFileOps.h"

#include <algorithm>

namespace Support {

bool FaultyFileOps::Fails(FileCall call, Posix::Place place) {
  if (plan_.only != FileCall::kAny && plan_.only != call) return false;
  ++calls_;
  const bool fails = plan_.failCall != 0 &&
                     (calls_ == plan_.failCall || (plan_.keepFailing && calls_ > plan_.failCall));
  if (fails) {
    failedCall_ = call;
    failedPath_ = place.path;
  }
  return fails;
}

std::size_t FaultyFileOps::Bounded(std::size_t count) const {
  return plan_.mostBytes == 0 ? count : std::min(count, plan_.mostBytes);
}

int FaultyFileOps::Close(int fd) {
  const int result = FileOps::Close(fd);
  return Fails(FileCall::kClose) ? -plan_.error : result;
}

int FaultyFileOps::Unmap(const std::byte* address, std::size_t length) {
  const int result = FileOps::Unmap(address, length);
  return Fails(FileCall::kUnmap) ? -plan_.error : result;
}

std::int64_t FaultyFileOps::ReadAt(int fd, std::span<std::byte> out, std::uint64_t position) {
  if (Fails(FileCall::kReadAt)) return -plan_.error;
  return FileOps::ReadAt(fd, out.first(Bounded(out.size())), position);
}

std::int64_t FaultyFileOps::WriteAt(int fd, std::span<const Posix::Piece> pieces,
                                    std::uint64_t position) {
  if (Fails(FileCall::kWriteAt)) return -plan_.error;
  if (plan_.mostBytes == 0) return FileOps::WriteAt(fd, pieces, position);
  const auto piece = std::find_if_not(pieces.begin(), pieces.end(),
                                      [](Posix::Piece candidate) { return candidate.empty(); });
  if (piece == pieces.end()) return 0;
  const Posix::Piece some = piece->first(Bounded(piece->size()));
  return FileOps::WriteAt(fd, {&some, 1}, position);
}

std::int64_t FaultyFileOps::CopyRange(int from, std::uint64_t fromPosition, int to,
                                      std::uint64_t toPosition, std::size_t count) {
  if (Fails(FileCall::kCopyRange)) return -plan_.error;
  return FileOps::CopyRange(from, fromPosition, to, toPosition, Bounded(count));
}

int FaultyFileOps::ListFolder(Posix::Place place, std::vector<Posix::FolderEntry>& entries) {
  if (Fails(FileCall::kListFolder, place)) return -plan_.error;
  std::vector<Posix::FolderEntry> found;
  const int result = FileOps::ListFolder(place, found);
  if (plan_.order) plan_.order(found);
  entries.insert(entries.end(), found.begin(), found.end());
  return result;
}

}  // namespace Support
