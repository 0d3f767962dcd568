#pragma once

#include <stdexcept>

namespace Posix {

/// A shared library, or a function in it, that cannot be loaded. what() names it and the loader's reason.
class LibraryNotLoaded : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A shared library that is loaded when one of its functions is first needed, from where the system's loader
/// looks for it. It stays loaded. One thread may use an object at a time.
class LazyLibrary {
 public:
  /// `name` as the loader knows it, "libcrypto.so.3"; it must outlive this object.
  explicit constexpr LazyLibrary(const char* name) noexcept : name_(name) {}

  /// The address of a function, never null. Throws LibraryNotLoaded.
  void* Find(const char* function);

 private:
  const char* name_;
  void* handle_ = nullptr;
};

}  // namespace Posix
