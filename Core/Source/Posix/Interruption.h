#pragma once

#include <memory>
#include <string>

namespace Posix {

/// Ignores SIGPIPE and SIGXFSZ for the process: the write that would raise them fails instead.
void IgnoreWriteSignals();

/// Deletes a partly written file, or a folder with everything in it, when the process is interrupted: on SIGINT,
/// SIGTERM or SIGHUP it is removed and the process ends by that signal. When its path leads to another object by
/// then, or it cannot be removed, a file is truncated to zero length and a folder emptied.
///   Shape:  made -> the caller makes and opens it -> Arm() -> destroyed. Between construction and Arm() the
///           signals are blocked, so that what could not be opened is never removed, and what was opened is
///           never left.
///   Ignored signals (nohup, background jobs) stay ignored.
///   One at a time; the destructor restores the previous handlers.
class InterruptionGuard {
 public:
  /// `path` must be absolute, or the working directory must stay the same.
  explicit InterruptionGuard(std::string path);
  InterruptionGuard(const InterruptionGuard&) = delete;
  InterruptionGuard& operator=(const InterruptionGuard&) = delete;
  ~InterruptionGuard();

  /// From now on an interruption removes the object, which is open as `descriptor`; a signal that was blocked is
  /// delivered at once. A file may be closed while the guard is armed; a folder must stay open.
  void Arm(int descriptor);

 private:
  struct Saved;

  const std::string path_;
  std::unique_ptr<Saved> saved_;
};

}  // namespace Posix
