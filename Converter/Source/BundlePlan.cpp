#include "BundlePlan.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace {

constexpr std::size_t kFolderBytes = sizeof(std::uint32_t);
constexpr std::size_t kBytesBeforeLeaf = kFolderBytes + 1;

// What is given back at once, and the room for the first steps.
constexpr std::size_t kPiece = std::size_t{1} << 20;
constexpr std::size_t kFirstRoom = std::size_t{4} << 10;

}  // namespace

BundlePlan::Step BundlePlan::At(Position step) const {
  const char* const bytes = steps_.data() + step;
  Step found;
  std::memcpy(&found.folder, bytes, kFolderBytes);
  found.kind = static_cast<StepKind>(bytes[kFolderBytes]);
  found.leaf = bytes + kBytesBeforeLeaf;
  return found;
}

BundlePlan::Position BundlePlan::Next(Position step) const {
  return step + kBytesBeforeLeaf + At(step).leaf.size() + 1;
}

void BundlePlan::Add(StepKind kind, std::uint32_t folder, std::string_view leaf) {
  if (kind == StepKind::kDanglingLink) danglingLinks.push_back(end_);
  const std::size_t size = kBytesBeforeLeaf + leaf.size() + 1;
  if (size > steps_.capacity() - end_) {
    steps_.Grow(std::max({end_ + size, 2 * steps_.capacity(), kFirstRoom}), 0);
  }
  char* const bytes = steps_.data() + end_;
  std::memcpy(bytes, &folder, kFolderBytes);
  bytes[kFolderBytes] = static_cast<char>(kind);
  std::memcpy(bytes + kBytesBeforeLeaf, leaf.data(), leaf.size());
  bytes[size - 1] = 0;
  end_ += size;
  ++count_;
}

void BundlePlan::SetKind(Position step, StepKind kind) {
  steps_.data()[step + kFolderBytes] = static_cast<char>(kind);
}

void BundlePlan::ForgetBefore(Position step) {
  if (step - forgotten_ < kPiece) return;
  steps_.Forget(step);
  forgotten_ = step;
}

std::uint32_t BundlePlan::AddFolder(std::uint32_t parent, bool isLink, std::string_view leaf) {
  folders.push_back({.parent = parent, .isLink = isLink, .leaf = folderNames_.size(), .end = 0});
  folderNames_.append(leaf).push_back('\0');
  return static_cast<std::uint32_t>(folders.size() - 1);
}

std::string BundlePlan::PathOf(std::uint32_t folder, std::string_view leaf) const {
  std::string path = root;
  for (const std::uint32_t next : FindRoute(0, folder).enter) (path += '/') += Leaf(next);
  return (path += '/') += leaf;
}

// A folder's index is larger than that of the one that it is in.
BundlePlan::Route BundlePlan::FindRoute(std::uint32_t from, std::uint32_t to) const {
  Route route;
  while (from != to) {
    if (from > to) {
      from = folders[from].parent;
      ++route.leave;
    } else {
      route.enter.push_back(to);
      to = folders[to].parent;
    }
  }
  std::ranges::reverse(route.enter);
  return route;
}

BundlePlan::Step BundlePlan::SourceOf(Position step) const {
  const auto replacement = replacements.find(step);
  return At(replacement == replacements.end() ? step : replacement->second);
}

OxString RecordNames::Of(const BundlePlan::Step& step) {
  if (step.folder != folder_) MoveTo(step.folder);
  const std::size_t length = folderName_.size();
  folderName_ += step.leaf;
  OxString name = OxString::from_valid(folderName_);
  folderName_.resize(length);
  return name;
}

void RecordNames::MoveTo(std::uint32_t folder) {
  const BundlePlan::Route route = plan_.FindRoute(folder_, folder);
  for (std::size_t i = 0; i < route.leave; ++i) {
    folderName_.pop_back();
    folderName_.resize(folderName_.rfind('/') + 1);
  }
  for (const std::uint32_t next : route.enter) (folderName_ += plan_.Leaf(next)) += '/';
  folder_ = folder;
}
