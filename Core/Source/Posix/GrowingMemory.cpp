#include "Posix/GrowingMemory.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include <sys/mman.h>
#include <unistd.h>

namespace Posix {

namespace {

constexpr std::size_t kLargestOnHeap = std::size_t{256} << 10;

}  // namespace

GrowingMemory::GrowingMemory(GrowingMemory&& other) noexcept
    : bytes_(std::exchange(other.bytes_, nullptr)), capacity_(std::exchange(other.capacity_, 0)) {}

GrowingMemory& GrowingMemory::operator=(GrowingMemory&& other) noexcept {
  std::swap(bytes_, other.bytes_);
  std::swap(capacity_, other.capacity_);
  return *this;
}

GrowingMemory::~GrowingMemory() {
  if (capacity_ > kLargestOnHeap) {
    ::munmap(bytes_, capacity_);
  } else {
    std::free(bytes_);
  }
}

void GrowingMemory::Grow(std::size_t wanted, std::size_t expected) {
  if (wanted <= kLargestOnHeap) {
    void* const grown = std::realloc(bytes_, wanted);
    if (grown == nullptr) throw std::bad_alloc();
    bytes_ = static_cast<char*>(grown);
    capacity_ = wanted;
    return;
  }
  const bool isMapped = capacity_ > kLargestOnHeap;
  const std::size_t size = isMapped ? wanted : std::max(wanted, expected);
  void* const grown =
      isMapped ? ::mremap(bytes_, capacity_, size, MREMAP_MAYMOVE)
               : ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (grown == MAP_FAILED) throw std::bad_alloc();
  ::madvise(grown, size, MADV_HUGEPAGE);  // A wish.
  if (!isMapped) {
    if (capacity_ > 0) std::memcpy(grown, bytes_, capacity_);
    std::free(bytes_);
  }
  bytes_ = static_cast<char*>(grown);
  capacity_ = size;
}

void GrowingMemory::Forget(std::size_t count) {
  if (capacity_ <= kLargestOnHeap) return;
  const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  ::madvise(bytes_, count - count % page, MADV_DONTNEED);
}

}  // namespace Posix
