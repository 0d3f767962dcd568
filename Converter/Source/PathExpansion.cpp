#include "PathExpansion.h"

#include <optional>
#include <string>
#include <string_view>

#include "Posix/Paths.h"

OxPath ExpandPath(const OxPath& path) {
  const std::string_view text = path.native_string().view();
  if (!text.starts_with('~')) return path;
  std::optional<std::string> expanded = Posix::HomeOfEffectiveUser();
  if (!expanded) return path;
  const std::string_view rest = text.substr(1);
  if (!rest.empty() && !rest.starts_with('/')) *expanded += '/';
  *expanded += rest;
  return OxPath(OxString(std::string_view(*expanded)));
}
