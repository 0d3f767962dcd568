#include "Posix/MemoryImages.h"

#include <sys/prctl.h>
#include <sys/resource.h>

// The limit alone does not hold where core images are piped to a program.
void Posix::ForbidMemoryImages() {
  const rlimit none = {.rlim_cur = 0, .rlim_max = 0};
  static_cast<void>(::setrlimit(RLIMIT_CORE, &none));
  static_cast<void>(::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0));
}
