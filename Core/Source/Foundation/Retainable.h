#pragma once

#include <cstdint>

namespace Hux {

template <typename T>
class SmartPtr;

/// Base of the objects that several owners share. The count lives in the object and starts at 1: that
/// reference is the creator's, who hands it to a SmartPtr without adding another.
///   Threads: one for each object and what it shares; the count is not atomic.
///   Dying:   a destructor may make references to its own object; none of them may outlive it, and none
///            destroys it again.
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

  // So far from 0 that the references made by a destructor never come back to it.
  static constexpr std::uint32_t kDying = 0x80000000;

  mutable std::uint32_t count_ = 1;
};

}  // namespace Hux
