#include "NameClashes.h"

#include <limits>
#include <optional>

#include "Console.h"
#include "Storage/OxFile.h"

namespace {

struct HashOfName {
  std::size_t operator()(const OxString& name) const { return HashNoCase(name); }
};

struct SameName {
  bool operator()(const OxString& a, const OxString& b) const {
    return a.compare(b, OxString::kCaseInsensitive) == 0;
  }
};

// The step that holds a name, and the bytes that its place in an archive offers.
struct Place {
  std::size_t step = 0;
  std::uint64_t room = 0;
};

std::optional<std::uint64_t> SizeOfReadableFile(const OxString& path) {
  OxFile file(path);
  if (file.Open(OxFile::kRead) != 0) return std::nullopt;
  const std::uint64_t size = file.GetLastKnownLength();
  if (size > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
  return size;
}

// The size of each file that will be stored; nothing for every other step.
std::vector<std::optional<std::uint64_t>> SizesOfStoredFiles(const BundlePlan& plan) {
  std::vector<std::optional<std::uint64_t>> sizes(plan.steps.size());
  for (std::size_t step = 0; step < plan.steps.size();) {
    const BundlePlan::StepKind kind = plan.steps[step].kind;
    if (kind == BundlePlan::StepKind::kFile) sizes[step] = SizeOfReadableFile(plan.SourcePath(step));
    const bool goesOn = sizes[step].has_value() || kind == BundlePlan::StepKind::kUnlistedFolder;
    step = goesOn ? step + 1 : plan.EndOfFolder(step);
  }
  return sizes;
}

// Stores the later file's bytes; returns the place that holds the name from now on.
Place Replace(BundlePlan& plan, const Place& earlier, const Place& later) {
  Console::Error("warning: '%s' and '%s' differ only in letter case, the later one is stored\n",
                 plan.RecordName(earlier.step).c_str(), plan.RecordName(later.step).c_str());
  if (later.room > earlier.room) {
    plan.steps[earlier.step].kind = BundlePlan::StepKind::kLeftOut;
    return later;
  }
  plan.replacements[earlier.step] = later.step;
  plan.steps[later.step].kind = BundlePlan::StepKind::kLeftOut;
  return earlier;
}

}  // namespace

void ResolveNameClashes(BundlePlan& plan) {
  const auto sizes = SizesOfStoredFiles(plan);
  std::unordered_map<OxString, Place, HashOfName, SameName> places;
  for (std::size_t step = 0; step < sizes.size(); ++step) {
    if (!sizes[step]) continue;
    const Place here = {step, *sizes[step]};
    const auto [known, isNew] = places.try_emplace(plan.RecordName(step), here);
    if (!isNew) known->second = Replace(plan, known->second, here);
  }
}
