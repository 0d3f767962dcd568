#include <gtest/gtest.h>

#include "Foundation/VisibleText.h"

namespace {

TEST(VisibleText, HidesWhatWritesLinesOrTurnsThem) {
  const std::string hidden[] = {"\x01",
                                "\t",
                                "\n",
                                "\x1B",
                                "\x1F",
                                "\x7F",
                                "\xC2\x80",
                                "\xC2\x85",
                                "\xC2\x9F",
                                "\xD8\x9C",
                                "\xE2\x80\x8E",
                                "\xE2\x80\x8F",
                                "\xE2\x80\xA8",
                                "\xE2\x80\xA9",
                                "\xE2\x80\xAA",
                                "\xE2\x80\xAE",
                                "\xE2\x81\xA6",
                                "\xE2\x81\xA9",
                                "\xC0\x8A",  // An overlong line feed.
                                std::string(1, '\0')};
  for (const std::string& character : hidden) {
    EXPECT_EQ(VisibleText("<" + character + "\xC3\xA9>"), "<?\xC3\xA9>") << character;
  }
  // The neighbours of each range, and characters of every length.
  const std::string kept =
      " ~"
      "\xC2\xA0\xD8\x9B\xD8\x9D\xE2\x80\x8D\xE2\x80\x90\xE2\x80\xA7\xE2\x80\xAF\xE2\x81\xA5\xE2\x81\xAA"
      "\xF0\x9F\x98\x80";
  EXPECT_EQ(VisibleText(kept), kept);
  EXPECT_TRUE(VisibleText("").empty());
  // Bytes that are no character hide nothing that follows them.
  EXPECT_EQ(VisibleText("\x9B\xFF\xC3\n\xE2\x80\xE2\x80"), std::string(8, '?'));
}

}  // namespace
