#pragma once

#include <cstddef>

namespace Posix {

/// A block of memory that can grow and keeps its content. A large one has memory pages of its own, which are
/// returned to the system when it is destroyed.
class GrowingMemory {
 public:
  GrowingMemory() = default;
  GrowingMemory(GrowingMemory&& other) noexcept;
  GrowingMemory& operator=(GrowingMemory&& other) noexcept;
  ~GrowingMemory();

  char* data() const { return bytes_; }               ///< Null at first; another address after Grow().
  std::size_t capacity() const { return capacity_; }  ///< Bytes.

  /// Makes room for at least `wanted` bytes, above the present capacity. A block that becomes large gets `expected`
  /// bytes where that is more: pages cost nothing until they are used. Throws std::bad_alloc, and nothing has changed.
  void Grow(std::size_t wanted, std::size_t expected);
  /// The first `count` bytes are not needed any more and may become zeros: whole pages of a large block go back to
  /// the system.
  void Forget(std::size_t count);

 private:
  char* bytes_ = nullptr;
  std::size_t capacity_ = 0;
};

}  // namespace Posix
