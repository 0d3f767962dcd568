#pragma once

#include <cstddef>

/// Memory for nodes, cut out of pages with one size of node each. A page whose nodes are all gone goes
/// back to the heap. Not for use by two threads.
namespace XMLNodePool {

void* Allocate(std::size_t size);  ///< Bytes; throws std::bad_alloc.
/// `size` is that of the allocation.
void Free(void* memory, std::size_t size);

}  // namespace XMLNodePool
