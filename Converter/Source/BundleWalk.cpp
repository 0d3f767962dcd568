#include "BundleWalk.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Files/FileIdentity.h"
#include "Files/OxFileUtils.h"
#include "Foundation/StringComparison.h"
#include "Foundation/StringWalk.h"
#include "NameClashes.h"
#include "PlannedFolders.h"
#include "Posix/FileOps.h"

namespace {

using Posix::FileInfo;
using Posix::FileKind;
using Posix::FolderEntry;
using Posix::Place;
using StepKind = BundlePlan::StepKind;

// Whether a record can have the name, and a path can hold it as it is.
bool IsUsable(std::string_view name) {
  return name.find('\\') == std::string_view::npos && StringWalk::IsAcceptable(name);
}

bool IsDescription(std::string_view name) {
  constexpr std::string_view kExtension = ".wob";
  if (name.size() < kExtension.size()) return false;
  const std::string_view end = name.substr(name.size() - kExtension.size());
  return end.starts_with('.') && CompareNoCase(end, kExtension) == 0;
}

std::string WithSlash(std::string path) {
  if (!path.empty() && !path.ends_with('/')) path += '/';
  return path;
}

// A folder that is gone, or no folder any more, has no entries.
bool IsListed(int result) {
  return result >= 0 || result == -ENOENT || result == -ENOTDIR;
}

class Walk {
 public:
  explicit Walk(const OxPath& archive)
      : archivePath_(archive), archive_(::Identify(archive.native_string())) {
    plan_.archive = archive_;
    if (archive_ && archive_->kind == FileKind::kFolder) archive_.reset();
  }

  BundlePlan Run(const OxPath& root, const OxPath& relative);

 private:
  // A folder that the walk is in, with what is left of its entries.
  struct Level {
    std::uint32_t folder = 0;
    bool isBehindLink = false;
    std::vector<FolderEntry> entries;
    std::size_t next = 0;
    std::optional<FileInfo> identity;
  };

  void Begin(const OxPath& root, const OxPath& relative);
  void Visit(const FolderEntry& entry);
  void VisitFolder(const std::string& name, const std::optional<FileInfo>& target);
  void VisitFile(const FolderEntry& entry, const std::optional<FileInfo>& target);
  bool IsBeingWalked(const FileInfo& folder);
  void Enter(bool isLink, const std::string& name, std::vector<FolderEntry> entries);
  void AddUnlistedFolder(const std::string& name);
  bool IsArchive(const FolderEntry& entry, const std::optional<FileInfo>& target);
  void CountLinked(std::size_t& count, std::size_t most, const char* what);

  std::uint32_t Here() const { return levels_.back().folder; }
  std::optional<FileInfo> TargetOf(const std::string& link);
  void AddStep(std::string_view leaf, StepKind kind) { plan_.Add(kind, Here(), leaf); }

