#pragma once

#include <functional>
#include <optional>
#include <string>

#include "Foundation/OxPath.h"
#include "Posix/FileOps.h"

// What two paths mean on the disk, whatever their spelling: links are followed unless it says otherwise,
// and objects are told apart by device and inode. A path that leads nowhere, or nowhere that this user may
// go, is neither the same as nor inside anything.
//   Errors: what is there but cannot be asked for (a disk that fails) throws std::system_error: whoever
//           deletes or overwrites must not take it for absent.

/// Nothing when the path leads nowhere, or nowhere that this user may go.
std::optional<Posix::FileInfo> Identify(const OxPath& path);
/// The same, of a link itself.
std::optional<Posix::FileInfo> IdentifyLink(const OxPath& path);
/// The same for paths that an OxPath would change, such as those with a backslash in a name.
std::optional<Posix::FileInfo> IdentifyVerbatim(const OxString& path);
std::optional<Posix::FileInfo> IdentifyLinkVerbatim(const OxString& path);  ///< Of a link itself.
/// What a status query's result means: `info`, or nothing, or an exception that names what `path()` returns.
std::optional<Posix::FileInfo> Identified(int result, const Posix::FileInfo& info,
                                          const std::function<std::string()>& path);

bool IsSameObject(const OxPath& a, const OxPath& b);

/// Whether `object` lies in `folder`, at any depth. A folder does not lie inside itself.
bool LiesInside(const OxPath& object, const OxPath& folder);
bool LiesInside(const OxPath& object, const Posix::FileInfo& folder);

/// Whether deleting what is at `target`, a folder with everything in it, would take `object` along. A link
/// takes nothing along.
bool GoesWith(const OxPath& object, const OxPath& target);

/// Whether there is an object, be it a dangling link. One that cannot be asked for counts as there, unless
/// this user may not go there.
bool IsThere(const OxPath& path);
