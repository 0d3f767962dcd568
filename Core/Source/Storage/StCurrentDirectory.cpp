#include "Storage/OxFileUtils.h"

StCurrentDirectory::StCurrentDirectory(const OxPath& target) : target_(target) {
  Set();
}

StCurrentDirectory::~StCurrentDirectory() {
  Restore();
}

void StCurrentDirectory::Set() {
  if (!remembered_.native_string().empty()) return;
  remembered_ = OxFileUtils::GetCurrentDirectory();
  OxFileUtils::SetCurrentDirectory(target_);
}

void StCurrentDirectory::Restore() {
  if (remembered_.native_string().empty()) return;
  OxFileUtils::SetCurrentDirectory(remembered_);
  remembered_.clear();
}
