#pragma once

#include <functional>
#include <optional>
#include <string>

#include "Foundation/OxPath.h"
#include "Posix/FileTypes.h"

// What a path means on the disk, whatever its spelling: is there something, what is it, are two the same, does one
// lie in the other. Links are followed unless it says otherwise, and objects are told apart by device and inode
// (Posix::FileInfo::IsSameObject). A path that leads nowhere, or nowhere that this user may go, is neither the same
// as nor inside anything.
//   Errors: what is there but cannot be asked for (a disk that fails) throws std::system_error: whoever
//           deletes or overwrites must not take it for absent.

/// Nothing when the path leads nowhere, or nowhere that this user may go.
std::optional<Posix::FileInfo> Identify(const OxString& path);
/// The same, of a link itself.
std::optional<Posix::FileInfo> IdentifyLink(const OxString& path);
/// As Identify() and IdentifyLink(), for paths of bytes, but nothing, too, where the question fails: for a caller whose
/// next step finds out by itself.
std::optional<Posix::FileInfo> TryIdentify(const char* path);
std::optional<Posix::FileInfo> TryIdentifyLink(const char* path);  ///< Of a link itself.
/// What a status query's result means: `info`, or nothing, or an exception that names what `path()` returns.
std::optional<Posix::FileInfo> Identified(int result, const Posix::FileInfo& info,
                                          const std::function<std::string()>& path);

/// Whether there is an object, be it a dangling link. One that cannot be asked for counts as there, unless
/// this user may not go there.
bool IsThere(const OxPath& path);

bool IsSameObject(const OxPath& a, const OxPath& b);

/// Whether `object` lies in `folder`, at any depth. A folder does not lie inside itself.
bool LiesInside(const OxPath& object, const OxPath& folder);
bool LiesInside(const OxPath& object, const Posix::FileInfo& folder);
/// Whether what `path` names, or will name, is at any depth below the folder that is described; a link on the way to
/// it is followed, but not one there. Errors count as no.
bool LiesBelow(const std::string& path, const Posix::FileInfo& folder);

/// Whether deleting what is at `target`, a folder with everything in it, would take `object` along. A link
/// takes nothing along.
bool GoesWith(const OxPath& object, const OxPath& target);
