#include "Foundation/SecureZeroMemory.h"

#include <cstring>

void SecureZeroMemory(void* memory, std::size_t count) {
  if (count > 0) explicit_bzero(memory, count);
}

[[gnu::noinline]] void SecureZeroUnusedStack() {
  unsigned char frames[16 * 1024];
  SecureZeroMemory(frames, sizeof frames);
}
