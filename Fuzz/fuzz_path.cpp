// OxPath's functions agree with each other, and OxPathMatcher with a matcher that tries everything.

#include "Files/OxPathMatcher.h"
#include "Foundation/OxPath.h"
#include "Foundation/OxString.h"
#include "FuzzInput.h"

namespace {

// Whether `c` is in the class after whose "[" `pattern` points. Moves `pattern` past its "]", or sets it to
// null if the class does not end.
bool InClass(const char*& pattern, char c) {
  const bool negated = *pattern == '^';
  if (negated) ++pattern;
  bool member = false;
  for (bool first = true; first || *pattern != ']'; first = false) {
    if (*pattern == 0) {
      pattern = nullptr;
      return false;
    }
    const auto low = static_cast<signed char>(*pattern++);
    signed char high = low;
    if (*pattern == '-') {
      ++pattern;
      if (*pattern == 0) {
        pattern = nullptr;
        return false;
      }
      high = *pattern == ']' ? static_cast<signed char>(127) : static_cast<signed char>(*pattern++);
    }
    member |= low <= static_cast<signed char>(c) && static_cast<signed char>(c) <= high;
  }
  ++pattern;
  return member != negated;
}

bool Judge(const char* name, const char* pattern) {
  if (*pattern == 0) return *name == 0;
  if (*pattern == '*') {
    for (;; ++name) {
      if (Judge(name, pattern + 1)) return true;
      if (*name == 0) return false;
    }
  }
  if (*name == 0) return false;
  if (*pattern == '?') return Judge(name + 1, pattern + 1);
  if (*pattern == '[') {
    const char* behind = pattern + 1;
    const bool member = InClass(behind, *name);
    return member && behind != nullptr && Judge(name + 1, behind);
  }
  if (*pattern == '\\' && pattern[1] != 0) ++pattern;
  return *name == *pattern && Judge(name + 1, pattern + 1);
}

std::string ZeroFree(std::string_view text, std::size_t limit) {
  return std::string(text.substr(0, std::min(text.find('\0'), limit)));
}

bool Same(const OxPath& a, const OxPath& b) {
  return a.native_string().view() == b.native_string().view();
}

void CheckPath(const OxString& text) {
  const OxPath path(text);
  const std::string_view normal = path.native_string().view();
  Require(normal.find('\\') == std::string_view::npos, "no backslash is left");
  Require((path.root_directory() + path.relative_path()).view() == normal,
          "root and relative part make the path");
  Require(normal.ends_with(path.leaf().view()), "a path ends with its leaf");
  if (normal.find("//") == std::string_view::npos && !path.leaf().empty() && path.has_relative_path()) {
    Require(Same(path.branch_path() / OxPath(path.leaf()), path), "branch and leaf make the path");
  }
  Require((OxPath("a") / path).native_string().starts_with("a"), "joining keeps what it joins to");
  OxPath(path).trim_extension("wob").trim_extension().append_extension(".x").trim_component();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput input(data, size);
  // The time of a matcher that tries everything grows with the name to the power of the stars, so both stay short.
  const std::string pattern = ZeroFree(input.Text(), 8);
  const std::string name = ZeroFree(input.Text(), 12);
  Require(OxPathMatcher(name.c_str(), pattern.c_str()) == Judge(name.c_str(), pattern.c_str()),
          "the matcher agrees with the judge");
  try {
    CheckPath(OxString(ZeroFree(input.Rest(), 4096)));
  } catch (const OxString::InvalidEncoding&) {
  }
  return 0;
}
