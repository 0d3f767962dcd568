#include "Files/OxMappedFile.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

#include "Foundation/Narrow.h"
#include "Posix/FileOps.h"

namespace {

// Maps an open descriptor's whole file; false, and nothing set, when that cannot be done.
bool MapWhole(int fd, const std::byte*& address, std::uint32_t& size) {
  Posix::FileInfo info;
  if (Posix::Files().OpenStatus(fd, info) < 0) return false;
  const auto length = TryNarrow<std::uint32_t>(info.size);
  if (info.kind != Posix::FileKind::kRegular || !length || *length == 0) return false;
  if (Posix::Files().Map(fd, *length, address) < 0) return false;
  size = *length;
  return true;
}

}  // namespace

bool OxMappedFile::Open(const OxString& path) {
  Close();
  const int fd = Posix::Files().Open(path.c_str(), Posix::kOpenToRead);
  if (fd < 0) return false;
  const std::byte* address = nullptr;
  const bool mapped = MapWhole(fd, address, size_);
  if (mapped) address_ = reinterpret_cast<const char*>(address);
  Posix::Files().Close(fd);
  return mapped;
}

void OxMappedFile::Close() {
  if (address_ == nullptr) return;
  Posix::Files().Unmap(reinterpret_cast<const std::byte*>(address_), size_);
  address_ = nullptr;
  size_ = 0;
}

bool OxMappedFile::ReadChunk(unsigned long offset, unsigned long count, void* buffer,
                             unsigned long* actual) const {
  if (offset >= size_) return false;
  const unsigned long available = std::min<unsigned long>(count, size_ - offset);
  if (available > 0) std::memcpy(buffer, address_ + offset, available);
  if (actual != nullptr) *actual = available;
  return available == count;
}
