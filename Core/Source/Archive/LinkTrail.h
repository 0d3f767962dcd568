#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <unordered_map>

namespace FlatFile {

/// Detects when a walk along a linked list reaches a position for the second time, so that damaged links cannot make it
/// endless.
///   Memory: none while the positions ascend, as they do in every archive that was written in one go. The
///           first link that leads back makes it re-walk from the start and record every position.
///   Changes: after a change of the list positions may come again, so a new trail begins.
///   Copies share the recorded positions, so copying is cheap.
///   Errors: a step that throws std::bad_alloc has not been made.
class LinkTrail {
 public:
  /// Returns the `next` of a position; kNoPosition when it cannot be read.
  using NextOf = std::function<std::uint64_t(std::uint64_t position)>;

  /// The walk begins at `start`, a position. `change` is the number of the list's last change.
  explicit LinkTrail(std::uint64_t start = 0, std::uint64_t change = 0)
      : start_(start), highest_(start), change_(change) {}

  /// Records the step to `next`, a position. False if the walk has been there since the list was last changed.
  bool StepTo(std::uint64_t next, const NextOf& nextOf, std::uint64_t change = 0);

 private:
  void RememberTheWay(const NextOf& nextOf);

  std::uint64_t start_;
  std::uint64_t highest_;
  std::uint64_t steps_ = 0;
  std::uint64_t change_;
  std::shared_ptr<std::unordered_map<std::uint64_t, std::uint64_t>> stepOf_;
};

}  // namespace FlatFile
