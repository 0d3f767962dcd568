#include "Xml/XMLExpansion.h"

#include <algorithm>

bool XMLExpansionBudget::Take(std::uint64_t bytes) {
  const std::uint64_t allowed = std::max(kThreshold, kRatio * textBytes_);
  if (used_ > allowed || bytes > allowed - used_) return false;
  used_ += bytes;
  return true;
}

bool XMLExpansion::Push(const OxString& text, std::uint32_t depth) {
  LeaveDownTo(depth);
  if (openTexts_.contains(&text) || !budget_.Take(text.size())) return false;
  if (text.empty()) return true;
  scanner_.PushData(text);
  open_.push_back({&text, scanner_.Depth()});
  openTexts_.insert(&text);
  return true;
}

void XMLExpansion::LeaveDownTo(std::uint32_t depth) {
  for (; !open_.empty() && open_.back().depth > depth; open_.pop_back()) {
    openTexts_.erase(open_.back().text);
  }
}
