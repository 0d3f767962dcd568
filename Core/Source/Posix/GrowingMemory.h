#pragma once

#include <cstddef>

namespace Posix {

/// One piece of memory that keeps its bytes while it grows. A large one has pages of its own, which go back to the
/// system when it ends, whatever the heap keeps.
class GrowingMemory {
 public:
  GrowingMemory() = default;
  GrowingMemory(const GrowingMemory&) = delete;
  GrowingMemory& operator=(const GrowingMemory&) = delete;
  ~GrowingMemory();

  char* data() const { return bytes_; }               ///< Null at first; another address after Grow().
  std::size_t capacity() const { return capacity_; }  ///< Bytes.

  /// Makes room for at least `wanted` bytes, above the present capacity. A piece that becomes large gets `expected`
  /// bytes where that is more: pages cost nothing until they are used. Throws std::bad_alloc, and nothing has changed.
  void Grow(std::size_t wanted, std::size_t expected);

 private:
  char* bytes_ = nullptr;
  std::size_t capacity_ = 0;
};

}  // namespace Posix
