#include "Storage/LinkTrail.h"

#include "Storage/FlatFileFormat.h"

bool LinkTrail::StepTo(std::uint64_t next, const NextOf& nextOf) {
  if (stepOf_ == nullptr) {
    if (next > highest_) {
      highest_ = next;
      ++steps_;
      return true;
    }
    RememberTheWay(nextOf);
  }
  ++steps_;
  // A copy that stays behind finds the steps that another one has noted.
  return stepOf_->try_emplace(next, steps_).first->second >= steps_;
}

void LinkTrail::RememberTheWay(const NextOf& nextOf) {
  stepOf_ = std::make_shared<std::unordered_map<std::uint64_t, std::uint64_t>>();
  std::uint64_t position = start_;
  for (std::uint64_t step = 0; step <= steps_ && position != FlatFile::kNoPosition; ++step) {
    stepOf_->try_emplace(position, step);
    position = nextOf(position);
  }
}
