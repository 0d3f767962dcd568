#include "Posix/Interruption.h"

#include <array>
#include <atomic>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::array<int, 3> kInterruptions = {SIGINT, SIGTERM, SIGHUP};

// A partly written file or folder: where it was made, and what it is.
struct PartialObject {
  const char* path = nullptr;
  int descriptor = -1;
  struct stat identity = {};

  bool Is(const struct stat& found) const {
    return found.st_dev == identity.st_dev && found.st_ino == identity.st_ino;
  }
};

std::atomic<const PartialObject*> objectToRemove = nullptr;
static_assert(std::atomic<const PartialObject*>::is_always_lock_free, "a signal handler reads it");

bool IsSelfOrParent(const char* name) {
  return name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0));
}

// Removes what can be removed from a folder until it comes to one that is not empty, which it opens; -1 when
// there is none, or none that can be opened.
int RemoveEntries(int folder, bool& removed) {
  alignas(dirent64) char entries[4096];
  ssize_t size = 0;
  while ((size = ::getdents64(folder, entries, sizeof entries)) > 0) {
    for (ssize_t at = 0; at < size;) {
      const auto* const entry = reinterpret_cast<const dirent64*>(entries + at);
      at += entry->d_reclen;
      if (IsSelfOrParent(entry->d_name)) continue;
      if (::unlinkat(folder, entry->d_name, 0) == 0 ||
          ::unlinkat(folder, entry->d_name, AT_REMOVEDIR) == 0) {
        removed = true;
        continue;
      }
      const int below = ::openat(folder, entry->d_name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
      if (below >= 0) return below;
    }
  }
  return -1;
}

// Goes down from the top again and again, as there is no memory to be had for the way. It never goes up, so
// that it stays inside although somebody moves a folder.
void EmptyFolder(int top) {
  for (bool removed = true; removed;) {
    removed = false;
    int folder = ::openat(top, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    while (folder >= 0) {
      const int below = RemoveEntries(folder, removed);
      ::close(folder);
      folder = below;
    }
  }
}

// A closed descriptor's number may belong to another object by now.
void RemoveOrCut(const PartialObject& object) {
  struct stat found = {};
  const bool isOpen = ::fstat(object.descriptor, &found) == 0 && object.Is(found);
  const bool isFolder = S_ISDIR(object.identity.st_mode);
  if (isOpen && isFolder) EmptyFolder(object.descriptor);
  const bool isNamed = ::lstat(object.path, &found) == 0 && object.Is(found);
  if (isNamed && ::unlinkat(AT_FDCWD, object.path, isFolder ? AT_REMOVEDIR : 0) == 0) return;
  if (isOpen && !isFolder && ::ftruncate(object.descriptor, 0) != 0) return;
}

// Only calls that are safe inside a handler. The handling was reset to the default on entry and the
// signal is held back while the handler runs, so that raising it again ends the process on return.
void RemoveAndEnd(int number) {
  const PartialObject* object = objectToRemove.load();
  if (object != nullptr) RemoveOrCut(*object);
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
  PartialObject object;
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
  saved_->object.path = path_.c_str();
  saved_->object.descriptor = descriptor;
  if (::fstat(descriptor, &saved_->object.identity) == 0) objectToRemove = &saved_->object;
  ::sigprocmask(SIG_SETMASK, &saved_->mask, nullptr);
}

Posix::InterruptionGuard::~InterruptionGuard() {
  objectToRemove = nullptr;
  for (std::size_t i = 0; i < kInterruptions.size(); ++i) {
    ::sigaction(kInterruptions[i], &saved_->actions[i], nullptr);
  }
  ::sigprocmask(SIG_SETMASK, &saved_->mask, nullptr);
}
