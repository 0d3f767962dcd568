#pragma once

#include "Foundation/OxPath.h"

/// Puts the home directory of the effective user, as the user database has it, in the place of a "~"
/// at the front. Deliberate: "~docs" is "docs" in the own home, never another user's. Any other path,
/// and every path of a user without an entry, comes back unchanged.
OxPath ExpandPath(const OxPath& path);
