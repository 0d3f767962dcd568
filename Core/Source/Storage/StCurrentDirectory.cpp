#include "Storage/OxFileUtils.h"

using Posix::Files;

StCurrentDirectory::StCurrentDirectory(const OxPath& target) : target_(target) {
  Set();
}

StCurrentDirectory::~StCurrentDirectory() {
  Restore();
}

void StCurrentDirectory::Set() {
  if (!remembered_.empty()) return;
  Files().CurrentFolder(remembered_);
  OxFileUtils::SetCurrentDirectory(target_);
}

void StCurrentDirectory::Restore() {
  if (remembered_.empty()) return;
  Files().ChangeFolder(remembered_.c_str());
  remembered_.clear();
}
