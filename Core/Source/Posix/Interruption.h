#pragma once

#include <memory>
#include <string>

namespace Posix {

/// Ignores SIGPIPE and SIGXFSZ for the process: the write that would raise them fails instead.
void IgnoreWriteSignals();

/// Deletes a partly written file when the process is interrupted: on SIGINT, SIGTERM or SIGHUP the file is
/// removed and the process ends by that signal. When its path leads to another object by then, or it cannot
/// be removed, it is cut to no bytes.
///   Shape:  made -> the caller opens its file -> Arm() -> destroyed. Between construction and Arm() the
///           signals are held back, so that a file that could not be opened is never removed and
///           one that was is never left.
///   Ignored signals (nohup, background jobs) stay ignored.
///   One at a time; the destructor puts the former handling back.
class InterruptionGuard {
 public:
  /// `path` is removed as it stands, so it should be absolute or the working directory stay.
  explicit InterruptionGuard(std::string path);
  InterruptionGuard(const InterruptionGuard&) = delete;
  InterruptionGuard& operator=(const InterruptionGuard&) = delete;
  ~InterruptionGuard();

  /// From now on an interruption removes the file, which is open as `descriptor`; one that was held back
  /// does so at once. The file may be closed while the guard is armed.
  void Arm(int descriptor);

 private:
  struct Saved;

  const std::string path_;
  std::unique_ptr<Saved> saved_;
};

}  // namespace Posix
