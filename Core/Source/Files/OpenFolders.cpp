#include "Files/OpenFolders.h"

#include <cerrno>
#include <utility>

#include "Posix/FileOps.h"

using Posix::FileInfo;
using Posix::Files;
using Posix::Place;

namespace {

// The last folders stay open, and of those above them every one at such a distance from the next.
constexpr std::size_t kLastOnes = 8;
constexpr std::size_t kDistance = 16;

bool IsOutOfHandles(int result) {
  return result == -EMFILE || result == -ENFILE;
}

int Open(Place place, OpenFolders::Links links) {
  return Files().OpenFolder(place, links == OpenFolders::Links::kFollow);
}

}  // namespace

int OpenFolders::Begin(Place first) {
  const int folder = Open(first, links_);
  if (folder < 0) return folder;
  CutTo(0);
  levels_.push_back({.name = "", .links = links_, .folder = folder, .identity = {}});
  return 0;
}

int OpenFolders::Enter(std::string_view name, Links links) {
  // First what may throw, which a handle would not survive.
  levels_.push_back(
      {.name = std::string(name), .links = links, .folder = Place::kNoFolder, .identity = {}});
  const int folder = OpenBelow(levels_.size() - 2, levels_.back());
  if (folder < 0) {
    levels_.pop_back();
    return folder;
  }
  levels_.back().folder = folder;
  CloseDistantOnes();
  return 0;
}

int OpenFolders::LeaveTo(std::size_t depth) {
  CutTo(depth);
  std::size_t open = levels_.size() - 1;
  while (levels_[open].folder < 0) --open;
  int result = 0;
  while (++open < levels_.size() && result >= 0) result = Reopen(open);
  return result;
}

bool OpenFolders::CloseSpareHandles() {
  return CloseAllUpTo(levels_.size() - 1);
}

int OpenFolders::OpenBelow(std::size_t above, const Level& level) {
  const Place place(levels_[above].folder, level.name.c_str());
  const int folder = Open(place, level.links);
  return IsOutOfHandles(folder) && CloseAllUpTo(above) ? Open(place, level.links) : folder;
}

int OpenFolders::Reopen(std::size_t index) {
  Level& level = levels_[index];
  const int folder = OpenBelow(index - 1, level);
  if (folder < 0) return folder;
  FileInfo found;
  int result = Files().OpenStatus(folder, found);
  if (result >= 0 && !found.IsSameObject(level.identity)) result = -ESTALE;
  if (result < 0) {
    Files().Close(folder);
  } else {
    level.folder = folder;
  }
  return result;
}

// What cannot be told apart later counts as another object.
void OpenFolders::Close(Level& level) {
  if (level.folder < 0) return;
  if (Files().OpenStatus(level.folder, level.identity) < 0) level.identity = FileInfo();
  Files().Close(std::exchange(level.folder, Place::kNoFolder));
}

void OpenFolders::CloseDistantOnes() {
  const std::size_t last = levels_.size() - 1;
  if (last < kLastOnes) return;
  for (std::size_t i = last - kLastOnes; i % kDistance != 0; --i) Close(levels_[i]);
}

// All but the first folder and the one at `last`. Whether there was any.
bool OpenFolders::CloseAllUpTo(std::size_t last) {
  bool closed = false;
  for (std::size_t i = 1; i < last; ++i) {
    closed = closed || levels_[i].folder >= 0;
    Close(levels_[i]);
  }
  return closed;
}

void OpenFolders::CutTo(std::size_t depth) {
  for (; levels_.size() > depth; levels_.pop_back()) {
    if (levels_.back().folder >= 0) Files().Close(levels_.back().folder);
  }
}
