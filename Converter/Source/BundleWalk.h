#pragma once

#include <cstddef>

#include "BundlePlan.h"
#include "Foundation/OxPath.h"

/// What one walk may reach through links: a few links can make more paths than anyone can walk.
constexpr std::size_t kMostLinkedFolders = 10000;
/// The same for what is not a folder that the walk enters.
constexpr std::size_t kMostLinkedFiles = 100000;

/// Plans the records of everything below root / relative (below `root` when `relative` is empty): each
/// folder's entries in the order in which the file system lists them, a subfolder's own at its place.
///   Left out: description files (".wob" in any case, at any depth), and what is at `archive`.
///   Archive:  the plan says whether any entry of the folders reached, a description file too, is, or
///             leads to, the object at `archive`; a folder there is none of them.
///   Links:    followed; a folder behind one that the walk is already in is not entered again. The plan
///             has failed when more than the limits above are reached through links.
///   Cost:     files are neither opened nor queried, except those with the archive's inode number. Deep
///             folders cost no stack.
/// Prints nothing. The plan has failed, too, when root / relative itself cannot be listed. Throws
/// std::system_error when the status of what a link leads to, or of `archive`, cannot be had.
BundlePlan PlanBundle(const OxPath& root, const OxPath& relative, const OxPath& archive);
