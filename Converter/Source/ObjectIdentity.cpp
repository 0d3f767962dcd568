#include "ObjectIdentity.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>
#include <system_error>

#include "Posix/Paths.h"
#include "Posix/RepeatInterrupted.h"

namespace {

bool LeadsNowhere(int result) {
  constexpr std::array kNowhere = {-ENOENT, -ENOTDIR, -EACCES, -ELOOP, -ENAMETOOLONG};
  return std::ranges::find(kNowhere, result) != kNowhere.end();
}

// Cuts the last component off an absolute path without "." and ".."; false when "/" is left.
bool GoToParent(std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos || path.size() == 1) return false;
  path.erase(std::max<std::size_t>(slash, 1));
  return true;
}

}  // namespace

std::optional<Posix::FileInfo> Identify(const OxPath& path) {
  const char* const text = path.native_string().c_str();
  Posix::FileInfo info;
  const int result = RepeatInterrupted([&] { return Posix::Files().Status(text, info); });
  if (LeadsNowhere(result)) return std::nullopt;
  if (result < 0) throw std::system_error(-result, std::generic_category(), text);
  return info;
}

bool IsThere(const OxPath& path) {
  const char* const text = path.native_string().c_str();
  Posix::FileInfo info;
  return !LeadsNowhere(RepeatInterrupted([&] { return Posix::Files().LinkStatus(text, info); }));
}

bool IsSameObject(const OxPath& a, const OxPath& b) {
  const auto first = Identify(a);
  const auto second = Identify(b);
  return first && second && first->IsSameObject(*second);
}

bool LiesInside(const OxPath& object, const OxPath& folder) {
  const auto container = Identify(folder);
  if (!container || !Identify(object)) return false;
  std::string place = Posix::ResolvePath(object.native_string().c_str());
  while (GoToParent(place)) {
    const auto ancestor = Identify(OxPath(place.c_str()));
    if (ancestor && ancestor->IsSameObject(*container)) return true;
  }
  return false;
}
