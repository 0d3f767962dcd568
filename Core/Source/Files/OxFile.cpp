#include "Files/OxFile.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <utility>

#include "Posix/FileOps.h"

namespace {

constexpr std::uint64_t kLastPosition = std::numeric_limits<std::int64_t>::max();

// Removes the pieces that were written whole from the front; returns how much of the next one was written.
std::size_t Advance(std::span<const Posix::Piece>& pieces, std::size_t written) {
  while (!pieces.empty() && written >= pieces.front().size()) {
    written -= pieces.front().size();
    pieces = pieces.subspan(1);
  }
  return written;
}

std::size_t TotalSize(std::span<const Posix::Piece> pieces) {
  std::size_t total = 0;
  for (const Posix::Piece piece : pieces) total += piece.size();
  return total;
}

}  // namespace

FileStatus OxFile::Open(unsigned long permission) {
  Close();
  if ((permission & (kRead | kWrite)) == 0) return kStatusNoPermission;
  const unsigned flags = ((permission & kRead) != 0 ? Posix::kOpenToRead : 0U) |
                         ((permission & kWrite) != 0 ? Posix::kOpenToWrite : 0U) |
                         ((permission & kPrivate) != 0 ? Posix::kOpenPrivate : 0U) |
                         ((permission & kNoLink) != 0 ? Posix::kOpenNoLink : 0U);
  const bool mayCreate = (permission & kCreate) != 0;
  const bool newFirst = mayCreate && (permission & kExpectNew) != 0;
  FileStatus status = newFirst ? OpenNew(flags) : kStatusDuplicateName;
  if (status == kStatusDuplicateName) status = OpenExisting(flags);
  if (status == kStatusFileNotFound && mayCreate && !newFirst) status = OpenNew(flags);
  writable_ = status == kStatusOk && (permission & kWrite) != 0;
  return status;
}

FileStatus OxFile::OpenExisting(unsigned flags) {
  const int fd = Posix::Files().Open(Here(), flags);
  if (fd < 0) return StatusOfResult(fd);
  Adopt(fd);
  Posix::FileInfo info;
  const int result = Posix::Files().OpenStatus(fd, info);
  length_ = info.size;
  if (result >= 0 && info.kind == Posix::FileKind::kRegular) return kStatusOk;
  Close();
  return result < 0 ? StatusOfResult(result) : kStatusNotAFile;
}

// A new file is empty and regular: no query needed.
FileStatus OxFile::OpenNew(unsigned flags) {
  const int fd = Posix::Files().Open(Here(), flags | Posix::kOpenNew);
  if (fd < 0) return StatusOfResult(fd);
  Adopt(fd);
  created_ = true;
  return kStatusOk;
}

void OxFile::Adopt(int fd) {
  fd_ = fd;
  created_ = false;
  position_ = 0;
  length_ = 0;
}

FileStatus OxFile::Close() {
  if (!IsOpen()) return kStatusOk;
  return StatusOfResult(Posix::Files().Close(std::exchange(fd_, -1)));
}

FileStatus OxFile::Read(void* buffer, unsigned long count, unsigned long* actual) {
  std::size_t got = 0;
  const FileStatus status = ReadAt(position_, {static_cast<std::byte*>(buffer), count}, got);
  position_ += got;
  if (actual != nullptr) *actual = got;
  return status;
}

FileStatus OxFile::Write(const void* buffer, unsigned long count) {
  if (count == 0) return kStatusOk;
  const Posix::Piece piece(static_cast<const std::byte*>(buffer), count);
  std::size_t written = 0;
  const FileStatus status = WriteAll(position_, {&piece, 1}, written);
  position_ += written;
  return status;
}

FileStatus OxFile::SetPosition(std::uint64_t position) {
  if (!IsOpen()) return kStatusNotOpen;
  if (position > length_) {
    const FileStatus status = RefreshLength();
    if (status != kStatusOk) return status;
  }
  position_ = std::min(position, length_);
  return position_ == position ? kStatusOk : kStatusEndOfFile;
}

FileStatus OxFile::GoToEOF() {
  if (!IsOpen()) return kStatusNotOpen;
  const FileStatus status = writable_ ? kStatusOk : RefreshLength();
  if (status == kStatusOk) position_ = length_;
  return status;
}

FileStatus OxFile::SetEOF(std::uint64_t length) {
  if (!IsOpen()) return kStatusNotOpen;
  const int result = Posix::Files().SetLength(fd_, length);
  if (result >= 0) length_ = length;
  return StatusOfResult(result);
}

std::uint64_t OxFile::GetPosition() const {
  if (!IsOpen()) throw FileNotOpen();
  return position_;
}

std::uint64_t OxFile::GetLength() const {
  if (!IsOpen()) throw FileNotOpen();
  const FileStatus status = writable_ ? kStatusOk : RefreshLength();
  if (status != kStatusOk) throw FileError(status);
  return length_;
}

