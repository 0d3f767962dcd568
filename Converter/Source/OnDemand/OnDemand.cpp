#include "OnDemand/OnDemand.h"

#include "Console.h"

void* FindOnDemand(Posix::LazyLibrary& library, const char* function) {
  static bool isReported = false;
  try {
    return library.Find(function);
  } catch (const Posix::LibraryNotLoaded& failure) {
    if (!isReported) Console::Error("Error: %s\n", failure.what());
    isReported = true;
    throw;
  }
}
