#include "Archive/LinkTrail.h"

#include "Archive/FlatFileFormat.h"

namespace FlatFile {

bool LinkTrail::StepTo(std::uint64_t next, const NextOf& nextOf, std::uint64_t change) {
  if (change != change_) {
    *this = LinkTrail(next, change);
    return true;
  }
  if (stepOf_ == nullptr) {
    if (next > highest_) {
      highest_ = next;
      ++steps_;
      return true;
    }
    RememberTheWay(nextOf);
  }
  // Copies share the map, so a slower copy may meet later steps there.
  const std::uint64_t noted = stepOf_->try_emplace(next, steps_ + 1).first->second;
  return noted >= ++steps_;
}

void LinkTrail::RememberTheWay(const NextOf& nextOf) {
  const auto stepOf = std::make_shared<std::unordered_map<std::uint64_t, std::uint64_t>>();
  std::uint64_t position = start_;
  for (std::uint64_t step = 0; step <= steps_ && position != kNoPosition; ++step) {
    stepOf->try_emplace(position, step);
    position = nextOf(position);
  }
  stepOf_ = stepOf;
}

}  // namespace FlatFile
