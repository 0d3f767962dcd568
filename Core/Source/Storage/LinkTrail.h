#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <unordered_map>

/// Tells a walk along the links of a list when it comes to a place for the second time, so that damaged
/// links cannot lead it in a circle.
///   Memory: none while the positions ascend, as they do in every archive that was written in one go. The
///           first link that leads back makes it walk the way once more and remember the places from
///           then on.
///   Changes of the list begin a new trail: what was seen before may well come again.
///   Copies share what is remembered, so copying costs nothing.
///   A step that throws std::bad_alloc has not been made.
class LinkTrail {
 public:
  /// Gives the link that a place has; kNoPosition when it cannot be read.
  using NextOf = std::function<std::uint64_t(std::uint64_t position)>;

  /// The walk begins at `start`, a position. `change` is the number of the list's last change.
  explicit LinkTrail(std::uint64_t start = 0, std::uint64_t change = 0)
      : start_(start), highest_(start), change_(change) {}

  /// Notes the step to `next`, which is a position. False if the walk has been there before, since the list
  /// was last changed.
  bool StepTo(std::uint64_t next, const NextOf& nextOf, std::uint64_t change = 0);

 private:
  void RememberTheWay(const NextOf& nextOf);

  std::uint64_t start_;
  std::uint64_t highest_;
  std::uint64_t steps_ = 0;
  std::uint64_t change_;
  std::shared_ptr<std::unordered_map<std::uint64_t, std::uint64_t>> stepOf_;
};
