#pragma once

#include <cstdint>

namespace Hux {

template <typename T>
class SmartPtr;

/// Base of objects with an intrusive reference count. The count starts at 1: that reference belongs to the creator,
/// who passes it to a SmartPtr without adding another.
///   Threads: one thread at a time for an object and what it shares; the count is not atomic.
///   Destructors may make references to their own object; these must not outlive the destructor, and do not
///   destroy the object again.
class Retainable {
 public:
  Retainable(const Retainable&) = delete;
  Retainable& operator=(const Retainable&) = delete;
  virtual ~Retainable() = default;

  /// How many references there are; a very large number once the object is being destroyed.
  std::uint32_t GetRefCount() const { return count_; }

 protected:
  Retainable() = default;

 private:
  template <typename T>
  friend class SmartPtr;

  void Retain() const { ++count_; }
  void Release() const {
    if (--count_ == 0) Destroy();
  }
  // Never inline: g++ would take the destructor's references to its own object for a use after the deletion.
  [[gnu::noinline]] void Destroy() const {
    count_ = kDying;
    delete this;
  }

  // So far from 0 that releasing references made by a destructor never reaches 0 again.
  static constexpr std::uint32_t kDying = 0x80000000;

  mutable std::uint32_t count_ = 1;
};

}  // namespace Hux
