#include "Archive/ReadWindow.h"

#include <algorithm>
#include <new>

namespace {

// Reading this many more bytes costs about as much as another system call.
constexpr std::size_t kBytesPerCall = 4096;

}  // namespace

FileStatus ReadWindow::View(OxFile& file, std::uint64_t position, std::size_t count,
                            std::span<const std::byte>& bytes) {
  FileStatus status = kStatusOk;
  if (Holds(position, count)) {
    ++hits_;
  } else {
    status = Fill(file, position, count);
  }
  const auto offset = static_cast<std::size_t>(position - start_);
  bytes = {bytes_.get() + offset, std::min(count, size_ - offset)};
  return status;
}

void ReadWindow::Reserve() {
  if (capacity_ < kSmallest && !Grow(kSmallest)) throw std::bad_alloc();
}

bool ReadWindow::Grow(std::size_t capacity) {
  std::unique_ptr<std::byte[]> bytes(new (std::nothrow) std::byte[capacity]);
  if (bytes == nullptr) return false;
  bytes_ = std::move(bytes);
  capacity_ = capacity;
  size_ = 0;
  return true;
}

bool ReadWindow::Holds(std::uint64_t position, std::size_t count) const {
  return position >= start_ && position - start_ <= size_ && count <= size_ - (position - start_);
}

FileStatus ReadWindow::Fill(OxFile& file, std::uint64_t position, std::size_t count) {
  const bool paidOff = size_ > 0 && hits_ * kBytesPerCall >= size_;
  stretch_ = paidOff ? std::min(2 * stretch_, kLargest) : std::max(stretch_ / 2, kSmallest);
  std::size_t wanted = std::max(count, stretch_);
  if (wanted > capacity_ && !Grow(wanted)) {
    if (count > capacity_) throw std::bad_alloc();
    wanted = capacity_;
  }
  start_ = position;
  hits_ = 0;
  const FileStatus status = file.ReadAt(position, {bytes_.get(), wanted}, size_);
  return size_ >= count ? kStatusOk : status;
}
