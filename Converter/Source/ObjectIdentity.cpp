#include "ObjectIdentity.h"

#include <algorithm>
#include <optional>
#include <string>

#include "Posix/FileOps.h"
#include "Posix/Paths.h"

namespace {

std::optional<Posix::FileInfo> Identify(const char* path) {
  Posix::FileInfo info;
  if (Posix::Files().Status(path, info) != 0) return std::nullopt;
  return info;
}

// Cuts the last component off an absolute path without "." and ".."; false when "/" is left.
bool GoToParent(std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos || path.size() == 1) return false;
  path.erase(std::max<std::size_t>(slash, 1));
  return true;
}

}  // namespace

bool IsSameObject(const OxPath& a, const OxPath& b) {
  const auto first = Identify(a.native_string().c_str());
  const auto second = Identify(b.native_string().c_str());
  return first && second && first->IsSameObject(*second);
}

bool LiesInside(const OxPath& object, const OxPath& folder) {
  const auto container = Identify(folder.native_string().c_str());
  if (!container || !Identify(object.native_string().c_str())) return false;
  std::string place = Posix::ResolvePath(object.native_string().c_str());
  while (GoToParent(place)) {
    const auto ancestor = Identify(place.c_str());
    if (ancestor && ancestor->IsSameObject(*container)) return true;
  }
  return false;
}
