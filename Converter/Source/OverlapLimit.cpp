#include "OverlapLimit.h"

#include <algorithm>

#include "Posix/FileOps.h"

namespace {

constexpr std::uint64_t kMostTimesOver = 8;
constexpr std::uint64_t kAllowedAnyway = std::uint64_t{16} << 20;

}  // namespace

OverlapLimit::OverlapLimit(const OxPath& archive) {
  Posix::FileInfo info;
  if (Posix::Files().Status(archive.native_string().c_str(), info) == 0) length_ = info.size;
  left_ = std::max(kMostTimesOver * length_, kAllowedAnyway);
}

bool OverlapLimit::Admits(std::uint64_t bytes) {
  const std::uint64_t claimed = length_ == 0 ? bytes : std::min(bytes, length_);
  if (claimed > left_) return false;
  left_ -= claimed;
  return true;
}
