#pragma once

#include <string>

/// Files, links and whole folders, by loops however deep they are. Paths are bytes as the file system has
/// them; a link is never followed. False on a failure; nothing throws but std::bad_alloc.
namespace FileTree {

/// Whether there is an object, be it a link that points nowhere.
bool ObjectExists(const std::string& path);
/// Whether both paths lead to one object, links followed or not.
bool AreSameObject(const std::string& a, const std::string& b);
/// Whether `path`, which need not exist, lies below the folder `folder`.
bool LiesInside(const std::string& path, const std::string& folder);

/// Removes the object, a folder with everything in it; stops at the first failure.
bool Remove(const std::string& path);
/// Copies a file, a link or a folder with its content to `target`, which must not exist. A copy that
/// fails is removed again. FIFOs, sockets and devices are not copied.
bool Copy(const std::string& source, const std::string& target);

}  // namespace FileTree
