#include "Posix/LazyLibrary.h"

#include <string>

#include <dlfcn.h>

namespace Posix {

void* LazyLibrary::Find(const char* function) {
  if (handle_ == nullptr) handle_ = ::dlopen(name_, RTLD_NOW | RTLD_LOCAL);
  void* const address = handle_ != nullptr ? ::dlsym(handle_, function) : nullptr;
  if (address != nullptr) return address;
  const char* const reason = ::dlerror();
  throw LibraryNotLoaded(std::string("cannot load ") + name_ + ": " +
                         (reason != nullptr ? reason : function));
}

}  // namespace Posix
