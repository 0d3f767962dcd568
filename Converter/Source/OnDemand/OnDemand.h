#pragma once

#include "Posix/LazyLibrary.h"

// The program defines the functions of its two large libraries itself, as stubs: each loads the library at its
// first call and passes the call on. A run that neither signs nor verifies never loads the cryptographic library,
// and one without text beyond ASCII and UTF-8 never loads ICU; loading both takes most of a short run. The
// installed libraries know nothing of this: their users link both as usual.

/// Where `function` really is. Throws Posix::LibraryNotLoaded, the first time after a line on standard error.
void* FindOnDemand(Posix::LazyLibrary& library, const char* function);

#define OX_TEXT_OF(name) #name
#define OX_EXPANDED_TEXT_OF(name) OX_TEXT_OF(name)

/// Defines a stub. The compiler compares it with the library's own declaration.
#define OX_ON_DEMAND(library, result, name, parameters, arguments)                           \
  result name parameters {                                                                   \
    static const auto real =                                                                 \
        reinterpret_cast<decltype(&name)>(FindOnDemand(library, OX_EXPANDED_TEXT_OF(name))); \
    return real arguments;                                                                   \
  }
