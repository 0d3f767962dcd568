#include "Files/OxPathMatcher.h"

#include <limits>

namespace {

signed char Signed(char c) {
  return static_cast<signed char>(c);
}

// Whether `c` matches the member of a class at `p`, a byte or a range. Moves `p` past the member; to the terminator
// when the class does not end.
bool MemberHolds(const char*& p, char c) {
  const signed char low = Signed(*p++);
  signed char high = low;
  if (*p == '-') {
    ++p;
    if (*p == 0) return false;
    high = *p == ']' ? std::numeric_limits<signed char>::max() : Signed(*p++);
  }
  return low <= Signed(c) && Signed(c) <= high;
}

// Matches a byte with the class whose members begin at `p`, and moves `p` past its "]".
bool ClassHolds(const char*& p, char c) {
  const bool negated = *p == '^';
  if (negated) ++p;
  bool held = false;
  bool first = true;
  while (*p != 0 && (first || *p != ']')) {
    if (MemberHolds(p, c)) held = true;
    first = false;
  }
  if (*p == 0) return false;
  ++p;
  return held != negated;
}

// Matches one byte of a name with the pattern element at `p`, which is not a star, and moves `p` past it.
bool ElementMatches(const char*& p, char c) {
  const char element = *p++;
  if (element == '?') return true;
  if (element == '[') return ClassHolds(p, c);
  if (element == '\\' && *p != 0) return *p++ == c;
  return element == c;
}

}  // namespace

// On a mismatch the last star takes one byte more. Earlier stars need not be tried again, since every other element
// takes exactly one byte.
bool OxPathMatcher(const char* name, const char* pattern) {
  const char* behindStar = nullptr;
  const char* starEnd = nullptr;
  for (;;) {
    if (*pattern == '*') {
      behindStar = ++pattern;
      starEnd = name;
      continue;
    }
    if (*name == 0) return *pattern == 0;
    if (*pattern != 0 && ElementMatches(pattern, *name)) {
      ++name;
      continue;
    }
    if (behindStar == nullptr) return false;
    pattern = behindStar;
    name = ++starEnd;
  }
}
