#include "PlannedFolders.h"

#include <string>

#include "Files/FileIdentity.h"
#include "Posix/FileOps.h"

FileStatus PlannedFolders::OpenFile(const BundlePlan::Step& step, std::optional<OxFile>& file) {
  const bool isLink = step.kind == BundlePlan::StepKind::kLinkedFile;
  const unsigned long permission = OxFile::kRead | (isLink ? 0UL : OxFile::kNoLink);
  FileStatus status = kStatusOk;
  const int result = Do(step.folder, step.leaf.data(), [&](Posix::Place place) {
    file.emplace(OxFile::NativePath{std::string(step.leaf), place.folder});
    status = file->Open(permission);
    return status == kStatusTooManyFiles ? -EMFILE : 0;
  });
  return result < 0 && status == kStatusOk ? StatusOfResult(result) : status;
}

std::optional<Posix::FileInfo> PlannedFolders::Identify(std::uint32_t folder, const char* leaf) {
  Posix::FileInfo info;
  const int result =
      Do(folder, leaf, [&](Posix::Place place) { return Posix::Files().Status(place, info); });
  return Identified(result, info, [&] { return plan_.PathOf(folder, leaf); });
}

int PlannedFolders::GoTo(std::uint32_t folder) {
  if (isBegun_ && here_ == folder) return 0;
  BundlePlan::Route route = plan_.FindRoute(here_, folder);
  if (!isBegun_ || !Leave(route.leave)) {
    const int begun = Begin();
    if (begun < 0) return begun;
    route = plan_.FindRoute(0, folder);
  }
  for (const std::uint32_t next : route.enter) {
    const bool isLink = plan_.folders[next].isLink;
    const int entered =
        way_.Enter(plan_.Leaf(next), isLink ? OpenFolders::Links::kFollow : OpenFolders::Links::kRefuse);
    if (entered < 0) return entered;
    here_ = next;
  }
  return 0;
}

int PlannedFolders::Begin() {
  const int begun = way_.Begin(plan_.root.c_str());
  isBegun_ = begun >= 0;
  here_ = 0;
  return begun;
}

// Whether the way back could be found.
bool PlannedFolders::Leave(std::size_t count) {
  for (; count > 0; --count) {
    if (way_.Leave() < 0) return false;
    here_ = plan_.folders[here_].parent;
  }
  return true;
}
