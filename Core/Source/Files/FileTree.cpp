#include "Files/FileTree.h"

#include <cerrno>
#include <utility>
#include <vector>

#include "Files/FileCopier.h"
#include "Files/FileIdentity.h"
#include "Files/OpenFolders.h"
#include "Files/OxFile.h"
#include "Posix/FileOps.h"
#include "Posix/Paths.h"

namespace FileTree {

namespace {

using Posix::FileInfo;
using Posix::FileKind;
using Posix::Files;
using Posix::FolderEntry;

bool ListFolder(const std::string& path, std::vector<FolderEntry>& entries) {
  entries.clear();
  return Files().ListFolder(path.c_str(), entries) >= 0;
}

// Removes a folder with everything in it, each object by its name in the open folder that it lies in.
class FolderRemoval {
 public:
  // The folder lies in the last one of `way`.
  explicit FolderRemoval(OpenFolders& way) : way_(way) {}

  bool Remove(std::string name) {
    bool removed = RemoveFilesIn(name);
    while (removed && !foldersLeft_.empty()) {
      if (foldersLeft_.back().empty()) {
        removed = RemoveLast();
      } else {
        name = std::move(foldersLeft_.back().back());
        foldersLeft_.back().pop_back();
        removed = RemoveFilesIn(name);
      }
    }
    return removed;
  }

 private:
  // Goes into the folder. One that may be listed, but not searched, can be removed if there is nothing in it.
  bool RemoveFilesIn(const std::string& name) {
    if (way_.Enter(name) < 0) return false;
    const int listed = List(".");
    if (listed == -EACCES) return way_.Leave() >= 0 && List(name.c_str()) >= 0 && RemoveEmpty(name);
    if (listed < 0) return false;
    foldersLeft_.emplace_back();
    for (FolderEntry& entry : entries_) {
      if (entry.kind == FileKind::kFolder) {
        foldersLeft_.back().push_back(std::move(entry.name));
      } else if (Files().RemoveFile(way_.In(entry.name.c_str())) < 0) {
        return false;
      }
    }
    return true;
  }

  bool RemoveLast() {
    foldersLeft_.pop_back();
    const std::string name(way_.Name(way_.Depth() - 1));
    return way_.Leave() >= 0 && RemoveEmpty(name);
  }

  bool RemoveEmpty(const std::string& name) { return Files().RemoveFolder(way_.In(name.c_str())) >= 0; }

  int List(const char* name) {
    entries_.clear();
    const int listed = Files().ListFolder(way_.In(name), entries_);
    return listed == -EMFILE && way_.CloseSpareHandles() ? Files().ListFolder(way_.In(name), entries_)
                                                         : listed;
  }

  OpenFolders& way_;
  std::vector<std::vector<std::string>> foldersLeft_;  // In each folder that was entered.
  std::vector<FolderEntry> entries_;
};

bool RemoveIn(Posix::Place folder, const std::string& name) {
  OpenFolders way(OpenFolders::Links::kRefuse);
  if (way.Begin(folder) < 0) return false;
  const Posix::Place place = way.In(name.c_str());
  FileInfo info;
  if (Files().LinkStatus(place, info) < 0) return false;
  if (info.kind != FileKind::kFolder) return Files().RemoveFile(place) >= 0;
  return FolderRemoval(way).Remove(name);
}

bool CopyLink(const std::string& source, Posix::Place target) {
  std::string destination;
  return Files().ReadLink(source.c_str(), destination) >= 0 &&
         Files().MakeLink(destination, target) >= 0;
}

bool CopyContent(OxFile& from, OxFile& to, FileCopier& copier) {
  const std::uint64_t length = from.GetLastKnownLength();
  return copier.Copy({from, 0}, {to, 0}, length).copied == length;
}

bool CopyFile(const std::string& source, Posix::Place target, FileCopier& copier) {
  OxFile from(OxFile::NativePath{source});
  OxFile to(OxFile::NativePath{.bytes = target.path, .folder = target.folder});
  if (from.Open(OxFile::kRead) != kStatusOk) return false;
  constexpr unsigned long kNew = OxFile::kWrite | OxFile::kCreate | OxFile::kExpectNew | OxFile::kNoLink;
  if (to.Open(kNew) != kStatusOk || !to.WasCreated()) return false;
  const bool copied = CopyContent(from, to, copier);
  from.CopyAttributesTo(to);  // As far as the file system keeps them.
  const bool complete = to.Close() == kStatusOk && copied;
  if (!complete) Files().RemoveFile(target);
  return complete;
}

bool CopyEntry(const std::string& source, Posix::Place target, FileKind kind, FileCopier& copier) {
  if (kind == FileKind::kRegular) return CopyFile(source, target, copier);
  return kind == FileKind::kLink && CopyLink(source, target);
}

// Copies a folder with its content. The new folders are made and opened each in the one above it, so that
// nothing is written elsewhere, whatever is renamed or replaced by a link meanwhile.
class FolderCopy {
 public:
  explicit FolderCopy(std::string source) : source_(std::move(source)) {}

