#include "Storage/OpenFolders.h"

#include <cerrno>
#include <utility>

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

}  // namespace

int OpenFolders::Begin(Place first) {
  const int folder = Open(first);
  if (folder < 0) return folder;
  CutTo(0);
  levels_.push_back({.name = "", .folder = folder, .identity = {}});
  return 0;
}

int OpenFolders::Enter(std::string_view name) {
  Level level = {.name = std::string(name), .folder = Place::kNoFolder, .identity = {}};
  levels_.reserve(levels_.size() + 1);  // May throw, which a handle would not survive.
  level.folder = OpenBelow(levels_.size() - 1, level.name.c_str());
  if (level.folder < 0) return level.folder;
  levels_.push_back(std::move(level));
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

int OpenFolders::Open(Place place) const {
  return Files().OpenFolder(place, links_ == Links::kFollow);
}

int OpenFolders::OpenBelow(std::size_t above, const char* name) {
  const Place place(levels_[above].folder, name);
  const int folder = Open(place);
  return IsOutOfHandles(folder) && CloseAllUpTo(above) ? Open(place) : folder;
}

int OpenFolders::Reopen(std::size_t index) {
  Level& level = levels_[index];
  const int folder = OpenBelow(index - 1, level.name.c_str());
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
