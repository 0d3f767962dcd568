#include "OverlapLimit.h"

#include <algorithm>
#include <limits>

#include "Archive/DamageWatch.h"
#include "Foundation/Narrow.h"

namespace {

constexpr std::uint64_t kMostTimesOver = 8;
constexpr std::uint64_t kBytesAllowedAnyway = std::uint64_t{16} << 20;
constexpr std::size_t kFoldersAllowedAnyway = 4096;
constexpr std::uint64_t kBytesOfAFolder = 2;  // One of its name, and "/".
constexpr std::uint64_t kUnlimited = std::numeric_limits<std::uint64_t>::max();

std::size_t FoldersOf(std::uint64_t bytesOfNames) {
  return TryNarrow<std::size_t>(bytesOfNames / kBytesOfAFolder).value_or(kFoldersAllowedAnyway);
}

}  // namespace

OverlapLimit::OverlapLimit(OxDataFile& archive)
    : length_(LengthOfFile(archive)),
      foldersLeft_(std::max(kFoldersAllowedAnyway, FoldersOf(FindNameTable(archive).bytes))) {
  const bool isCounted = length_ <= kUnlimited / kMostTimesOver;
  bytesLeft_ = isCounted ? std::max(kMostTimesOver * length_, kBytesAllowedAnyway) : kUnlimited;
}

bool OverlapLimit::Admits(std::uint64_t bytes) {
  const std::uint64_t claimed = std::min(bytes, length_);
  if (claimed > bytesLeft_) return false;
  bytesLeft_ -= claimed;
  return true;
}
