#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "Posix/Paths.h"
#include "Support/Text.h"

namespace {

using Support::Text;

TEST(OxPath, PartsOfPaths) {
  struct Case {
    const char* text;
    const char* normal;
    const char* root;
    const char* relative;
    const char* leaf;
    const char* basename;
    const char* branch;
    const char* extension;
  };
  const Case cases[] = {
      {"", "", "", "", "", "", "", ""},
      {"/", "/", "/", "", "/", "/", "", ""},
      {"a", "a", "", "a", "a", "a", "", ""},
      {"/a", "/a", "/", "a", "a", "a", "/", ""},
      {"a/b", "a/b", "", "a/b", "b", "b", "a", ""},
      {"/a/b", "/a/b", "/", "a/b", "b", "b", "/a", ""},
      {"a\\b\\", "a/b", "", "a/b", "b", "b", "a", ""},
      {"a//", "a/", "", "a/", "", "", "a", ""},
      {"//", "/", "/", "", "/", "/", "", ""},
      {"a//b", "a//b", "", "a//b", "b", "b", "a", ""},
      {"/etc/", "/etc", "/", "etc", "etc", "etc", "/", ""},
      {"./../x", "./../x", "", "./../x", "x", "x", "./..", "/x"},
      {"dir.d/file", "dir.d/file", "", "dir.d/file", "file", "file", "dir.d", "d/file"},
      {".hidden", ".hidden", "", ".hidden", ".hidden", "", "", "hidden"},
      {"a.tar.gz", "a.tar.gz", "", "a.tar.gz", "a.tar.gz", "a.tar", "", "gz"},
      {"/foo/bar/baz.boof", "/foo/bar/baz.boof", "/", "foo/bar/baz.boof", "baz.boof", "baz", "/foo/bar",
       "boof"},
  };
  for (const Case& c : cases) {
    const OxPath path(c.text);
    EXPECT_EQ(Text(path), c.normal) << c.text;
    EXPECT_EQ(Text(path.root_directory()), c.root) << c.text;
    EXPECT_EQ(Text(path.relative_path()), c.relative) << c.text;
    EXPECT_EQ(Text(path.leaf()), c.leaf) << c.text;
    EXPECT_EQ(Text(path.basename()), c.basename) << c.text;
    EXPECT_EQ(Text(path.branch_path()), c.branch) << c.text;
    EXPECT_EQ(Text(path.extension()), c.extension) << c.text;
    EXPECT_EQ(path.is_complete(), *c.root != 0) << c.text;
    EXPECT_EQ(Text(WobGetPathParent(c.text)), c.branch);
    EXPECT_EQ(Text(WobGetPathTerminal(c.text)), c.leaf);
  }
}

TEST(OxPath, Joining) {
  const char* cases[][3] = {
      {"", "x", "x"}, {"/", "x", "/x"},   {"a", "b", "a/b"},           {"a", "/b", "a//b"},
      {"a", "", "a"}, {"/", "/x", "//x"}, {"a/b", "c\\d/", "a/b/c/d"}, {"", "", ""}};
  for (const auto& [left, right, joined] : cases) {
    EXPECT_EQ(Text(OxPath(left) / OxPath(right)), joined) << left << " / " << right;
    EXPECT_EQ(Text(OxPath(left).append_component(OxString(right))), joined);
  }
  OxPath text;
  text = "a\\";
  EXPECT_EQ(Text(text.append_component("b/")), "a/b");
  OxPath self("a/b");
  const OxPath& same = self;
  self /= same;
  EXPECT_EQ(Text(self), "a/b/a/b");
}

TEST(OxPath, Extensions) {
  EXPECT_TRUE(OxPath("IMAGE.PNG").has_extension("png"));
  EXPECT_TRUE(OxPath("IMAGE.PNG").has_extension(".png"));
  EXPECT_FALSE(OxPath("png").has_extension("png"));
  EXPECT_EQ(Text(OxPath("a.PEM").trim_extension("pem")), "a.PEM");
  EXPECT_EQ(Text(OxPath("a.pem/.pem").trim_extension("pem")), "a.pem");
  EXPECT_EQ(Text(OxPath("dir.d/file").trim_extension()), "dir");
  EXPECT_EQ(Text(OxPath("a").append_extension(".b/")), "a.b/");
  OxPath path;
  path.append_extension("/x");
  EXPECT_EQ(Text(path), "/x");
  EXPECT_FALSE(path.is_complete());
  EXPECT_EQ(Text(path.relative_path()), "/x");
  EXPECT_TRUE(path.normalize().is_complete());
}

TEST(OxPath, EqualityIgnoresCase) {
  EXPECT_TRUE(OxPath("/A/b\\") == OxPath("/a/B"));
  EXPECT_FALSE(OxPath("a") == OxPath("b"));
}

TEST(OxPath, MakeAbsolute) {
  const std::string here = std::filesystem::canonical(std::filesystem::current_path());
  EXPECT_EQ(Text(OxPath("no-such/../x").make_absolute()), here + "/x");
  EXPECT_EQ(Text(OxPath().make_absolute()), here);
  EXPECT_EQ(Text(OxPath("/a/../b\\").make_absolute()), "/a/../b");
  EXPECT_EQ(Text(OxPath("~root/x").make_absolute()), Posix::HomeOfUser("root").value() + "/x");
}

}  // namespace