FileStatus OxFile::RefreshLength() const {
  Posix::FileInfo info;
  const int result = Posix::Files().OpenStatus(fd_, info);
  if (result >= 0) length_ = info.size;
  return StatusOfResult(result);
}

FileStatus OxFile::Delete() {
  Close();
  return StatusOfResult(Posix::Files().RemoveFile(Here()));
}

FileStatus OxFile::Discard() {
  Posix::FileInfo own;
  Posix::FileInfo named;
  FileStatus status = GetInfo(own);
  const int found = Posix::Files().LinkStatus(Here(), named);
  if (status == kStatusOk && found != -ENOENT) status = StatusOfResult(found);
  const bool isNamed = status == kStatusOk && found >= 0 && named.IsSameObject(own);
  if (isNamed) {
    status = StatusOfResult(Posix::Files().RemoveFile(Here()));
  }
  if (!isNamed || status != kStatusOk) SetEOF(0);
  Close();
  return status;
}

FileStatus OxFile::Lock() const {
  if (!IsOpen()) return kStatusNotOpen;
  const int result = Posix::Files().Lock(fd_);
  if (result == -EWOULDBLOCK) return kStatusFileBusy;
  const bool hasNoLocks = result == -ENOSYS || result == -EOPNOTSUPP || result == -ENOLCK;
  return hasNoLocks ? kStatusOk : StatusOfResult(result);
}

FileStatus OxFile::GetInfo(Posix::FileInfo& info) const {
  if (!IsOpen()) return kStatusNotOpen;
  return StatusOfResult(Posix::Files().OpenStatus(fd_, info));
}

bool OxFile::ExistsAt(Posix::Place place) {
  Posix::FileInfo info;
  return Posix::Files().Status(place, info) >= 0;
}

FileStatus OxFile::ReadAt(std::uint64_t position, std::span<std::byte> out, std::size_t& actual) const {
  actual = 0;
  if (!IsOpen()) return kStatusNotOpen;
  while (actual < out.size()) {
    const std::uint64_t at = position + actual;
    if (at < position || at >= kLastPosition) return kStatusEndOfFile;
    // The system refuses to read beyond the last position, where no byte can be.
    const auto count =
        static_cast<std::size_t>(std::min<std::uint64_t>(out.size() - actual, kLastPosition - at));
    const std::int64_t got = Posix::Files().ReadAt(fd_, out.subspan(actual, count), at);
    if (got < 0) return StatusOfResult(got);
    if (got == 0) return kStatusEndOfFile;
    actual += static_cast<std::size_t>(got);
  }
  return kStatusOk;
}

FileStatus OxFile::WriteAt(std::uint64_t position, std::span<const Posix::Piece> pieces) {
  std::size_t written = 0;
  return WriteAll(position, pieces, written);
}

FileStatus OxFile::WriteAll(std::uint64_t position, std::span<const Posix::Piece> pieces,
                            std::size_t& written) {
  written = 0;
  if (!IsOpen()) return kStatusNotOpen;
  if (TotalSize(pieces) == 0) return kStatusOk;
  FileStatus status = WriteSome(position, pieces, written);
  std::size_t begun = Advance(pieces, written);
  while (status == kStatusOk && TotalSize(pieces) > begun) {
    // The rest of a piece that was partly written is written first, by itself.
    const Posix::Piece rest = pieces.front().subspan(begun);
    std::size_t last = 0;
    status = WriteSome(position + written, begun > 0 ? std::span(&rest, 1) : pieces, last);
    written += last;
    begun = Advance(pieces, begun + last);
  }
  return status;
}

// One system call. One that writes nothing would be repeated endlessly, so it counts as a failure.
FileStatus OxFile::WriteSome(std::uint64_t position, std::span<const Posix::Piece> pieces,
                             std::size_t& written) {
  const std::int64_t result = Posix::Files().WriteAt(fd_, pieces, position);
  written = result > 0 ? static_cast<std::size_t>(result) : 0;
  if (written > 0) length_ = std::max(length_, position + written);
  return result == 0 ? kStatusInputOutput : StatusOfResult(result);
}

std::int64_t OxFile::CopyInKernel(std::uint64_t position, OxFile& target, std::uint64_t targetPosition,
                                  std::size_t count) const {
  const std::int64_t copied = Posix::Files().CopyRange(fd_, position, target.fd_, targetPosition, count);
  if (copied > 0) {
    target.length_ = std::max(target.length_, targetPosition + static_cast<std::uint64_t>(copied));
  }
  return copied;
}

FileStatus OxFile::CopyAttributesTo(OxFile& target) const {
  return StatusOfResult(Posix::Files().CopyAttributes(fd_, target.fd_));
}

std::uint64_t OxFile::ClampToLength(std::uint64_t wanted) const {
  if (!IsOpen()) return 0;
  if (wanted > length_ && RefreshLength() != kStatusOk) return 0;
  return std::min(wanted, length_);
}
