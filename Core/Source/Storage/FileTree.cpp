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

bool RemoveFile(const std::string& path) {
  return Files().RemoveFile(path.c_str()) >= 0;
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

bool CopyLink(const std::string& source, const std::string& target) {
  std::string destination;
  return Files().ReadLink(source.c_str(), destination) >= 0 &&
         Files().MakeLink(destination, target.c_str()) >= 0;
}

bool CopyContent(OxFile& from, OxFile& to, FileCopier& copier) {
  const std::uint64_t length = from.GetLastKnownLength();
  return copier.Copy({from, 0}, {to, 0}, length).copied == length;
}

bool CopyFile(const std::string& source, const std::string& target, FileCopier& copier) {
  OxFile from(OxFile::NativePath{source});
  OxFile to(OxFile::NativePath{target});
  if (from.Open(OxFile::kRead) != kStatusOk) return false;
  if (to.Open(OxFile::kWrite | OxFile::kCreate) != kStatusOk || !to.WasCreated()) return false;
  const bool copied = CopyContent(from, to, copier);
  from.CopyAttributesTo(to);  // As far as the file system keeps them.
  const bool complete = to.Close() == kStatusOk && copied;
  if (!complete) RemoveFile(target);
  return complete;
}

// As far as the file system keeps them and the folders can be opened.
void CopyFolderAttributes(const std::string& source, const std::string& target) {
  const auto open = [](const std::string& path) {
    return Files().Open(path.c_str(), Posix::kOpenToRead);
  };
  const int from = open(source);
  const int to = open(target);
  if (from >= 0 && to >= 0) Files().CopyAttributes(from, to);
  if (from >= 0) Files().Close(from);
  if (to >= 0) Files().Close(to);
}

// A folder that is copied, and where it goes.
struct FolderPair {
  std::string source;
  std::string target;
};

bool CopyEntry(const FolderPair& pair, FileKind kind, FileCopier& copier) {
  if (kind == FileKind::kRegular) return CopyFile(pair.source, pair.target, copier);
  return kind == FileKind::kLink && CopyLink(pair.source, pair.target);
}

bool MakeFolder(const std::string& path) {
  return Files().MakeFolder(path.c_str(), Posix::kFolderPermissions) >= 0;
}

// Copies what is in one folder, but for the folders in it: these are made and appended to `folders`.
bool CopyEntries(std::size_t index, std::vector<FolderPair>& folders, FileCopier& copier) {
  std::vector<FolderEntry> entries;
  if (!ListFolder(folders[index].source, entries)) return false;
  for (const FolderEntry& entry : entries) {
    FolderPair child{folders[index].source + '/' + entry.name, folders[index].target + '/' + entry.name};
    if (entry.kind != FileKind::kFolder) {
      if (!CopyEntry(child, entry.kind, copier)) return false;
    } else {
      if (!MakeFolder(child.target)) return false;
      folders.push_back(std::move(child));
    }
  }
  return true;
}

// Attributes come last and from the deepest folder up: a folder may forbid what goes into it, and what
// goes into it changes its time.
bool CopyFolder(const std::string& source, const std::string& target) {
  if (!MakeFolder(target)) return false;
  FileCopier copier;
  std::vector<FolderPair> folders{{source, target}};
  for (std::size_t i = 0; i < folders.size(); ++i) {
    if (CopyEntries(i, folders, copier)) continue;
    Remove(target);
    return false;
  }
  for (; !folders.empty(); folders.pop_back()) {
    CopyFolderAttributes(folders.back().source, folders.back().target);
  }
  return true;
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
  OpenFolders way(OpenFolders::Links::kRefuse);
  if (way.Begin(object.folder.c_str()) < 0) return false;
  const Posix::Place place = way.In(object.name.c_str());
  FileInfo info;
  if (Files().LinkStatus(place, info) < 0) return false;
  if (info.kind != FileKind::kFolder) return Files().RemoveFile(place) >= 0;
  return FolderRemoval(way).Remove(object.name);
}

bool Copy(const std::string& source, const std::string& target) {
  FileInfo info;
  if (!GetLinkStatus(source, info) || ObjectExists(target)) return false;
  if (info.kind == FileKind::kFolder) return CopyFolder(source, target);
  FileCopier copier;
  return CopyEntry({source, target}, info.kind, copier);
}

}  // namespace FileTree
