#include "Storage/GatheredAppends.h"

#include <cstring>

void GatheredAppends::Begin() {
  if (bytes_ == nullptr) bytes_ = std::make_unique_for_overwrite<std::byte[]>(kCapacity);
}

void GatheredAppends::End() {
  bytes_.reset();
  size_ = 0;
}

void GatheredAppends::Add(std::span<const Posix::Piece> pieces) {
  for (const Posix::Piece piece : pieces) {
    if (!piece.empty()) std::memcpy(bytes_.get() + size_, piece.data(), piece.size());
    size_ += piece.size();
  }
}

void GatheredAppends::DropFront(std::size_t count) {
  size_ -= count;
  std::memmove(bytes_.get(), bytes_.get() + count, size_);
}
