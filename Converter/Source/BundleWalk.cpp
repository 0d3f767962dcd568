#include "BundleWalk.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "Console.h"
#include "NameClashes.h"
#include "ObjectIdentity.h"
#include "Posix/FileOps.h"
#include "Posix/RepeatInterrupted.h"
#include "Storage/OxFileUtils.h"

namespace {

using Posix::FileInfo;
using Posix::FileKind;
using StepKind = BundlePlan::StepKind;

// What a link leads to; one that leads nowhere, or cannot be followed, is a file that cannot be read.
FileKind KindBehind(const OxString& link) {
  FileInfo info;
  const int result = RepeatInterrupted([&] { return Posix::Files().Status(link.c_str(), info); });
  return result >= 0 ? info.kind : FileKind::kOther;
}

// A name that a path would change is none that it can hold.
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

// Whether two entries of one folder have names that differ only in letter case. Equal hashes are
// enough to look closer later.
bool MayClash(const std::vector<OxFolderEntry>& entries) {
  std::vector<std::size_t> hashes;
  hashes.reserve(entries.size());
  for (const OxFolderEntry& entry : entries) hashes.push_back(HashNoCase(entry.name));
  std::ranges::sort(hashes);
  return std::ranges::adjacent_find(hashes) != hashes.end();
}

class Walk {
 public:
  explicit Walk(const OxPath& archive) : archive_(Identify(archive)), archiveName_(archive.leaf()) {}

  std::optional<BundlePlan> Run(const OxPath& root, const OxPath& relative);

 private:
  // A folder that the walk is in, with what is left of its entries.
  struct Level {
    std::uint32_t folder = 0;
    bool isBehindLink = false;
    std::vector<OxFolderEntry> entries;
    std::size_t next = 0;
    std::optional<FileInfo> identity;
  };

  bool Begin(const OxPath& root, const OxPath& relative);
  bool Visit(const OxFolderEntry& entry);
  bool VisitFolder(const OxString& name, bool isLink);
  bool IsBeingWalked(const FileInfo& folder);
  void Enter(BundlePlan::Folder folder, bool isBehindLink, std::vector<OxFolderEntry> entries);
  bool IsArchive(const OxString& name, bool isLink) const;
  void AddStep(const OxString& leaf, StepKind kind);

  const BundlePlan::Folder& Here() const { return plan_.folders[levels_.back().folder]; }

  BundlePlan plan_;
  std::vector<Level> levels_;
  std::size_t linkedFolders_ = 0;
  bool mayClash_ = false;
  const std::optional<FileInfo> archive_;
  const OxString archiveName_;
};

std::optional<BundlePlan> Walk::Run(const OxPath& root, const OxPath& relative) {
  if (!Begin(root, relative)) return std::nullopt;
  while (!levels_.empty()) {
    Level& level = levels_.back();
    if (level.next == level.entries.size()) {
      plan_.folders[level.folder].end = plan_.steps.size();
      levels_.pop_back();
    } else if (!Visit(std::exchange(level.entries[level.next++], OxFolderEntry()))) {
      Console::Error("Error: more than %zu folders are reached through links\n", kMostLinkedFolders);
      return std::nullopt;
    }
  }
  if (mayClash_) ResolveNameClashes(plan_);
  return std::move(plan_);
}

bool Walk::Begin(const OxPath& root, const OxPath& relative) {
  const OxPath top = relative.native_string().empty() ? root : root / relative;
  std::vector<OxFolderEntry> entries;
  if (!List(top, entries)) {
    Console::Error("Error: Unable to read %s\n", top.leaf().c_str());
    return false;
  }
  Enter({WithSlash(top.native_string()), WithSlash(relative.portable_string())}, false,
        std::move(entries));
  return true;
}

// False when there are too many folders behind links.
bool Walk::Visit(const OxFolderEntry& entry) {
  if (!IsUsable(entry)) {
    AddStep(entry.name, StepKind::kUnusableName);
    return true;
  }
  const bool isLink = entry.kind == FileKind::kLink;
  FileKind kind = entry.kind;
  if (isLink) kind = KindBehind(Here().path + entry.name);
  if (kind == FileKind::kFolder) return VisitFolder(entry.name, isLink);
  if (entry.name.ends_with_nocase(".wob") || IsArchive(entry.name, isLink)) return true;
  AddStep(entry.name, StepKind::kFile);
  return true;
}

bool Walk::VisitFolder(const OxString& name, bool isLink) {
  BundlePlan::Folder folder = {Here().path + name, Here().relative + name};
  folder.path += '/';
  folder.relative += '/';
  const bool isBehindLink = isLink || levels_.back().isBehindLink;
  if (isBehindLink) {
    const std::optional<FileInfo> identity = Identify(OxPath(folder.path));
    if (identity && IsBeingWalked(*identity)) return true;
    if (++linkedFolders_ > kMostLinkedFolders) return false;
  }
  std::vector<OxFolderEntry> entries;
  if (List(folder.path, entries)) {
    Enter(std::move(folder), isBehindLink, std::move(entries));
  } else {
    AddStep(name, StepKind::kUnlistedFolder);
  }
  return true;
}

bool Walk::IsBeingWalked(const FileInfo& folder) {
  return std::ranges::any_of(levels_, [&](Level& level) {
    if (!level.identity) level.identity = Identify(OxPath(plan_.folders[level.folder].path));
    return level.identity && level.identity->IsSameObject(folder);
  });
}

void Walk::Enter(BundlePlan::Folder folder, bool isBehindLink, std::vector<OxFolderEntry> entries) {
  mayClash_ = mayClash_ || MayClash(entries);
  levels_.push_back({.folder = static_cast<std::uint32_t>(plan_.folders.size()),
                     .isBehindLink = isBehindLink,
                     .entries = std::move(entries),
                     .next = 0,
                     .identity = std::nullopt});
  plan_.folders.push_back(std::move(folder));
}

bool Walk::IsArchive(const OxString& name, bool isLink) const {
  if (!archive_) return false;
  if (!isLink && name.compare(archiveName_, OxString::kCaseInsensitive) != 0) return false;
  const std::optional<FileInfo> file = Identify(OxPath(Here().path + name));
  return file && file->IsSameObject(*archive_);
}

void Walk::AddStep(const OxString& leaf, StepKind kind) {
  plan_.steps.push_back({leaf, levels_.back().folder, kind});
}

}  // namespace

std::optional<BundlePlan> PlanBundle(const OxPath& root, const OxPath& relative, const OxPath& archive) {
  return Walk(archive).Run(root, relative);
}
