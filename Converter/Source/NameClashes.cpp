#include "NameClashes.h"

#include <algorithm>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "Console.h"
#include "Files/OxFile.h"
#include "Foundation/StringWalk.h"
#include "PlannedFolders.h"

namespace {

using StepKind = BundlePlan::StepKind;
using Position = BundlePlan::Position;

// A file that will be stored, and the bytes that its place in an archive offers.
struct StoredFile {
  Position step = 0;
  std::uint64_t room = 0;
  OxString name;
};

bool IsPassedOver(StepKind kind) {
  return kind == StepKind::kUnlistedFolder || kind == StepKind::kLeftOut;
}

std::optional<std::uint64_t> SizeOfReadableFile(const BundlePlan::Step& step, PlannedFolders& folders) {
  std::optional<OxFile> file;
  if (!BundlePlan::IsFile(step.kind) || folders.OpenFile(step, file) != kStatusOk) return std::nullopt;
  const std::uint64_t size = file->GetLastKnownLength();
  if (size > kLargestStoredFile) return std::nullopt;
  return size;
}

// A file that cannot be read now must not be stored later, since nothing was decided about its name.
std::vector<StoredFile> StoredFiles(BundlePlan& plan) {
  PlannedFolders folders(plan);
  RecordNames names(plan);
  std::vector<StoredFile> stored;
  for (Position at = 0; at < plan.End();) {
    const BundlePlan::Step step = plan.At(at);
    const std::optional<std::uint64_t> size = SizeOfReadableFile(step, folders);
    if (size) stored.push_back({at, *size, names.Of(step)});
    if (!size && BundlePlan::IsFile(step.kind)) plan.SetKind(at, StepKind::kUnreadable);
    at = size || IsPassedOver(step.kind) ? plan.Next(at) : plan.EndOfFolder(at);
  }
  return stored;
}

// Stores the later file's bytes; returns the file that holds the name from now on.
StoredFile& Replace(BundlePlan& plan, StoredFile& earlier, StoredFile& later) {
  Console::Error("warning: '%s' and '%s' differ only in letter case, the later one is stored\n",
                 earlier.name.c_str(), later.name.c_str());
  if (later.room > earlier.room) {
    plan.SetKind(earlier.step, StepKind::kLeftOut);
    return later;
  }
  plan.replacements[earlier.step] = later.step;
  plan.SetKind(later.step, StepKind::kLeftOut);
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

// Hardly any folder has two equal hashes.
bool HasNameClashes(const std::vector<Posix::FolderEntry>& entries) {
  std::vector<std::size_t> hashes;
  hashes.reserve(entries.size());
  for (const Posix::FolderEntry& entry : entries) {
    if (StringWalk::IsAcceptable(entry.name)) hashes.push_back(HashNoCase(std::string_view(entry.name)));
  }
  std::ranges::sort(hashes);
  if (std::ranges::adjacent_find(hashes) == hashes.end()) return false;
  std::vector<FoldedName> names;
  for (const Posix::FolderEntry& entry : entries) {
    if (StringWalk::IsAcceptable(entry.name)) names.emplace_back(std::string_view(entry.name));
  }
  return HasEqualNames(std::move(names));
}

void ResolveNameClashes(BundlePlan& plan) {
  std::vector<StoredFile> files = StoredFiles(plan);
  std::map<FoldedName, StoredFile*> owners;
  for (StoredFile& file : files) {
    const FoldedName name(file.name.view());
    if (!name.IsComparable()) continue;
    const auto [owner, isNew] = owners.try_emplace(name, &file);
    if (!isNew) owner->second = &Replace(plan, *owner->second, file);
  }
}
