#include "Files/FileIdentity.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "Posix/FileOps.h"
#include "Posix/Paths.h"

namespace {

using Posix::FileInfo;
using Posix::FileKind;
using Posix::Files;
using Posix::ParentOf;

using Query = int (Posix::FileOps::*)(Posix::Place, FileInfo&);

bool IsAbsentOrBarred(int result) {
  constexpr std::array kAbsentOrBarred = {-ENOENT, -ENOTDIR, -EACCES, -ELOOP, -ENAMETOOLONG};
  return std::ranges::find(kAbsentOrBarred, result) != kAbsentOrBarred.end();
}

std::optional<FileInfo> Ask(Query query, const OxString& path) {
  const char* const text = path.c_str();
  FileInfo info;
  const int result = (Files().*query)(text, info);
  return Identified(result, info, [text] { return std::string(text); });
}

// Where the object itself lies, when a link leads to it.
std::string PlaceOf(const OxPath& object) {
  const std::string text(object.native_string().view());
  const auto info = IdentifyLink(object.native_string());
  return info && info->kind == FileKind::kLink ? Posix::ResolvePath(text) : text;
}

// A text that leads to the folder that `path` lies in.
std::string FolderAround(const std::string& path) {
  const auto info = TryIdentifyLink(path.c_str());
  if (info && info->kind == FileKind::kFolder) return path + "/..";
  const std::string parent = ParentOf(path);
  return parent.empty() ? "." : parent;
}

// Goes up as the file system does, which needs no names and no right to search what lies further up.
bool IsReachedByClimbing(std::string place, const FileInfo& folder) {
  for (auto here = TryIdentify(place.c_str()); here;) {
    if (here->IsSameObject(folder)) return true;
    place += "/..";
    const auto above = TryIdentify(place.c_str());
    if (!above || above->IsSameObject(*here)) return false;
    here = above;
  }
  return false;
}

// Goes up by cutting names off, which works where the way up would be too long a path.
bool IsReachedByName(std::string place, const FileInfo& folder) {
  for (place = Posix::ResolvePath(place); !place.empty();
       place = place.size() > 1 ? ParentOf(place) : "") {
    const auto here = TryIdentify(place.c_str());
    if (here && here->IsSameObject(folder)) return true;
  }
  return false;
}

// Whether an object that is not a folder is in the folder or at any depth below, across mount points. Folders that
// cannot be listed are skipped.
bool Holds(const std::string& folder, const FileInfo& object) {
  std::vector<std::string> folders{folder};
  std::vector<Posix::FolderEntry> entries;
  for (std::size_t i = 0; i < folders.size(); ++i) {
    entries.clear();
    Files().ListFolder(folders[i].c_str(), entries);
    for (const Posix::FolderEntry& entry : entries) {
      std::string child = folders[i] + '/' + entry.name;
      if (entry.kind == FileKind::kFolder) {
        folders.push_back(std::move(child));
      } else if (entry.inode == 0 || entry.inode == object.inode) {
        const auto found = TryIdentifyLink(child.c_str());
        if (found && found->IsSameObject(object)) return true;
      }
    }
  }
  return false;
}

}  // namespace

std::optional<FileInfo> Identified(int result, const FileInfo& info,
                                   const std::function<std::string()>& path) {
  if (IsAbsentOrBarred(result)) return std::nullopt;
  if (result < 0) throw std::system_error(-result, std::generic_category(), path());
  return info;
}

std::optional<FileInfo> TryIdentify(const char* path) {
  FileInfo info;
  return Files().Status(path, info) >= 0 ? std::optional(info) : std::nullopt;
}

std::optional<FileInfo> TryIdentifyLink(const char* path) {
  FileInfo info;
  return Files().LinkStatus(path, info) >= 0 ? std::optional(info) : std::nullopt;
}

std::optional<FileInfo> Identify(const OxString& path) {
  return Ask(&Posix::FileOps::Status, path);
}

std::optional<FileInfo> IdentifyLink(const OxString& path) {
  return Ask(&Posix::FileOps::LinkStatus, path);
}

bool IsThere(const OxPath& path) {
  FileInfo info;
  return !IsAbsentOrBarred(Files().LinkStatus(path.native_string().c_str(), info));
}

bool IsSameObject(const OxPath& a, const OxPath& b) {
  const auto first = Identify(a.native_string());
  const auto second = Identify(b.native_string());
  return first && second && first->IsSameObject(*second);
}

bool LiesInside(const OxPath& object, const OxPath& folder) {
  const auto container = Identify(folder.native_string());
  return container && LiesInside(object, *container);
}

bool LiesInside(const OxPath& object, const FileInfo& folder) {
  return Identify(object.native_string()) && LiesBelow(PlaceOf(object), folder);
}

bool LiesBelow(const std::string& path, const FileInfo& folder) {
  const std::string around = FolderAround(path);
  return IsReachedByClimbing(around, folder) || IsReachedByName(around, folder);
}

bool GoesWith(const OxPath& object, const OxPath& target) {
  const auto container = IdentifyLink(target.native_string());
  if (!container || container->kind != FileKind::kFolder) return false;
  if (LiesInside(object, *container)) return true;
  // With a mount point on its path, the object's only name may be inside all the same.
  const auto identity = Identify(object.native_string());
  return identity && identity->links == 1 &&
         Holds(std::string(target.native_string().view()), *identity);
}
