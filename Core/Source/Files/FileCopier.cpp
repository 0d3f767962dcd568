#include "Files/FileCopier.h"

#include <algorithm>

namespace {

// The most that one call is asked to copy: a signal is answered between two calls.
constexpr std::uint64_t kLargestCall = std::uint64_t{1} << 30;

}  // namespace

std::span<std::byte> FileCopier::Buffer() {
  if (buffer_ == nullptr) buffer_ = std::make_unique_for_overwrite<std::byte[]>(kBufferSize);
  return {buffer_.get(), kBufferSize};
}

CopyResult FileCopier::Copy(FilePlace from, FilePlace to, std::uint64_t count, const Change& change) {
  CopyResult result;
  if (!change) CopyInKernel(from, to, count, result);
  // What the kernel would not copy, for whatever reason, is read and written, which tells the end of the
  // source from a failure and one file's failure from the other's.
  CopyThroughBuffer(from, to, count, change, result);
  return result;
}

void FileCopier::CopyInKernel(FilePlace from, FilePlace to, std::uint64_t count, CopyResult& result) {
  while (result.copied < count) {
    const auto wanted = static_cast<std::size_t>(std::min(count - result.copied, kLargestCall));
    const std::int64_t copied = from.file.CopyInKernel(from.position + result.copied, to.file,
                                                       to.position + result.copied, wanted);
    if (copied <= 0) return;
    result.copied += static_cast<std::uint64_t>(copied);
  }
}

void FileCopier::CopyThroughBuffer(FilePlace from, FilePlace to, std::uint64_t count,
                                   const Change& change, CopyResult& result) {
  while (result.copied < count && result.readStatus == kStatusOk) {
    const auto wanted =
        static_cast<std::size_t>(std::min<std::uint64_t>(count - result.copied, kBufferSize));
    const std::span<std::byte> chunk = Buffer().first(wanted);
    std::size_t got = 0;
    result.readStatus = from.file.ReadAt(from.position + result.copied, chunk, got);
    if (change) change(chunk.first(got));
    const Posix::Piece piece = chunk.first(got);
    result.writeStatus = to.file.WriteAt(to.position + result.copied, {&piece, 1});
    if (result.writeStatus != kStatusOk) return;
    result.copied += got;
  }
}
