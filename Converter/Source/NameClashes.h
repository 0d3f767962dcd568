#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "BundlePlan.h"
#include "Foundation/StringComparison.h"
#include "Posix/FileOps.h"

/// A name in an order in which names that differ only in letter case are equal: by hash, then by
/// CompareNoCase(). Sorted and in trees, names whose hashes were chosen to collide cost no more
/// comparisons than others. The text belongs to the caller.
struct FoldedName {
  std::size_t hash = 0;   ///< HashNoCase(), or any other number that is equal for equal names.
  std::string_view name;  ///< Acceptable to OxString.

  /// By its HashNoCase().
  explicit FoldedName(std::string_view text) : FoldedName(text, HashNoCase(text)) {}
  /// By a hash that the caller knows.
  FoldedName(std::string_view text, std::size_t textHash) : hash(textHash), name(text) {}
  bool operator<(const FoldedName& other) const;  ///< By hash, then by CompareNoCase().
  /// False for what UTF-16 cannot hold, which equals no name, itself included, and so has no order.
  bool IsComparable() const;
};

/// Whether two of the names are equal.
bool HasEqualNames(std::vector<FoldedName> names);

/// Whether two entries of one folder have names that differ only in letter case. Names that are not UTF-8
/// do not count.
bool HasNameClashes(const std::vector<Posix::FolderEntry>& entries);

/// Settles which files are stored where record names differ only in letter case, as an archive keeps
/// one of them. The later file is stored: if it fits the room of the first file, it takes that place and
/// spelling; else it keeps its own and the earlier is left out. One warning line on standard error for
/// each.
///   Files that will not be stored, because they or a file before them in their folder cannot be read,
///   replace nothing. To know that, every file is opened once.
void ResolveNameClashes(BundlePlan& plan);
