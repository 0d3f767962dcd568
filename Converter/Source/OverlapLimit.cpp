#include "OverlapLimit.h"

#include <algorithm>
#include <limits>

namespace {

constexpr std::uint64_t kMostTimesOver = 8;
constexpr std::uint64_t kAllowedAnyway = std::uint64_t{16} << 20;
constexpr std::uint64_t kUnlimited = std::numeric_limits<std::uint64_t>::max();

std::uint64_t LengthOf(OxDataFile& archive) {
  const std::uint64_t position = archive.GetPosition();
  const std::uint64_t length = archive.GoToEOF() == kStatusOk ? archive.GetPosition() : kUnlimited;
  archive.SetPosition(position);
  return length;
}

}  // namespace

OverlapLimit::OverlapLimit(OxDataFile& archive) : length_(LengthOf(archive)) {
  const bool isCounted = length_ <= kUnlimited / kMostTimesOver;
  left_ = isCounted ? std::max(kMostTimesOver * length_, kAllowedAnyway) : kUnlimited;
}

bool OverlapLimit::Admits(std::uint64_t bytes) {
  const std::uint64_t claimed = std::min(bytes, length_);
  if (claimed > left_) return false;
  left_ -= claimed;
  return true;
}
