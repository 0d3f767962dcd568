#pragma once

#include <string>

#include "Posix/FileOps.h"

/// Files, links and whole folders, by loops, as deep as the system's paths reach. Paths are bytes as the
/// file system has them; a link is never followed. False on a failure; nothing throws but std::bad_alloc.
namespace FileTree {

/// Whether there is an object, be it a link that points nowhere.
bool ObjectExists(const std::string& path);
/// Whether both paths lead to one object, links followed or not.
bool AreSameObject(const std::string& a, const std::string& b);
/// Whether `path`, which need not exist, lies at any depth below the folder that is described.
bool LiesBelow(const std::string& path, const Posix::FileInfo& folder);
/// The same for a folder's path. Nothing lies below a link.
bool LiesInside(const std::string& path, const std::string& folder);

/// Whether Copy() can copy the object.
bool IsCopyable(const std::string& path);

/// Removes the object, a folder with everything in it; stops at the first failure.
bool Remove(const std::string& path);
/// Copies a file, a link or a folder with its content to `target`, which must not exist. A copy that
/// fails is removed again. FIFOs, sockets and devices are not copied.
bool Copy(const std::string& source, const std::string& target);

}  // namespace FileTree
