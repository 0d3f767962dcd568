#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <unordered_map>
#include <vector>

#include "Foundation/OxString.h"
#include "Posix/FileOps.h"
#include "Storage/FlatFileFormat.h"

/// The largest file that a record can hold; a larger one cannot be read.
constexpr std::uint64_t kLargestStoredFile =
    std::numeric_limits<std::uint32_t>::max() - FlatFile::kRecordHeaderSize;

/// What a bundle's files become, in order: one step per record, and one per entry that can't become one.
class BundlePlan {
 public:
  /// What becomes of an entry.
  enum class StepKind : std::uint8_t {
    kFile,
    kDanglingLink,  ///< A link that led nowhere when it was listed: a file, unless it leads to the archive.
    kUnreadable,      ///< Neither a file nor a folder, or a name that no path can hold.
    kUnlistedFolder,  ///< A folder whose entries cannot be had: nothing in it becomes a record.
    kLeftOut,         ///< A file that another one replaces, or the archive itself.
  };

  /// One entry of a folder.
  struct Step {
    OxString leaf;                    ///< The last component; bytes that are not UTF-8 are shown as "?".
    std::uint32_t folder = 0;         ///< Where it lies, as an index into the folders.
    StepKind kind = StepKind::kFile;  ///< What becomes of it.
  };

  /// Folder 0 is the one that the plan is for. A folder's steps, with those of the folders inside it,
  /// follow one another.
  struct Folder {
    OxString path;        ///< On the disk, with a "/" at the end.
    OxString relative;    ///< Of its records' names: empty, or with a "/" at the end.
    std::size_t end = 0;  ///< The first step after it.
  };

  std::vector<Step> steps;      ///< In the order of the records.
  std::vector<Folder> folders;  ///< In the order in which the walk entered them.
  /// Steps that store, under their own name, the file of a later step.
  std::unordered_map<std::size_t, std::size_t> replacements;
  /// Why the bundle cannot be flattened, a line for standard error without its end; empty when it can.
  OxString failure;
  /// What was at the archive's path before it was opened.
  std::optional<Posix::FileInfo> archive;
  /// Writing the archive would overwrite something in a folder that the plan reaches.
  bool reachesArchive = false;
  /// Some folder has two names that differ only in letter case.
  bool hasNameClashes = false;

  /// The record's own name, also when it gets another file's bytes.
  OxString RecordName(std::size_t step) const;
  /// The path of the file whose bytes the record gets.
  OxString SourcePath(std::size_t step) const;
  /// Its last component, for error lines.
  const OxString& SourceLeaf(std::size_t step) const { return steps[SourceOf(step)].leaf; }
  /// True for files directly in the root, where an unreadable file is fatal.
  bool IsInFirstFolder(std::size_t step) const { return steps[step].folder == 0; }
  /// The first step after the folder that a step lies in.
  std::size_t EndOfFolder(std::size_t step) const { return folders[steps[step].folder].end; }

 private:
  std::size_t SourceOf(std::size_t step) const;
};
