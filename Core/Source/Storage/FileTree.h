#pragma once

#include <string>

#include "Posix/FileOps.h"

/// Files, links and whole folders, by loops. Paths are bytes as the file system has them; a link is never
/// followed. False on a failure; nothing throws but std::bad_alloc.
namespace FileTree {

/// Whether there is an object, be it a link that points nowhere.
bool ObjectExists(const std::string& path);
/// Whether both paths lead to one object, links followed or not.
bool AreSameObject(const std::string& a, const std::string& b);
/// Whether `path`, which need not exist, lies at any depth below the folder that is described.
bool LiesBelow(const std::string& path, const Posix::FileInfo& folder);
/// The same for a folder's path. Nothing lies below a link.
bool LiesInside(const std::string& path, const std::string& folder);
/// Whether an object that is not a folder is in the folder or at any depth below, across mount points. Folders that
/// cannot be listed are skipped.
bool Holds(const std::string& folder, const Posix::FileInfo& object);

/// Whether Copy() can copy the object.
bool IsCopyable(const std::string& path);

/// Where an object is named: a path that leads to the folder that it lies in, also where that is a link, and
/// its name there.
struct Name {
  std::string folder;  ///< The path of the folder.
  std::string name;    ///< The last component.
};
/// Both parts of a path. "/" behind it count for nothing, so that a link is meant and not what it leads to.
Name Split(const std::string& path);

/// Removes the object, a folder with everything in it, however deep; stops at the first failure. Each folder
/// is opened in the one above it and what is in it removed from there, so that whatever is renamed or replaced
/// by a link meanwhile, nothing is removed that was not below `path`.
bool Remove(const std::string& path);
/// The same for a name, one component, in an open folder.
bool Remove(Posix::Place object);
/// Copies a file, a link or a folder with its content to `target`, which must not exist, as deep as the system's paths
/// reach. A copy that fails is removed again. FIFOs, sockets and devices are not copied.
bool Copy(const std::string& source, const std::string& target);

}  // namespace FileTree
