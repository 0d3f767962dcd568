#pragma once

#include <gtest/gtest.h>

#include "Flattening.h"
#include "Support/TemporaryFolder.h"

/// A folder with the bundle "X.widget", which holds a description, a file and a file in a subfolder.
class BundleTest : public testing::Test {
 protected:
  BundleTest() {
    folder.Write("X.widget/Contents/main.wob", "<widget version='1.5' image='i.png'/>");
    folder.Write("X.widget/Contents/a", "first");
    folder.Write("X.widget/Contents/sub/b", "second");
  }

  OxPath Path(const char* name) const { return OxPath(folder.Path(name).c_str()); }
  bool Flatten() const { return FlattenBundle(Path("X.widget"), Path("archive"), false, false); }

  Support::TemporaryFolder folder;
};
