// OxPath's rules beside each other, and OxPathMatcher beside a judge that tries everything.

#include "Foundation/OxPath.h"
#include "Foundation/OxString.h"
#include "FuzzInput.h"
#include "Storage/OxPathMatcher.h"

namespace {

// Whether `c` is a member of the class that begins behind `pattern`'s "["; moves `pattern` behind its "]",
// or sets it to null when the class does not end.
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

void CheckPath(const OxString& text) {
  const OxPath path(text);
  Require(path.native_string().view().find('\\') == std::string_view::npos, "no backslash is left");
  Require(OxPath(path.root_directory() + path.relative_path()) == path,
          "root and relative part make the path");
  if (path.has_relative_path() && !path.leaf().empty()) {
    Require(path.branch_path() / OxPath(path.leaf()) == path ||
                path.branch_path().native_string().ends_with("/"),
            "branch and leaf make the path");
  }
  OxPath joined = OxPath("a") / path;
  Require(joined.native_string().starts_with("a"), "joining keeps what it joins to");
  if (!path.extension().empty())
    Require(path.has_extension(path.extension()), "a path has its extension");
  OxPath(path).trim_extension("wob").trim_extension().append_extension(".x").trim_component();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput input(data, size);
  // The judge needs time that grows with the stars to the power of the name, so both stay short.
  const std::string pattern = ZeroFree(input.Text(), 12);
  const std::string name = ZeroFree(input.Text(), 24);
  Require(OxPathMatcher(name.c_str(), pattern.c_str()) == Judge(name.c_str(), pattern.c_str()),
          "the matcher agrees with the judge");
  try {
    CheckPath(OxString(ZeroFree(input.Rest(), 4096)));
  } catch (const OxString::InvalidEncoding&) {
  }
  return 0;
}
