#include "Storage/FileTree.h"

#include <cerrno>
#include <utility>
#include <vector>

#include "Posix/FileOps.h"
#include "Posix/Paths.h"
#include "Storage/FileCopier.h"
#include "Storage/OpenFolders.h"
#include "Storage/OxFile.h"

namespace FileTree {

namespace {

using Posix::FileInfo;
using Posix::FileKind;
using Posix::Files;
using Posix::FolderEntry;

bool GetStatus(const std::string& path, FileInfo& info) {
  return Files().Status(path.c_str(), info) >= 0;
}

bool GetLinkStatus(const std::string& path, FileInfo& info) {
  return Files().LinkStatus(path.c_str(), info) >= 0;
}

bool ListFolder(const std::string& path, std::vector<FolderEntry>& entries) {
  entries.clear();
  return Files().ListFolder(path.c_str(), entries) >= 0;
}

std::string ParentOf(const std::string& path) {
  const std::size_t separator = path.find_last_of('/');
  if (separator == std::string::npos) return {};
  return path.substr(0, separator == 0 ? 1 : separator);
}

// A text that leads to the folder that `path` lies in.
std::string FolderAround(const std::string& path) {
  FileInfo info;
  if (GetLinkStatus(path, info) && info.kind == FileKind::kFolder) return path + "/..";
  const std::string parent = ParentOf(path);
  return parent.empty() ? "." : parent;
}

// Goes up as the file system does, which needs no names and no right to search what lies further up.
bool IsReachedByClimbing(std::string place, const FileInfo& folder) {
  FileInfo here;
  FileInfo above;
  for (bool known = GetStatus(place, here); known; here = above) {
    if (here.IsSameObject(folder)) return true;
    place += "/..";
    known = GetStatus(place, above) && !above.IsSameObject(here);
  }
  return false;
}

// Goes up by cutting names off, which works where the way up would be too long a path.
bool IsReachedByName(std::string place, const FileInfo& folder) {
  for (place = Posix::ResolvePath(place); !place.empty();
       place = place.size() > 1 ? ParentOf(place) : "") {
    FileInfo here;
    if (GetStatus(place, here) && here.IsSameObject(folder)) return true;
  }
  return false;
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
  const Name object = Split(target);
  OpenFolders above(OpenFolders::Links::kRefuse);
  if (above.Begin(object.folder.c_str()) < 0) return false;
  const Posix::Place place = above.In(object.name.c_str());
  if (Files().MakeFolder(place, Posix::kFolderPermissions) < 0) return false;
  if (FolderCopy(source).CopyTo(place)) return true;
  Remove(place);
  return false;
}

}  // namespace

bool ObjectExists(const std::string& path) {
  FileInfo info;
  return GetLinkStatus(path, info);
}

bool AreSameObject(const std::string& a, const std::string& b) {
  FileInfo first;
  FileInfo second;
  if (GetLinkStatus(a, first) && GetLinkStatus(b, second) && first.IsSameObject(second)) return true;
  return GetStatus(a, first) && GetStatus(b, second) && first.IsSameObject(second);
}

bool LiesBelow(const std::string& path, const FileInfo& folder) {
  const std::string around = FolderAround(path);
  return IsReachedByClimbing(around, folder) || IsReachedByName(around, folder);
}

bool LiesInside(const std::string& path, const std::string& folder) {
  FileInfo info;
  return GetLinkStatus(folder, info) && info.kind == FileKind::kFolder && LiesBelow(path, info);
}

bool Holds(const std::string& folder, const FileInfo& object) {
  std::vector<std::string> folders{folder};
  std::vector<FolderEntry> entries;
  for (std::size_t i = 0; i < folders.size(); ++i) {
    if (!ListFolder(folders[i], entries)) continue;
    for (const FolderEntry& entry : entries) {
      std::string child = folders[i] + '/' + entry.name;
      FileInfo found;
      if (entry.kind == FileKind::kFolder) {
        folders.push_back(std::move(child));
      } else if (entry.inode == 0 || entry.inode == object.inode) {
        if (GetLinkStatus(child, found) && found.IsSameObject(object)) return true;
      }
    }
  }
  return false;
}

bool IsCopyable(const std::string& path) {
  FileInfo info;
  return GetLinkStatus(path, info) && info.kind != FileKind::kOther;
}

Name Split(const std::string& path) {
  const std::string object = path.substr(0, path.find_last_not_of('/') + 1);
  const std::string parent = ParentOf(object);
  return {parent.empty() ? "." : parent + "/.", object.substr(object.find_last_of('/') + 1)};
}

bool Remove(const std::string& path) {
  const Name object = Split(path);
  return RemoveIn(object.folder.c_str(), object.name);
}

bool Remove(Posix::Place object) {
  return RemoveIn({object.folder, "."}, object.path);
}

bool Copy(const std::string& source, const std::string& target) {
  FileInfo info;
  if (!GetLinkStatus(source, info) || ObjectExists(target)) return false;
  if (info.kind == FileKind::kFolder) return CopyFolder(source, target);
  FileCopier copier;
  return CopyEntry(source, target.c_str(), info.kind, copier);
}

}  // namespace FileTree
