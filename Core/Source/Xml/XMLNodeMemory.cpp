#include "Xml/XMLNodeMemory.h"

#include <array>
#include <new>

namespace {

// AddressSanitizer watches memory that is freed at once.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kIsWatched = true;
#elif defined(__has_feature)
constexpr bool kIsWatched = __has_feature(address_sanitizer);
#else
constexpr bool kIsWatched = false;
#endif

constexpr std::size_t kMapBytes = 40;    // Every attribute map has as many.
constexpr std::size_t kNodeBytes = 128;  // No node of this system is larger.

void FreeSparesAtThreadEnd();

// Pieces of one size. Nothing destroys it, since nodes may outlive all objects of their thread.
template <std::size_t kBytes>
class Spares {
 public:
  void* Take() { return count_ == 0 ? ::operator new(kBytes) : kept_[--count_]; }
  void Keep(void* memory) {
    if (count_ == most_) return ::operator delete(memory);
    if (count_ == 0) FreeSparesAtThreadEnd();
    kept_[count_++] = memory;
  }
  // Frees what is kept, and keeps nothing from now on.
  void Close() {
    while (count_ > 0) ::operator delete(kept_[--count_]);
    most_ = 0;
  }

 private:
  std::array<void*, 512> kept_{};
  std::size_t count_ = 0;
  std::size_t most_ = kIsWatched ? 0 : kept_.size();
};

constinit thread_local Spares<kNodeBytes> spareNodes;
constinit thread_local Spares<kMapBytes> spareMaps;

void FreeSparesAtThreadEnd() {
  struct Closer {
    Closer() = default;
    Closer(const Closer&) = delete;
    Closer& operator=(const Closer&) = delete;
    ~Closer() {
      spareNodes.Close();
      spareMaps.Close();
    }
  };
  static thread_local const Closer closer;
}

}  // namespace

void* XMLNodeMemory::Take(std::size_t size) {
  if (size > kNodeBytes) return ::operator new(size);
  return size > kMapBytes ? spareNodes.Take() : spareMaps.Take();
}

void XMLNodeMemory::Keep(void* memory, std::size_t size) {
  if (size > kNodeBytes) return ::operator delete(memory);
  size > kMapBytes ? spareNodes.Keep(memory) : spareMaps.Keep(memory);
}
