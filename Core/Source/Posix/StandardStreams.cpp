#include "Posix/StandardStreams.h"

#include <cstdio>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

bool outputIsTerminal = false;
bool errorIsTerminal = false;

// The lowest free number is the one that open(2) gives, so going upward fills each gap in turn. Where there is
// no null device the root folder serves: writing to it fails, too.
void OccupyClosedDescriptors() {
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    if (::fcntl(descriptor, F_GETFD) != -1) continue;
    if (::open("/dev/null", O_RDONLY) == -1) static_cast<void>(::open("/", O_RDONLY));
  }
}

}  // namespace

void Posix::PrepareStandardStreams() {
  OccupyClosedDescriptors();
  FindTerminals();
  static char buffer[1 << 16];
  if (!outputIsTerminal) std::setvbuf(stdout, buffer, _IOFBF, sizeof buffer);
}

void Posix::FindTerminals() {
  outputIsTerminal = ::isatty(STDOUT_FILENO) == 1;
  errorIsTerminal = ::isatty(STDERR_FILENO) == 1;
}

bool Posix::StandardOutputIsTerminal() {
  return outputIsTerminal;
}

bool Posix::StandardErrorIsTerminal() {
  return errorIsTerminal;
}

bool Posix::ReaderOfStandardOutputIsGone() {
  pollfd output = {.fd = STDOUT_FILENO, .events = 0, .revents = 0};
  return ::poll(&output, 1, 0) == 1 && (output.revents & POLLERR) != 0;
}
