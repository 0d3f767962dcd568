#pragma once

namespace Support {

/// Fails one allocation of this thread: while an object lives, the `failAt`-th call of any operator new
/// (the first is 1) throws std::bad_alloc or, if it is a nothrow form, returns null. The calls before
/// and after it succeed. One object per thread at a time.
///   Linking: the library ox_failing_allocations replaces the global operators of the whole program.
class FailingAllocations {
 public:
  explicit FailingAllocations(int failAt);
  FailingAllocations(const FailingAllocations&) = delete;
  FailingAllocations& operator=(const FailingAllocations&) = delete;
  ~FailingAllocations();

  bool Fired()
      const;  ///< Whether the allocation was reached; false means that the operation made fewer.
};

}  // namespace Support
