#pragma once

#include <cerrno>
#include <cstdint>
#include <optional>

#include "BundlePlan.h"
#include "Files/OpenFolders.h"
#include "Files/OxFile.h"
#include "Posix/FileOps.h"

/// The folders of a plan on the disk, each opened in the one above it, so that a deep one costs no more than any
/// other. A link that took the place of a folder since it was listed is not followed.
///   Errors: what Posix::FileOps gives.
class PlannedFolders {
 public:
  /// `plan` is not owned.
  explicit PlannedFolders(const BundlePlan& plan) : plan_(plan) {}

  /// Opens the first folder, as the first use of one does otherwise.
  int Begin();
  /// Calls `operation(place)` for a name in a folder and returns its result, or that of the failure to get there. It
  /// is called once more where handles were to spare when it ran out of them.
  template <typename Operation>
  int Do(std::uint32_t folder, const char* leaf, Operation operation) {
    const int there = GoTo(folder);
    if (there < 0) return there;
    const int result = operation(way_.In(leaf));
    const bool hasTooFewHandles = result == -EMFILE || result == -ENFILE;
    return hasTooFewHandles && way_.CloseSpareHandles() ? operation(way_.In(leaf)) : result;
  }
  /// As Identify() of a path, for a name in a folder; "." is the folder.
  std::optional<Posix::FileInfo> Identify(std::uint32_t folder, const char* leaf);
  /// Opens a step's file for reading; a link only if the step is for one.
  FileStatus OpenFile(const BundlePlan::Step& step, std::optional<OxFile>& file);

 private:
  int GoTo(std::uint32_t folder);
  bool Leave(std::size_t count);

  const BundlePlan& plan_;
  OpenFolders way_{OpenFolders::Links::kFollow};
  bool isBegun_ = false;
  std::uint32_t here_ = 0;
};
