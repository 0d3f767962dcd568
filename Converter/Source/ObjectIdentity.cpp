#include "ObjectIdentity.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>
#include <system_error>

#include "Posix/Paths.h"
#include "Storage/FileTree.h"

namespace {

using Query = int (Posix::FileOps::*)(Posix::Place, Posix::FileInfo&);

bool IsAbsentOrBarred(int result) {
  constexpr std::array kAbsentOrBarred = {-ENOENT, -ENOTDIR, -EACCES, -ELOOP, -ENAMETOOLONG};
  return std::ranges::find(kAbsentOrBarred, result) != kAbsentOrBarred.end();
}

std::optional<Posix::FileInfo> Ask(Query query, const OxString& path) {
  const char* const text = path.c_str();
  Posix::FileInfo info;
  const int result = (Posix::Files().*query)(text, info);
  return Identified(result, info, [text] { return std::string(text); });
}

// Where the object itself lies, when a link leads to it.
std::string PlaceOf(const OxPath& object) {
  const std::string text(object.native_string().view());
  const auto info = IdentifyLink(object);
  return info && info->kind == Posix::FileKind::kLink ? Posix::ResolvePath(text) : text;
}

}  // namespace

std::optional<Posix::FileInfo> Identified(int result, const Posix::FileInfo& info,
                                          const std::function<std::string()>& path) {
  if (IsAbsentOrBarred(result)) return std::nullopt;
  if (result < 0) throw std::system_error(-result, std::generic_category(), path());
  return info;
}

std::optional<Posix::FileInfo> Identify(const OxPath& path) {
  return IdentifyVerbatim(path.native_string());
}

std::optional<Posix::FileInfo> IdentifyLink(const OxPath& path) {
  return IdentifyLinkVerbatim(path.native_string());
}

std::optional<Posix::FileInfo> IdentifyVerbatim(const OxString& path) {
  return Ask(&Posix::FileOps::Status, path);
}

std::optional<Posix::FileInfo> IdentifyLinkVerbatim(const OxString& path) {
  return Ask(&Posix::FileOps::LinkStatus, path);
}

bool IsThere(const OxPath& path) {
  const char* const text = path.native_string().c_str();
  Posix::FileInfo info;
  return !IsAbsentOrBarred(Posix::Files().LinkStatus(text, info));
}

bool IsSameObject(const OxPath& a, const OxPath& b) {
  const auto first = Identify(a);
  const auto second = Identify(b);
  return first && second && first->IsSameObject(*second);
}

bool LiesInside(const OxPath& object, const OxPath& folder) {
  const auto container = Identify(folder);
  return container && LiesInside(object, *container);
}

bool LiesInside(const OxPath& object, const Posix::FileInfo& folder) {
  return Identify(object) && FileTree::LiesBelow(PlaceOf(object), folder);
}

bool GoesWith(const OxPath& object, const OxPath& target) {
  const auto container = IdentifyLink(target);
  if (!container || container->kind != Posix::FileKind::kFolder) return false;
  if (LiesInside(object, *container)) return true;
  // With a mount point on its path, the object's only name may be inside all the same.
  const auto identity = Identify(object);
  return identity && identity->links == 1 &&
         FileTree::Holds(std::string(target.native_string().view()), *identity);
}
