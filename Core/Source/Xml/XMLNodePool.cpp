#include "Xml/XMLNodePool.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <new>

// AddressSanitizer watches each node when it comes from the heap by itself.
#if defined(__SANITIZE_ADDRESS__)
#define OX_NODES_FROM_HEAP 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define OX_NODES_FROM_HEAP 1
#endif
#endif

namespace {

// Big enough that the heap is asked rarely, small enough that a small document does not pay for it.
constexpr std::size_t kPageBytes = std::size_t{64} << 10;
constexpr std::size_t kGranule = 8;
// Nodes of this system are all smaller; a subclass may not be and then has the heap.
constexpr std::size_t kLargest = 256;

struct Cell {
  Cell* next;
};

struct Page {
  Page* next = nullptr;  // Among the pages of one size that have room.
  Page* previous = nullptr;
  Cell* free = nullptr;
  std::uint32_t live = 0;
  std::uint32_t used = sizeof(Page);  // Bytes from the front that were ever given out.
};

Page* PageOf(void* memory) {
  const auto address = reinterpret_cast<std::uintptr_t>(memory);
  return reinterpret_cast<Page*>(static_cast<std::byte*>(memory) - address % kPageBytes);
}

// The pages for one size of node: those with room in a list, the front one being served from.
class Shelf {
 public:
  void* Allocate(std::size_t size) {
    if (roomy_ == nullptr) Put(new (::operator new (kPageBytes, std::align_val_t{kPageBytes})) Page());
    Page& page = *roomy_;
    ++page.live;
    void* memory = page.free;
    if (memory != nullptr) {
      page.free = page.free->next;
    } else {
      memory = reinterpret_cast<char*>(&page) + page.used;
      page.used += static_cast<std::uint32_t>(size);
    }
    if (!HasRoom(page, size)) TakeOut(page);
    return memory;
  }

  void Free(void* memory, std::size_t size) {
    Page& page = *PageOf(memory);
    const bool hadRoom = HasRoom(page, size);
    page.free = new (memory) Cell{page.free};
    --page.live;
    if (!hadRoom) Put(&page);
    if (page.live > 0 || (roomy_ == &page && page.next == nullptr)) return;
    TakeOut(page);
    ::operator delete (&page, std::align_val_t{kPageBytes});
  }

 private:
  static bool HasRoom(const Page& page, std::size_t size) {
    return page.free != nullptr || page.used + size <= kPageBytes;
  }

  void Put(Page* page) {
    page->previous = nullptr;
    page->next = roomy_;
    if (roomy_ != nullptr) roomy_->previous = page;
    roomy_ = page;
  }

  void TakeOut(Page& page) {
    (page.previous != nullptr ? page.previous->next : roomy_) = page.next;
    if (page.next != nullptr) page.next->previous = page.previous;
  }

  Page* roomy_ = nullptr;
};

// Never destroyed: nodes may outlive everything else.
[[maybe_unused]] constinit std::array<Shelf, kLargest / kGranule + 1> shelves{};

}  // namespace

#ifdef OX_NODES_FROM_HEAP

void* XMLNodePool::Allocate(std::size_t size) {
  return ::operator new(size);
}

void XMLNodePool::Free(void* memory, std::size_t) {
  ::operator delete(memory);
}

#else

void* XMLNodePool::Allocate(std::size_t size) {
  if (size > kLargest) return ::operator new(size);
  const std::size_t granules = (size + kGranule - 1) / kGranule;
  return shelves[granules].Allocate(granules * kGranule);
}

void XMLNodePool::Free(void* memory, std::size_t size) {
  if (memory == nullptr) return;
  if (size > kLargest) return ::operator delete(memory);
  const std::size_t granules = (size + kGranule - 1) / kGranule;
  shelves[granules].Free(memory, granules * kGranule);
}

#endif
