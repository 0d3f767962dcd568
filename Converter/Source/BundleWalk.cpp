#include "BundleWalk.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "NameClashes.h"
#include "ObjectIdentity.h"
#include "Posix/FileOps.h"
#include "Storage/OxFileUtils.h"

namespace {

using Posix::FileInfo;
using Posix::FileKind;
using StepKind = BundlePlan::StepKind;

// Nothing for a link that leads nowhere or cannot be followed.
std::optional<FileInfo> TargetOf(const OxString& link) {
  FileInfo info;
  const int result = Posix::Files().Status(link.c_str(), info);
  return result >= 0 ? std::optional(info) : std::nullopt;
}

// Whether a path can hold the name as it is.
bool IsUsable(const OxFolderEntry& entry) {
  return entry.isExact && entry.name.view().find('\\') == std::string_view::npos;
}

bool List(const OxPath& folder, std::vector<OxFolderEntry>& entries) {
  return OxFileUtils::ListFolder(folder, "*", entries) >= 0;
}

OxString WithSlash(OxString path) {
  if (!path.empty() && !path.view().ends_with('/')) path += '/';
  return path;
}

class Walk {
 public:
  explicit Walk(const OxPath& archive) : archivePath_(archive), archive_(Identify(archive)) {
    plan_.archive = archive_;
    if (archive_ && archive_->kind == FileKind::kFolder) archive_.reset();
  }

  BundlePlan Run(const OxPath& root, const OxPath& relative);

 private:
  // A folder that the walk is in, with what is left of its entries.
  struct Level {
    std::uint32_t folder = 0;
    bool isBehindLink = false;
    std::vector<OxFolderEntry> entries;
    std::size_t next = 0;
    std::optional<FileInfo> identity;
  };

  void Begin(const OxPath& root, const OxPath& relative);
  void Visit(const OxFolderEntry& entry);
  void VisitFolder(const OxString& name, bool isLink);
  void VisitFile(const OxFolderEntry& entry, const std::optional<FileInfo>& target);
  bool IsBeingWalked(const FileInfo& folder);
  void Enter(BundlePlan::Folder folder, bool isBehindLink, std::vector<OxFolderEntry> entries);
  void AddUnlistedFolder(const OxString& name);
  bool IsArchive(const OxFolderEntry& entry, const std::optional<FileInfo>& target) const;
  void AddStep(const OxString& leaf, StepKind kind);
  void CountLinked(std::size_t& count, std::size_t most, const char* what);

  const BundlePlan::Folder& Here() const { return plan_.folders[levels_.back().folder]; }

  BundlePlan plan_;
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
      plan_.folders[level.folder].end = plan_.steps.size();
      levels_.pop_back();
    } else {
      Visit(std::exchange(level.entries[level.next++], OxFolderEntry()));
    }
  }
  return std::move(plan_);
}

void Walk::Begin(const OxPath& root, const OxPath& relative) {
  const OxPath top = relative.native_string().empty() ? root : root / relative;
  std::vector<OxFolderEntry> entries;
  if (!List(top, entries)) {
    plan_.failure.format("Error: Unable to read %s", top.leaf().c_str());
    return;
  }
  Enter({WithSlash(top.native_string()), WithSlash(relative.portable_string())}, false,
        std::move(entries));
}

void Walk::Visit(const OxFolderEntry& entry) {
  const bool isLink = entry.kind == FileKind::kLink;
  const auto target = isLink && entry.isExact ? TargetOf(Here().path + entry.name) : std::nullopt;
  const FileKind kind = target ? target->kind : entry.kind;
  if (kind == FileKind::kFolder && IsUsable(entry)) return VisitFolder(entry.name, isLink);
  if (isLink || levels_.back().isBehindLink) CountLinked(linkedFiles_, kMostLinkedFiles, "files");
  VisitFile(entry, target);
}

void Walk::VisitFile(const OxFolderEntry& entry, const std::optional<FileInfo>& target) {
  const FileKind kind = target ? target->kind : entry.kind;
  const bool isArchive = IsArchive(entry, target);
  plan_.reachesArchive = plan_.reachesArchive || isArchive;
  if (!IsUsable(entry)) return AddStep(entry.name, StepKind::kUnreadable);
  if (isArchive || entry.name.ends_with_nocase(".wob")) return;
  if (kind == FileKind::kLink) return AddStep(entry.name, StepKind::kDanglingLink);
  AddStep(entry.name, kind == FileKind::kRegular ? StepKind::kFile : StepKind::kUnreadable);
}

void Walk::VisitFolder(const OxString& name, bool isLink) {
  BundlePlan::Folder folder = {Here().path + name, Here().relative + name};
  folder.path += '/';
  folder.relative += '/';
  const bool isBehindLink = isLink || levels_.back().isBehindLink;
  if (isBehindLink) {
    const std::optional<FileInfo> identity = Identify(OxPath(folder.path));
    if (identity && IsBeingWalked(*identity))
      return CountLinked(linkedFiles_, kMostLinkedFiles, "files");
    CountLinked(linkedFolders_, kMostLinkedFolders, "folders");
  }
  std::vector<OxFolderEntry> entries;
  if (List(folder.path, entries)) {
    Enter(std::move(folder), isBehindLink, std::move(entries));
  } else {
    AddUnlistedFolder(name);
  }
}

bool Walk::IsBeingWalked(const FileInfo& folder) {
  return std::ranges::any_of(levels_, [&](Level& level) {
    if (!level.identity) level.identity = Identify(OxPath(plan_.folders[level.folder].path));
    return level.identity && level.identity->IsSameObject(folder);
  });
}

void Walk::Enter(BundlePlan::Folder folder, bool isBehindLink, std::vector<OxFolderEntry> entries) {
  plan_.hasNameClashes = plan_.hasNameClashes || HasNameClashes(entries);
  levels_.push_back({.folder = static_cast<std::uint32_t>(plan_.folders.size()),
                     .isBehindLink = isBehindLink,
                     .entries = std::move(entries),
                     .next = 0,
                     .identity = std::nullopt});
  plan_.folders.push_back(std::move(folder));
}

// What cannot be listed may still hold the archive.
void Walk::AddUnlistedFolder(const OxString& name) {
  if (archive_ && LiesInside(archivePath_, OxPath(Here().path + name))) plan_.reachesArchive = true;
  AddStep(name, StepKind::kUnlistedFolder);
}

// Only an equal inode number, or none, costs a query. A name that cannot be queried counts by its number.
bool Walk::IsArchive(const OxFolderEntry& entry, const std::optional<FileInfo>& target) const {
  if (!archive_) return false;
  if (target) return target->IsSameObject(*archive_);
  const bool hasOtherInode = entry.inode != 0 && entry.inode != archive_->inode;
  if (hasOtherInode && entry.kind != FileKind::kLink) return false;
  if (!entry.isExact) return entry.inode == archive_->inode;
  const std::optional<FileInfo> file = IdentifyVerbatim(Here().path + entry.name);
  return file && file->IsSameObject(*archive_);
}

void Walk::AddStep(const OxString& leaf, StepKind kind) {
  plan_.steps.push_back({leaf, levels_.back().folder, kind});
}

void Walk::CountLinked(std::size_t& count, std::size_t most, const char* what) {
  if (++count <= most) return;
  plan_.failure.format("Error: more than %zu %s are reached through links", most, what);
}

}  // namespace

BundlePlan PlanBundle(const OxPath& root, const OxPath& relative, const OxPath& archive) {
  return Walk(archive).Run(root, relative);
}
