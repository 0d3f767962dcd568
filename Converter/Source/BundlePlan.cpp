#include "BundlePlan.h"

std::size_t BundlePlan::SourceOf(std::size_t step) const {
  const auto replacement = replacements.find(step);
  return replacement == replacements.end() ? step : replacement->second;
}

OxString BundlePlan::RecordName(std::size_t step) const {
  return folders[steps[step].folder].relative + steps[step].leaf;
}

OxString BundlePlan::SourcePath(std::size_t step) const {
  const Step& source = steps[SourceOf(step)];
  return folders[source.folder].path + source.leaf;
}
