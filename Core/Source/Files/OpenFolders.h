#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "Posix/FileTypes.h"

/// The way from one folder down to another, each opened in the one above it: whatever is renamed or replaced
/// meanwhile leads nowhere else, and what is done in a deep folder costs no more than in the first one.
///   Handles: a few, however deep the way. A folder whose handle was closed meanwhile is opened again when the
///            way leads back to it, from one above it that is still open, and has to be the same object.
///   Results: 0, or what Posix::FileOps gives on failure. Where Begin() or Enter() fails the way is what it was.
class OpenFolders {
 public:
  /// Whether a folder may be entered through a link of its name.
  enum class Links { kFollow, kRefuse };

  /// `links`: the rule for folders that are entered.
  explicit OpenFolders(Links links) : links_(links) {}
  OpenFolders(const OpenFolders&) = delete;
  OpenFolders& operator=(const OpenFolders&) = delete;
  ~OpenFolders() { CutTo(0); }

  /// Begins a new way with a folder, to which links on the way to it lead in any case; where links are
  /// refused, `first` itself must be none.
  int Begin(Posix::Place first);
  /// Opens the folder of that name, one component, in the last one; it becomes the last one.
  int Enter(std::string_view name) { return Enter(name, links_); }
  int Enter(std::string_view name, Links links);  ///< With a rule of its own.
  /// Goes back to the folder above the last one; there must be one. -ESTALE when another object has that one's
  /// name by now. After a failure only Begin() can be called.
  int Leave() { return LeaveTo(levels_.size() - 1); }
  /// The same to a way of `depth` folders, which must be above 0 and no more than it has.
  int LeaveTo(std::size_t depth);
  /// Closes the handles between the first and the last folder, for a caller that is out of handles. Whether there was
  /// any.
  bool CloseSpareHandles();
  /// How many folders the way has; 0 before Begin().
  std::size_t Depth() const { return levels_.size(); }
  /// Names of folders after the first one, down to the last one.
  std::string_view Name(std::size_t level) const { return levels_[level].name; }
  /// An object in the last folder; `name` must outlive what is returned.
  Posix::Place In(const char* name) const { return {levels_.back().folder, name}; }

 private:
  struct Level {
    std::string name;
    Links links = Links::kRefuse;
    int folder = Posix::Place::kNoFolder;  // Closed meanwhile.
    Posix::FileInfo identity;              // Known once it is closed.
  };

  int OpenBelow(std::size_t above, const Level& level);
  int Reopen(std::size_t index);
  static void Close(Level& level);
  void CloseDistantOnes();
  bool CloseAllUpTo(std::size_t last);
  void CutTo(std::size_t depth);

  Links links_;
  std::vector<Level> levels_;
};
