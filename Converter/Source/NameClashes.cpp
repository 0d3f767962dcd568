#include "NameClashes.h"

#include <algorithm>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "Console.h"
#include "Storage/OxFile.h"

namespace {

using StepKind = BundlePlan::StepKind;

// The step that holds a name, and the bytes that its place in an archive offers.
struct Place {
  std::size_t step = 0;
  std::uint64_t room = 0;
};

std::optional<std::uint64_t> SizeOfReadableFile(const OxString& path) {
  OxFile file(path);
  if (file.Open(OxFile::kRead) != 0) return std::nullopt;
  const std::uint64_t size = file.GetLastKnownLength();
  if (size > kLargestStoredFile) return std::nullopt;
  return size;
}

bool IsPassedOver(StepKind kind) {
  return kind == StepKind::kUnlistedFolder || kind == StepKind::kLeftOut;
}

// The size of each file that will be stored; nullopt for every other step. A file that cannot be read now must not be
// stored later, since nothing was decided about its name.
std::vector<std::optional<std::uint64_t>> SizesOfStoredFiles(BundlePlan& plan) {
  std::vector<std::optional<std::uint64_t>> sizes(plan.steps.size());
  for (std::size_t step = 0; step < plan.steps.size();) {
    StepKind& kind = plan.steps[step].kind;
    if (kind == StepKind::kFile) {
      sizes[step] = SizeOfReadableFile(plan.SourcePath(step));
      if (!sizes[step]) kind = StepKind::kUnreadable;
    }
    const bool goesOn = sizes[step].has_value() || IsPassedOver(kind);
    step = goesOn ? step + 1 : plan.EndOfFolder(step);
  }
  return sizes;
}

// Stores the later file's bytes; returns the place that holds the name from now on.
Place Replace(BundlePlan& plan, const Place& earlier, const Place& later) {
  Console::Error("warning: '%s' and '%s' differ only in letter case, the later one is stored\n",
                 plan.RecordName(earlier.step).c_str(), plan.RecordName(later.step).c_str());
  if (later.room > earlier.room) {
    plan.steps[earlier.step].kind = StepKind::kLeftOut;
    return later;
  }
  plan.replacements[earlier.step] = later.step;
  plan.steps[later.step].kind = StepKind::kLeftOut;
  return earlier;
}

}  // namespace

bool FoldedName::operator<(const FoldedName& other) const {
  return hash != other.hash ? hash < other.hash : CompareNoCase(name, other.name) < 0;
}

bool FoldedName::IsComparable() const {
  return CompareNoCase(name, name) == 0;
}

bool HasEqualNames(std::vector<FoldedName> names) {
  std::erase_if(names, [](const FoldedName& name) { return !name.IsComparable(); });
  std::ranges::sort(names, std::less());
  return std::ranges::adjacent_find(names, std::not_fn(std::less())) != names.end();
}

bool HasNameClashes(const std::vector<OxFolderEntry>& entries) {
  std::vector<FoldedName> names;
  names.reserve(entries.size());
  for (const OxFolderEntry& entry : entries) names.emplace_back(entry.name.view());
  return HasEqualNames(std::move(names));
}

void ResolveNameClashes(BundlePlan& plan) {
  const auto sizes = SizesOfStoredFiles(plan);
  std::vector<OxString> names(sizes.size());
  std::map<FoldedName, Place> places;
  for (std::size_t step = 0; step < sizes.size(); ++step) {
    if (!sizes[step]) continue;
    names[step] = plan.RecordName(step);
    const FoldedName name(names[step].view());
    if (!name.IsComparable()) continue;
    const Place here = {step, *sizes[step]};
    const auto [known, isNew] = places.try_emplace(name, here);
    if (!isNew) known->second = Replace(plan, known->second, here);
  }
}
