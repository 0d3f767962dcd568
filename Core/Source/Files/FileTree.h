#pragma once

#include <string>

#include "Posix/FileTypes.h"

/// Files, links and whole folders, by loops. Paths are bytes as the file system has them; a link is never
/// followed. False on a failure; nothing throws but std::bad_alloc.
namespace FileTree {

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