  // Attributes come last and from the deepest folder up: a folder may forbid what goes into it, and what
  // goes into it changes its time.
  bool CopyTo(Posix::Place target) {
    if (way_.Begin(target) < 0) return false;
    for (std::size_t i = 0; i < folders_.size(); ++i) {
      if (!GoTo(folders_[i]) || !CopyEntries(i)) return false;
    }
    for (; !folders_.empty(); folders_.pop_back()) {
      if (GoTo(folders_.back())) CopyAttributes(source_ + folders_.back());
    }
    return true;
  }

 private:
  bool GoTo(std::string_view below) {
    bool there = way_.LeaveTo(1) >= 0;
    while (there && !below.empty()) {
      below.remove_prefix(1);
      const std::string_view name = below.substr(0, below.find('/'));
      there = way_.Enter(name) >= 0;
      below.remove_prefix(name.size());
    }
    return there;
  }

  // But for the folders in it: these are made and appended to the list.
  bool CopyEntries(std::size_t index) {
    const std::string below = folders_[index];
    std::vector<FolderEntry> entries;
    if (!ListFolder(source_ + below, entries)) return false;
    for (const FolderEntry& entry : entries) {
      const Posix::Place target = way_.In(entry.name.c_str());
      std::string child = below + '/' + entry.name;
      if (entry.kind != FileKind::kFolder) {
        if (!CopyEntry(source_ + child, target, entry.kind, copier_)) return false;
      } else {
        if (Files().MakeFolder(target, Posix::kFolderPermissions) < 0) return false;
        folders_.push_back(std::move(child));
      }
    }
    return true;
  }

  // As far as the file system keeps them and the folders can be opened.
  void CopyAttributes(const std::string& source) {
    const int from = Files().Open(source.c_str(), Posix::kOpenToRead);
    const int to = Files().Open(way_.In("."), Posix::kOpenToRead);
    if (from >= 0 && to >= 0) Files().CopyAttributes(from, to);
    if (from >= 0) Files().Close(from);
    if (to >= 0) Files().Close(to);
  }

  std::string source_;
  std::vector<std::string> folders_{""};  // Each with a "/" before every name.
  OpenFolders way_{OpenFolders::Links::kRefuse};
  FileCopier copier_;
};

bool CopyFolder(const std::string& source, const std::string& target) {
  const Posix::ObjectName object = Posix::SplitPath(target);
  OpenFolders above(OpenFolders::Links::kRefuse);
  if (above.Begin(object.folder.c_str()) < 0) return false;
  const Posix::Place place = above.In(object.name.c_str());
  if (Files().MakeFolder(place, Posix::kFolderPermissions) < 0) return false;
  if (FolderCopy(source).CopyTo(place)) return true;
  Remove(place);
  return false;
}

}  // namespace

bool Remove(const std::string& path) {
  const Posix::ObjectName object = Posix::SplitPath(path);
  return RemoveIn(object.folder.c_str(), object.name);
}

bool Remove(Posix::Place object) {
  return RemoveIn({object.folder, "."}, object.path);
}

bool Copy(const std::string& source, const std::string& target) {
  const auto info = TryIdentifyLink(source.c_str());
  if (!info || TryIdentifyLink(target.c_str())) return false;
  if (info->kind == FileKind::kFolder) return CopyFolder(source, target);
  FileCopier copier;
  return CopyEntry(source, target.c_str(), info->kind, copier);
}

}  // namespace FileTree
