#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

#include "Foundation/Retainable.h"

namespace Hux {

/// Owns one reference to a Retainable object, or is null. Comparison is by identity, not by value.
///   Errors: dereferencing null is undefined, as for a raw pointer; nothing throws.
template <typename T>
class SmartPtr {
 public:
  SmartPtr() noexcept = default;
  SmartPtr(std::nullptr_t) noexcept {}  ///< Null.
  SmartPtr(const SmartPtr& other) noexcept : pointer_(other.pointer_) { RetainHeld(); }
  SmartPtr(SmartPtr&& other) noexcept : pointer_(std::exchange(other.pointer_, nullptr)) {}
  /// Up-cast, or checked down-cast: null when the object is not a T.
  template <typename U>
  SmartPtr(const SmartPtr<U>& other) noexcept : pointer_(Cast(other.get())) {
    RetainHeld();
  }
  ~SmartPtr() { ReleaseObject(pointer_); }

  /// Takes over the creator's reference; the count stays the same.
  static SmartPtr Adopt(T* object) noexcept {
    SmartPtr result;
    result.pointer_ = object;
    return result;
  }

  /// Adds a reference to an object that has other owners; see make_ref().
  static SmartPtr Retained(T* object) noexcept {
    SmartPtr result = Adopt(object);
    result.RetainHeld();
    return result;
  }

  /// Retains the new target before it releases the old one, whose destructor sees this pointer with its new
  /// value.
  SmartPtr& operator=(const SmartPtr& other) noexcept {
    if (this == &other) return *this;
    other.RetainHeld();
    ReleaseObject(std::exchange(pointer_, other.pointer_));
    return *this;
  }
  SmartPtr& operator=(SmartPtr&& other) noexcept {
    if (this == &other) return *this;
    ReleaseObject(std::exchange(pointer_, std::exchange(other.pointer_, nullptr)));
    return *this;
  }
  template <typename U>
  SmartPtr& operator=(const SmartPtr<U>& other) noexcept {
    T* target = Cast(other.get());
    if (pointer_ == target) return *this;
    ReleaseObject(std::exchange(pointer_, Retained(target).Detach()));
    return *this;
  }

  /// The object as a U, or null when it is not one.
  template <typename U>
  SmartPtr<U> dynamic_cast_to() const noexcept {
    return SmartPtr<U>(*this);
  }

  T* get() const noexcept { return pointer_; }         ///< Not retained; may be null.
  T* operator->() const noexcept { return pointer_; }  ///< Must not be null.
  T& operator*() const noexcept { return *pointer_; }  ///< Must not be null.
  /// Whether it is not null.
  explicit operator bool() const noexcept { return pointer_ != nullptr; }
  /// Whether both have the same object, or are null.
  template <typename U>
  bool operator==(const SmartPtr<U>& other) const noexcept {
    return pointer_ == other.get();
  }
  /// Whether it is null.
  bool operator==(std::nullptr_t) const noexcept { return pointer_ == nullptr; }

 private:
  template <typename U>
  static T* Cast(U* object) noexcept {
    if constexpr (std::is_convertible_v<U*, T*>) {
      return object;
    } else {
      return dynamic_cast<T*>(object);
    }
  }
  T* Detach() noexcept { return std::exchange(pointer_, nullptr); }
  // Through the base class, which has the count.
  void RetainHeld() const noexcept {
    if (pointer_ != nullptr) static_cast<const Retainable*>(pointer_)->Retain();
  }
  static void ReleaseObject(T* object) noexcept {
    if (object != nullptr) static_cast<const Retainable*>(object)->Release();
  }

  T* pointer_ = nullptr;
};

/// A new counted reference to an object that already has an owner (`this`, a raw back link). One that a destructor
/// makes of its own object must be released before that destructor ends.
template <typename T>
SmartPtr<T> make_ref(T* object) noexcept {
  return SmartPtr<T>::Retained(object);
}

}  // namespace Hux
