#include <string>

#include <gtest/gtest.h>

#include "Files/OxPathMatcher.h"

namespace {

TEST(OxPathMatcher, Patterns) {
  const struct {
    const char* pattern;
    const char* matching;  // Names, each ended by a comma.
    const char* others;
  } cases[] = {
      {"", ",", "a,"},
      {"*", ",a,.hidden,", ""},
      {"*.wob", ".wob,a.wob,a.wob.wob,", "a.WOB,a.wobx,awob,"},
      {"a**b*", "ab,aXb,abb,abX,", "a,b,"},
      {"a?c", "abc,a?c,", "ac,abbc,"},
      {"[abx-z]", "a,b,y,z,", "c,[,-,ab,"},
      {"[^a]", "b,^,", "a,,"},
      {"[]x]", "],x,", "[,"},
      {"[^]x]", "a,", "],x,"},
      {"[a-]", "a,b,~,", "Z,-,\xC3,"},
      {"[-a]", "-,a,", "b,"},
      {"[\x80-a]", "a,0,\x80,\xFF,", "b,"},
      {"[ab", "", "a,[ab,"},
      {"*[", "", "a,[,"},
      {"\\*\\a\\", "*a\\,", "xa\\,*a,"},
      {"*a[bc]*[0-9]?", "ab0x,xaacd15,", "ab0,ax0x,"},
      {"\xC3?", "\xC3\xA9,", "e,"},
  };
  for (const auto& row : cases) {
    for (const bool expected : {true, false}) {
      const std::string names = expected ? row.matching : row.others;
      for (std::size_t at = 0; at < names.size(); at = names.find(',', at) + 1) {
        const std::string name = names.substr(at, names.find(',', at) - at);
        EXPECT_EQ(OxPathMatcher(name.c_str(), row.pattern), expected) << row.pattern << " : " << name;
      }
    }
  }
}

TEST(OxPathMatcher, ManyStarsTakeNoTime) {
  std::string pattern;
  for (int i = 0; i < 1000; ++i) pattern += "*a";
  EXPECT_FALSE(OxPathMatcher(std::string(5000, 'a').c_str(), (pattern + "b").c_str()));
}

}  // namespace
