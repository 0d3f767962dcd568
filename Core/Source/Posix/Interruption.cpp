#include "Posix/Interruption.h"

#include <array>
#include <atomic>
#include <utility>

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::array<int, 3> kInterruptions = {SIGINT, SIGTERM, SIGHUP};

// A partly written file: where it was made, and what it is.
struct PartialFile {
  const char* path = nullptr;
  int descriptor = -1;
  struct stat identity = {};

  bool Is(const struct stat& found) const {
    return found.st_dev == identity.st_dev && found.st_ino == identity.st_ino;
  }
};

std::atomic<const PartialFile*> fileToRemove = nullptr;
static_assert(std::atomic<const PartialFile*>::is_always_lock_free, "a signal handler reads it");

// A closed descriptor's number may belong to another file by now.
void RemoveOrCut(const PartialFile& file) {
  struct stat found = {};
  const bool isNamed = ::lstat(file.path, &found) == 0 && file.Is(found);
  if (isNamed && ::unlink(file.path) == 0) return;
  const bool isOpen = ::fstat(file.descriptor, &found) == 0 && file.Is(found);
  if (isOpen && ::ftruncate(file.descriptor, 0) != 0) return;
}

// Only calls that are safe inside a handler. The handling was reset to the default on entry and the
// signal is held back while the handler runs, so that raising it again ends the process on return.
void RemoveAndEnd(int number) {
  const PartialFile* file = fileToRemove.load();
  if (file != nullptr) RemoveOrCut(*file);
  ::raise(number);
}

sigset_t InterruptionSet() {
  sigset_t set;
  ::sigemptyset(&set);
  for (int number : kInterruptions) ::sigaddset(&set, number);
  return set;
}

}  // namespace

void Posix::IgnoreWriteSignals() {
  ::signal(SIGPIPE, SIG_IGN);
  ::signal(SIGXFSZ, SIG_IGN);
}

struct Posix::InterruptionGuard::Saved {
  PartialFile file;
  sigset_t mask;
  std::array<struct sigaction, kInterruptions.size()> actions;
};

Posix::InterruptionGuard::InterruptionGuard(std::string path)
    : path_(std::move(path)), saved_(std::make_unique<Saved>()) {
  const sigset_t interruptions = InterruptionSet();
  ::sigprocmask(SIG_BLOCK, &interruptions, &saved_->mask);
  struct sigaction action = {};
  action.sa_handler = RemoveAndEnd;
  action.sa_mask = interruptions;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  for (std::size_t i = 0; i < kInterruptions.size(); ++i) {
    ::sigaction(kInterruptions[i], nullptr, &saved_->actions[i]);
    if (saved_->actions[i].sa_handler == SIG_IGN) continue;
    ::sigaction(kInterruptions[i], &action, nullptr);
  }
}

void Posix::InterruptionGuard::Arm(int descriptor) {
  saved_->file.path = path_.c_str();
  saved_->file.descriptor = descriptor;
  if (::fstat(descriptor, &saved_->file.identity) == 0) fileToRemove = &saved_->file;
  ::sigprocmask(SIG_SETMASK, &saved_->mask, nullptr);
}

Posix::InterruptionGuard::~InterruptionGuard() {
  fileToRemove = nullptr;
  for (std::size_t i = 0; i < kInterruptions.size(); ++i) {
    ::sigaction(kInterruptions[i], &saved_->actions[i], nullptr);
  }
  ::sigprocmask(SIG_SETMASK, &saved_->mask, nullptr);
}
