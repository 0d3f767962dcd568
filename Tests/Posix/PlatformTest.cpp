// The smaller services of the platform: users, case folding, regular expressions, paths.

#include <cstdlib>
#include <filesystem>
#include <set>

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/resource.h>

#include "Posix/MemoryImages.h"
#include "Posix/Paths.h"
#include "Posix/Randomness.h"
#include "Posix/RegularExpression.h"
#include "Posix/Unicode.h"
#include "Support/FaultyFileOps.h"
#include "Support/TemporaryFolder.h"

namespace {

TEST(Users, HomesComeFromTheDatabaseAlone) {
  ASSERT_EQ(::setenv("HOME", "/nowhere", 1), 0);
  EXPECT_TRUE(Posix::HomeOfUser("root").value_or("").starts_with('/'));
  EXPECT_NE(Posix::HomeOfEffectiveUser(), "/nowhere");
  EXPECT_EQ(Posix::HomeOfUser("no such user"), std::nullopt);
}

TEST(CaseFolding, IsSimpleAndKnowsNoLocale) {
  const std::pair<char32_t, char32_t> cases[] = {{'A', 'a'},           {'[', '['},
                                                 {0xC9, 0xE9},         {0x212A, 'k'},
                                                 {0x3A3, 0x3C3},       {0x3C2, 0x3C3},
                                                 {'I', 'i'},           {0x130, 0x130},
                                                 {0xDF, 0xDF},         {0x1E9E, 0xDF},
                                                 {0xD800, 0xD800},     {0x10400, 0x10428},
                                                 {0x110000, 0x110000}, {0xFFFFFFFF, 0xFFFFFFFF}};
  for (const auto& [from, to] : cases)
    EXPECT_EQ(Posix::FoldCase(from), to) << static_cast<unsigned>(from);
}

std::string Matches(const std::string& pattern, const std::string& subject, bool ignoreCase = false) {
  std::string found;
  for (const Posix::Match& match : Posix::SearchExpression(pattern, subject.c_str(), ignoreCase)) {
    found += subject.substr(match.start, match.end - match.start) + '|';
  }
  return found;
}

TEST(RegularExpression, GivesTheMatchAndItsGroups) {
  EXPECT_EQ(Matches("b(.)(d?)", "abcabd"), "bc|c||");
  EXPECT_EQ(Matches("(a)(x)?(b)", "ab"), "ab|a|");
  EXPECT_EQ(Matches("B", "abc"), "");
  EXPECT_EQ(Matches("B", "abc", true), "b|");
  EXPECT_EQ(Matches("(", "("), "");
  EXPECT_EQ(Matches("[^x].", "\xC3\xA9"), "\xC3\xA9|");
  std::string groups;
  for (int i = 0; i < 120; ++i) groups += "(a)";
  EXPECT_EQ(Posix::SearchExpression(groups, std::string(120, 'a').c_str(), false).size(), 100U);
}

TEST(Paths, ResolveWhatExistsAndTidyTheRest) {
  const Support::TemporaryFolder folder;
  folder.Write("real/file", "");
  folder.MakeLink("link", "real");
  folder.MakeLink("loop", "loop");
  for (const char* name :
       {"link/../link/x/./y/..", "link", "link/", "link//file/", "no/../x", "no/..", "x/../../..", "no/",
        "no//.", "link/no//../..//", "link/file/..", "link/file/../../no", "real/./../no/."}) {
    EXPECT_EQ(Posix::ResolvePath(folder.Path(name)),
              std::filesystem::weakly_canonical(folder.Path(name)))
        << name;
  }
  for (const char* path :
       {"/", "//", "/..", "/no such thing", "/no such thing/../..", "//tmp//no such/"}) {
    EXPECT_EQ(Posix::ResolvePath(path), std::filesystem::weakly_canonical(path)) << path;
  }
  EXPECT_EQ(Posix::ResolvePath(folder.Path("link/../link/x/./y/..")), folder.Path("real/x/"));
  EXPECT_EQ(Posix::ResolvePath(folder.Path("link")), folder.Path("real"));
  EXPECT_EQ(Posix::ResolvePath(folder.Path("loop/x")), folder.Path("loop/x"));
  {
    const Support::FaultyFileOps faults({.failCall = 1, .only = Support::FileCall::kResolve});
    EXPECT_EQ(Posix::ResolvePath(folder.Path("link/./x")), folder.Path("link/./x"));
  }
  const std::string working = std::filesystem::canonical(".");
  EXPECT_EQ(Posix::ResolvePath(""), working);
  EXPECT_EQ(Posix::ResolvePath("no such/thing"),
            (std::filesystem::path(working) / "no such/thing").string());
}

TEST(Paths, RandomDigitsDiffer) {
  std::set<std::string> seen;
  for (int i = 0; i < 100; ++i) seen.insert(Posix::RandomHexDigits(8));
  EXPECT_EQ(seen.size(), 100U);
  EXPECT_EQ(seen.begin()->size(), 16U);
  EXPECT_EQ(seen.begin()->find_first_not_of("0123456789abcdef"), std::string::npos);
}

TEST(MemoryImages, AreForbiddenForGood) {
  const auto AreForbidden = [] {
    rlimit limit{};
    return ::prctl(PR_GET_DUMPABLE) == 0 && ::getrlimit(RLIMIT_CORE, &limit) == 0 &&
           limit.rlim_cur == 0 && limit.rlim_max == 0;
  };
  EXPECT_FALSE(AreForbidden());
  // In a process of its own.
  EXPECT_EXIT((Posix::ForbidMemoryImages(), std::exit(AreForbidden() ? 0 : 1)),
              testing::ExitedWithCode(0), "");
}

}  // namespace
