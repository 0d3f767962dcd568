#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

#include "Foundation/Retainable.h"

namespace Hux {

/// Holds one reference to a Retainable object, or null. Comparison is identity, never value.
///   Errors: dereferencing null is undefined, as for a raw pointer; nothing throws.
template <typename T>
class SmartPtr {
 public:
  SmartPtr() noexcept = default;
  SmartPtr(std::nullptr_t) noexcept {}  ///< Holds nothing.
  SmartPtr(const SmartPtr& other) noexcept : pointer_(other.pointer_) { RetainHeld(); }
  SmartPtr(SmartPtr&& other) noexcept : pointer_(std::exchange(other.pointer_, nullptr)) {}
  /// Up-cast, or checked down-cast that gives null when the object is no T.
  template <typename U>
  SmartPtr(const SmartPtr<U>& other) noexcept : pointer_(Cast(other.get())) {
    RetainHeld();
  }
  ~SmartPtr() { ReleaseObject(pointer_); }

  /// Takes over the creator's reference: the count is not touched.
  static SmartPtr Adopt(T* object) noexcept {
    SmartPtr result;
    result.pointer_ = object;
    return result;
  }

  /// Adds a reference to an object that is owned elsewhere; see make_ref().
  static SmartPtr Retained(T* object) noexcept {
    SmartPtr result = Adopt(object);
    result.RetainHeld();
    return result;
  }

  /// The new target is retained before the old one is released, and the old one is released last, so
  /// that a destructor that looks back sees the new state.
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

  /// The object as a U, or null when it is none.
  template <typename U>
  SmartPtr<U> dynamic_cast_to() const noexcept {
    return SmartPtr<U>(*this);
  }

  T* get() const noexcept { return pointer_; }         ///< Borrowed; null when nothing is held.
  T* operator->() const noexcept { return pointer_; }  ///< The object, which must be there.
  T& operator*() const noexcept { return *pointer_; }  ///< The object, which must be there.
  /// Whether an object is held.
  explicit operator bool() const noexcept { return pointer_ != nullptr; }
  /// Whether both hold the same object, or none.
  template <typename U>
  bool operator==(const SmartPtr<U>& other) const noexcept {
    return pointer_ == other.get();
  }
  /// Whether nothing is held.
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
  // A reference more, or one less, through the base that holds the count.
  void RetainHeld() const noexcept {
    if (pointer_ != nullptr) static_cast<const Retainable*>(pointer_)->Retain();
  }
  static void ReleaseObject(T* object) noexcept {
    if (object != nullptr) static_cast<const Retainable*>(object)->Release();
  }

  T* pointer_ = nullptr;
};

/// A new counted reference to an object that is already owned elsewhere (`this`, a raw back link). One that
/// a destructor makes of its own object has to be gone when that destructor's class is.
template <typename T>
SmartPtr<T> make_ref(T* object) noexcept {
  return SmartPtr<T>::Retained(object);
}

}  // namespace Hux
