#pragma once

#include <cstdint>

namespace Hux {

template <typename T>
class SmartPtr;

/// Base of the objects that several owners share. The count lives in the object and starts at 1: that
/// reference is the creator's, who hands it to a SmartPtr without adding another.
///   Threads: one; the count is not atomic.
class Retainable {
 public:
  Retainable(const Retainable&) = delete;
  Retainable& operator=(const Retainable&) = delete;
  virtual ~Retainable() = default;

  std::uint32_t GetRefCount() const { return count_; }  ///< How many references there are.

 protected:
  Retainable() = default;

 private:
  template <typename T>
  friend class SmartPtr;

  void Retain() const { ++count_; }
  void Release() const {
    if (--count_ == 0) delete this;
  }

  mutable std::uint32_t count_ = 1;
};

}  // namespace Hux
