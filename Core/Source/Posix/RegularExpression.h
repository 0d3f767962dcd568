#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Posix {

/// One sub-match, in bytes from the start of the subject.
struct Match {
  std::size_t start = 0;  ///< First byte.
  std::size_t end = 0;    ///< One past the last byte.
};

/// Searches `subject` (up to its first zero byte) for a POSIX extended regular expression in the C
/// locale. Returns the whole match and then the groups, in order, up to the first group that took no
/// part or the hundredth sub-match; empty when nothing matches or the pattern does not compile. Subjects
/// of 2 GiB and more never match: regoff_t is an int.
std::vector<Match> SearchExpression(const std::string& pattern, const char* subject, bool ignoreCase);

}  // namespace Posix
