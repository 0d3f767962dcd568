#pragma once

#include <optional>
#include <string>

namespace Posix {

/// `path` made absolute against the working directory, its existing part resolved through the file
/// system (links followed) and the rest tidied by text; when that fails, the path only made
/// absolute.
std::string ResolvePath(const std::string& path);

/// The folder that a path's last component lies in; empty when there is no "/".
std::string ParentOf(const std::string& path);

/// Where an object is named.
struct ObjectName {
  std::string folder;  ///< A path that leads to the folder, also where that is a link.
  std::string name;    ///< The last component.
};
/// Both parts of a path. "/" behind it count for nothing, so that a link is meant and not what it leads to.
ObjectName SplitPath(const std::string& path);

/// The folder for temporary files: the one that the environment names (TMPDIR, TMP, TEMP or TEMPDIR, the
/// first that is set and not empty), else "/tmp". Empty when that is not a folder to which this process may
/// add files.
std::string TemporaryFolder();

/// The home directory of the effective user in the user database; nullopt when there is no entry. The
/// environment is not used.
std::optional<std::string> HomeOfEffectiveUser();

/// The home directory of the user of that name; nullopt when there is no entry.
std::optional<std::string> HomeOfUser(const std::string& name);

}  // namespace Posix