  BundlePlan plan_;
  PlannedFolders folders_{plan_};
  std::vector<Level> levels_;
  std::size_t linkedFolders_ = 0;
  std::size_t linkedFiles_ = 0;
  const OxPath archivePath_;
  std::optional<FileInfo> archive_;
};

BundlePlan Walk::Run(const OxPath& root, const OxPath& relative) {
  Begin(root, relative);
  while (!levels_.empty() && plan_.failure.empty()) {
    Level& level = levels_.back();
    if (level.next == level.entries.size()) {
      plan_.folders[level.folder].end = plan_.End();
      levels_.pop_back();
    } else {
      Visit(std::exchange(level.entries[level.next++], FolderEntry()));
    }
  }
  return std::move(plan_);
}

void Walk::Begin(const OxPath& root, const OxPath& relative) {
  const OxPath top = relative.native_string().empty() ? root : root / relative;
  plan_.root = top.native_string().view();
  plan_.rootName = WithSlash(std::string(relative.portable_string().view()));
  std::vector<FolderEntry> entries;
  const int listed = Posix::Files().ListFolder(plan_.root.c_str(), entries);
  if (!IsListed(listed) || !IsListed(folders_.Begin())) {
    plan_.failure.format("Error: Unable to read %s", top.leaf().c_str());
    return;
  }
  Enter(false, "", std::move(entries));
}

// Nothing for a link that leads nowhere or cannot be followed.
std::optional<FileInfo> Walk::TargetOf(const std::string& link) {
  FileInfo info;
  const int result =
      folders_.Do(Here(), link.c_str(), [&](Place place) { return Posix::Files().Status(place, info); });
  return result >= 0 ? std::optional(info) : std::nullopt;
}

void Walk::Visit(const FolderEntry& entry) {
  const bool isLink = entry.kind == FileKind::kLink;
  const auto target =
      isLink && StringWalk::IsAcceptable(entry.name) ? TargetOf(entry.name) : std::nullopt;
  const FileKind kind = target ? target->kind : entry.kind;
  if (kind == FileKind::kFolder && IsUsable(entry.name)) return VisitFolder(entry.name, target);
  if (isLink || levels_.back().isBehindLink) CountLinked(linkedFiles_, kMostLinkedFiles, "files");
  VisitFile(entry, target);
}

void Walk::VisitFile(const FolderEntry& entry, const std::optional<FileInfo>& target) {
  const FileKind kind = target ? target->kind : entry.kind;
  const bool isArchive = IsArchive(entry, target);
  plan_.reachesArchive = plan_.reachesArchive || isArchive;
  if (!StringWalk::IsAcceptable(entry.name)) {
    return AddStep(OxFileUtils::ShownName(entry.name).view(), StepKind::kUnreadable);
  }
  if (!IsUsable(entry.name)) return AddStep(entry.name, StepKind::kUnreadable);
  if (isArchive || IsDescription(entry.name)) return;
  if (kind == FileKind::kLink) return AddStep(entry.name, StepKind::kDanglingLink);
  if (kind != FileKind::kRegular) return AddStep(entry.name, StepKind::kUnreadable);
  AddStep(entry.name, target ? StepKind::kLinkedFile : StepKind::kFile);
}

// `target` is that of a link.
void Walk::VisitFolder(const std::string& name, const std::optional<FileInfo>& target) {
  if (target || levels_.back().isBehindLink) {
    const auto identity = target ? target : folders_.Identify(Here(), name.c_str());
    if (identity && IsBeingWalked(*identity))
      return CountLinked(linkedFiles_, kMostLinkedFiles, "files");
    CountLinked(linkedFolders_, kMostLinkedFolders, "folders");
  }
  std::vector<FolderEntry> entries;
  const int listed = folders_.Do(Here(), name.c_str(),
                                 [&](Place place) { return Posix::Files().ListFolder(place, entries); });
  if (IsListed(listed)) {
    Enter(target.has_value(), name, std::move(entries));
  } else {
    AddUnlistedFolder(name);
  }
}

bool Walk::IsBeingWalked(const FileInfo& folder) {
  return std::any_of(levels_.rbegin(), levels_.rend(), [&](Level& level) {
    if (!level.identity) level.identity = folders_.Identify(level.folder, ".");
    return level.identity && level.identity->IsSameObject(folder);
  });
}

void Walk::Enter(bool isLink, const std::string& name, std::vector<FolderEntry> entries) {
  plan_.hasNameClashes = plan_.hasNameClashes || HasNameClashes(entries);
  const bool isFirst = levels_.empty();
  const std::uint32_t folder = plan_.AddFolder(isFirst ? 0 : Here(), isLink, name);
  levels_.push_back({.folder = folder,
                     .isBehindLink = isLink || (!isFirst && levels_.back().isBehindLink),
                     .entries = std::move(entries),
                     .next = 0,
                     .identity = std::nullopt});
}

// What cannot be listed may still hold the archive.
void Walk::AddUnlistedFolder(const std::string& name) {
  const auto identity = archive_ ? folders_.Identify(Here(), name.c_str()) : std::nullopt;
  if (identity && LiesInside(archivePath_, *identity)) plan_.reachesArchive = true;
  AddStep(name, StepKind::kUnlistedFolder);
}

// Only an equal inode number, or none, costs a query. A name that cannot be queried counts by its number.
bool Walk::IsArchive(const FolderEntry& entry, const std::optional<FileInfo>& target) {
  if (!archive_) return false;
  if (target) return target->IsSameObject(*archive_);
  const bool hasOtherInode = entry.inode != 0 && entry.inode != archive_->inode;
  if (hasOtherInode && entry.kind != FileKind::kLink) return false;
  if (!StringWalk::IsAcceptable(entry.name)) return entry.inode == archive_->inode;
  const std::optional<FileInfo> file = folders_.Identify(Here(), entry.name.c_str());
  return file && file->IsSameObject(*archive_);
}

void Walk::CountLinked(std::size_t& count, std::size_t most, const char* what) {
  if (++count <= most) return;
  plan_.failure.format("Error: more than %zu %s are reached through links", most, what);
}

}  // namespace

BundlePlan PlanBundle(const OxPath& root, const OxPath& relative, const OxPath& archive) {
  return Walk(archive).Run(root, relative);
}
