#include "Posix/RegularExpression.h"

#include <array>
#include <cstring>
#include <limits>

#include <regex.h>

namespace Posix {

namespace {

constexpr std::size_t kMostMatches = 100;

class Expression {
 public:
  Expression(const std::string& pattern, bool ignoreCase)
      : compiled_(::regcomp(&expression_, pattern.c_str(),
                            REG_EXTENDED | (ignoreCase ? REG_ICASE : 0)) == 0) {}
  Expression(const Expression&) = delete;
  Expression& operator=(const Expression&) = delete;
  ~Expression() {
    if (compiled_) ::regfree(&expression_);
  }

  bool Search(const char* subject, std::array<regmatch_t, kMostMatches>& found) const {
    return compiled_ && ::regexec(&expression_, subject, found.size(), found.data(), 0) == 0;
  }

 private:
  regex_t expression_ = {};
  bool compiled_;
};

// regoff_t is an int.
bool OffsetsFit(const char* subject) {
  return std::strlen(subject) <= static_cast<std::size_t>(std::numeric_limits<regoff_t>::max());
}

}  // namespace

std::vector<Match> SearchExpression(const std::string& pattern, const char* subject, bool ignoreCase) {
  std::vector<Match> matches;
  const Expression expression(pattern, ignoreCase);
  std::array<regmatch_t, kMostMatches> found;
  if (!OffsetsFit(subject) || !expression.Search(subject, found)) return matches;
  for (const regmatch_t& match : found) {
    if (match.rm_so < 0) break;
    matches.push_back({static_cast<std::size_t>(match.rm_so), static_cast<std::size_t>(match.rm_eo)});
  }
  return matches;
}

}  // namespace Posix
