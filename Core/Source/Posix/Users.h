#pragma once

#include <optional>
#include <string>

namespace Posix {

/// The home directory that the user database holds for the effective user; nothing when there is no
/// entry. The environment is never asked.
std::optional<std::string> HomeOfEffectiveUser();

/// The same for a user's name.
std::optional<std::string> HomeOfUser(const std::string& name);

}  // namespace Posix
