#pragma once

#include <cstddef>

namespace Posix {

/// A block of memory that can grow and keeps its content. A large one has memory pages of its own, which are
/// returned to the system when it is destroyed.
class GrowingMemory {
 public:
  GrowingMemory() = default;
  GrowingMemory(const GrowingMemory&) = delete;
  GrowingMemory& operator=(const GrowingMemory&) = delete;
  ~GrowingMemory();

  char* data() const { return bytes_; }               ///< Null at first; another address after Grow().
  std::size_t capacity() const { return capacity_; }  ///< Bytes.

  /// Makes room for at least `wanted` bytes, above the present capacity. A block that becomes large gets `expected`
  /// bytes where that is more: pages cost nothing until they are used. Throws std::bad_alloc, and nothing has changed.
  void Grow(std::size_t wanted, std::size_t expected);

 private:
  char* bytes_ = nullptr;
  std::size_t capacity_ = 0;
};

}  // namespace Posix
