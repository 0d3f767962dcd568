#pragma once

#include <optional>
#include <string>

namespace Posix {

/// The home directory of the effective user in the user database; nullopt when there is no entry. The
/// environment is not used.
std::optional<std::string> HomeOfEffectiveUser();

/// The home directory of the user of that name; nullopt when there is no entry.
std::optional<std::string> HomeOfUser(const std::string& name);

}  // namespace Posix
