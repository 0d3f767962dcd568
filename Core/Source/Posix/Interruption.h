#pragma once

#include <memory>
#include <string>

namespace Posix {

/// Ignores SIGPIPE and SIGXFSZ for the process: the write that would raise them fails instead.
void IgnoreWriteSignals();

/// Deletes a partly written file when the process is interrupted: on SIGINT, SIGTERM or SIGHUP the file is
/// removed and the process ends by that signal. When its path leads to another object by then, or it cannot
/// be removed, it is truncated to zero length.
///   Shape:  made -> the caller opens its file -> Arm() -> destroyed. Between construction and Arm() the
///           signals are blocked, so that a file that could not be opened is never removed, and one that
///           was opened is never left.
///   Ignored signals (nohup, background jobs) stay ignored.
///   One at a time; the destructor restores the previous handlers.
class InterruptionGuard {
 public:
  /// `path` must be absolute, or the working directory must stay the same.
  explicit InterruptionGuard(std::string path);
  InterruptionGuard(const InterruptionGuard&) = delete;
  InterruptionGuard& operator=(const InterruptionGuard&) = delete;
  ~InterruptionGuard();

  /// From now on an interruption removes the file, which is open as `descriptor`; a signal that was blocked
  /// is delivered at once. The file may be closed while the guard is armed.
  void Arm(int descriptor);

 private:
  struct Saved;

  const std::string path_;
  std::unique_ptr<Saved> saved_;
};

}  // namespace Posix
