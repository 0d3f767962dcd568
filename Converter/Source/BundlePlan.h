#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Archive/FlatFileFormat.h"
#include "Foundation/OxString.h"
#include "Posix/FileOps.h"
#include "Posix/GrowingMemory.h"

/// The largest file that a record can hold; a larger one cannot be read.
constexpr std::uint64_t kLargestStoredFile =
    std::numeric_limits<std::uint32_t>::max() - FlatFile::kRecordHeaderSize;

/// What a bundle's files become, in order: one step per record, and one per entry that can't become one.
///   Memory: a step takes its name and six bytes, which end when it is done; see ForgetBefore().
class BundlePlan {
 public:
  /// What becomes of an entry.
  enum class StepKind : std::uint8_t {
    kFile,            ///< A regular file, by that name itself.
    kLinkedFile,      ///< A regular file that the name, a link, leads to.
    kDanglingLink,    ///< A link that led nowhere when it was listed; SettleDanglingLinks() decides.
    kUnreadable,      ///< Neither a file nor a folder, or a name that no path can hold.
    kUnlistedFolder,  ///< A folder whose entries cannot be had: nothing in it becomes a record.
    kLeftOut,         ///< A file that another one replaces, or the archive itself.
  };

  /// Where a step is, from 0 on; a later step is at a larger one.
  using Position = std::size_t;

  /// One entry of a folder.
  struct Step {
    StepKind kind = StepKind::kFile;  ///< What becomes of it.
    std::uint32_t folder = 0;         ///< Where it is, as an index into the folders.
    /// The last component, ended by a zero byte; bytes that are not UTF-8 are shown as "?". Until Add().
    std::string_view leaf;
  };

  /// Folder 0 is the one that the plan is for. A folder's steps, with those of the folders inside it,
  /// follow one another, and folders inside it have larger indices.
  struct Folder {
    std::uint32_t parent = 0;  ///< The index of the one that it is in; its own for folder 0.
    bool isLink = false;       ///< Reached through a link of its name.
    std::size_t leaf = 0;      ///< See Leaf().
    Position end = 0;          ///< The first step after it.
  };

  /// From one folder to another: how many to leave, and which to enter then.
  struct Route {
    std::size_t leave = 0;             ///< How many folders to leave.
    std::vector<std::uint32_t> enter;  ///< Indices, in order.
  };

  std::string root;             ///< The path of folder 0.
  std::string rootName;         ///< Of its records' names: empty, or with a "/" at the end.
  std::vector<Folder> folders;  ///< In the order in which the walk entered them.
  /// Steps that store, under their own name, the file of a later step.
  std::unordered_map<Position, Position> replacements;
  std::vector<Position> danglingLinks;  ///< The steps of that kind.
  /// Why the bundle cannot be flattened, a line for standard error without its end; empty when it can.
  OxString failure;
  /// What was at the archive's path before it was opened.
  std::optional<Posix::FileInfo> archive;
  /// Writing the archive would overwrite something in a folder that the plan reaches.
  bool reachesArchive = false;
  /// Some folder has two names that differ only in letter case.
  bool hasNameClashes = false;

  /// Whether such a step stores a file.
  static bool IsFile(StepKind kind) { return kind == StepKind::kFile || kind == StepKind::kLinkedFile; }
  Position End() const { return end_; }         ///< Past the last step.
  std::size_t Count() const { return count_; }  ///< Of all steps.
  Step At(Position step) const;                 ///< The step at a position.
  Position Next(Position step) const;           ///< The position after a step, or End().
  void Add(StepKind kind, std::uint32_t folder, std::string_view leaf);  ///< `leaf` has no zero byte.
  void SetKind(Position step, StepKind kind);                            ///< Changes what becomes of it.
  /// Frees memory of the steps before this one, which must not be used any more.
  void ForgetBefore(Position step);

  /// Returns the folder's index.
  std::uint32_t AddFolder(std::uint32_t parent, bool isLink, std::string_view leaf);
  /// The last component, ended by a zero byte; empty for folder 0. Until AddFolder().
  const char* Leaf(std::uint32_t folder) const { return folderNames_.c_str() + folders[folder].leaf; }
  /// The path of a name in a folder, in time that grows with the folder's depth.
  std::string PathOf(std::uint32_t folder, std::string_view leaf) const;
  /// The shortest way between two folders, given by their indices.
  Route FindRoute(std::uint32_t from, std::uint32_t to) const;

  /// The step of the file whose bytes the record gets.
  Step SourceOf(Position step) const;
  /// True for files directly in the root, where an unreadable file is fatal.
  bool IsInFirstFolder(Position step) const { return At(step).folder == 0; }
  /// The first step after the folder that a step is in.
  Position EndOfFolder(Position step) const { return folders[At(step).folder].end; }

 private:
  // Each step: its folder, its kind, its name, a zero byte.
  Posix::GrowingMemory steps_;
  Position end_ = 0;
  std::size_t count_ = 0;
  Position forgotten_ = 0;
  std::string folderNames_;
};

/// Names of a plan's records, each in little more time than its last component takes.
class RecordNames {
 public:
  /// `plan` is not owned.
  explicit RecordNames(const BundlePlan& plan) : plan_(plan), folderName_(plan.rootName) {}
  OxString Of(const BundlePlan::Step& step);  ///< The name of a step's record.

 private:
  void MoveTo(std::uint32_t folder);

  const BundlePlan& plan_;
  std::uint32_t folder_ = 0;
  std::string folderName_;  // Empty, or with a "/" at the end.
};
