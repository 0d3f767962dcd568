#pragma once

#include <cstddef>
#include <optional>

#include "BundlePlan.h"
#include "Foundation/OxPath.h"

/// Folders that one walk may reach through links: a few links can make more paths than anyone can walk.
constexpr std::size_t kMostLinkedFolders = 10000;

/// Plans the records of everything below root / relative (below `root` when `relative` is empty): each
/// folder's entries in the order in which the file system lists them, a subfolder's own at its place.
///   Left out: description files (".wob" in any case, at any depth), and `archive`, the file that is
///             being written, should it lie here.
///   Links:    followed; a folder behind one that the walk is already in is not entered again.
///   Clashes:  record names that differ only in letter case; see ResolveNameClashes().
///   Cost:     files are neither opened nor queried, except where names clash. Deep folders cost no stack.
/// Nothing, after one line on standard error, when root / relative itself cannot be listed or when more
/// than kMostLinkedFolders lie behind links. Throws std::system_error when what a link leads to cannot be
/// asked for.
std::optional<BundlePlan> PlanBundle(const OxPath& root, const OxPath& relative, const OxPath& archive);
