#include "Unflattening.h"

#include <optional>
#include <system_error>
#include <utility>
#include <vector>

#include "Archive/DamageWatch.h"
#include "Archive/OxDataFile.h"
#include "Console.h"
#include "Files/FileIdentity.h"
#include "Files/FileTree.h"
#include "Files/OxFileUtils.h"
#include "OverlapLimit.h"
#include "Posix/FileOps.h"
#include "Posix/Interruption.h"
#include "Progress.h"
#include "RecordExtraction.h"
#include "WidgetArchive.h"

namespace {

// A place where a bundle is made before it is moved: below a folder in the temporary one that is nobody
// else's to look into. What is still there at the end, or when the run is interrupted, is deleted.
class TemporaryBundle {
 public:
  TemporaryBundle()
      : folder_(WobGetNewTempFilePath()), guard_(std::string(folder_.native_string().view())) {
    constexpr unsigned kPrivate = 0700;
    const char* const path = folder_.native_string().c_str();
    if (Posix::Files().MakeFolder(path, kPrivate) < 0) return;
    isMade_ = true;
    handle_ = Posix::Files().OpenFolder(path, false);
    if (handle_ >= 0 && !IsNew()) Posix::Files().Close(std::exchange(handle_, -1));
    if (handle_ >= 0) guard_.Arm(handle_);
  }
  TemporaryBundle(const TemporaryBundle&) = delete;
  TemporaryBundle& operator=(const TemporaryBundle&) = delete;
  ~TemporaryBundle() {
    if (handle_ >= 0 && isMade_) FileTree::Remove(Posix::Place(handle_, folder_.leaf().c_str()));
    if (isMade_) Posix::Files().RemoveFolder(folder_.native_string().c_str());
    if (handle_ >= 0) Posix::Files().Close(handle_);
  }

  bool IsUsable() const { return handle_ >= 0; }
  TargetBundle Target() const { return {.path = Path(), .above = handle_}; }
  // Deliberate: whether the move succeeds is not asked, and a bundle that cannot be moved stays; an archive
  // without files made nothing to move.
  void MoveInto(const OxPath& folder) {
    WobMoveFile(Path().native_string(), folder.native_string(), kConflictRename);
    Posix::Files().RemoveFolder(folder_.native_string().c_str());
    isMade_ = false;
  }

 private:
  OxPath Path() const { return folder_ / OxPath(folder_.leaf()); }
  // Where others may rename it, another folder may have its name by now, whose files must stay.
  bool IsNew() const {
    std::vector<Posix::FolderEntry> entries;
    return Posix::Files().ListFolder({handle_, "."}, entries) >= 0 && entries.empty();
  }

  OxPath folder_;
  Posix::InterruptionGuard guard_;
  bool isMade_ = false;
  int handle_ = -1;
};

// What a walk over an archive finds out before anything is changed.
struct Survey {
  std::uint64_t bytes = 0;  // Of records to extract, as they say.
  bool isDamaged = false;
  bool hasNoNames = false;
  bool isExtractable = false;  // There is a record to extract.
  bool isStopped = false;      // By the limit; the extraction will be stopped as well.
};

// Prints nothing.
Survey Examine(OxDataFile& file) {
  Survey survey;
  OverlapLimit limit(file);
  DamageWatch watch(file);
  const OxDataFile::Iterator end = file.End();
  for (OxDataFile::Iterator record = file.Begin(); record != end; ++record) {
    const bool isExtractable = IsExtractable(*record);
    survey.isExtractable = survey.isExtractable || isExtractable;
    survey.bytes += isExtractable ? record->GetDataLength() : 0;
    survey.isStopped = !limit.Admits(record->GetName().size());
    if (survey.isStopped) return survey;
    watch.See(*record);
  }
  survey.isDamaged = watch.FoundDamage();
  survey.hasNoNames = watch.HasNoNames();
  return survey;
}

bool IsEmptyFolder(const OxPath& path) {
  std::vector<OxFolderEntry> entries;
  const auto info = IdentifyLink(path.native_string());
  return info && info->kind == Posix::FileKind::kFolder &&
         OxFileUtils::ListFolder(path, "*", entries) == 0;
}

// Deletes the old bundle, unless that would take the archive with it. A folder that is emptied, but cannot be
// removed, is as good as a new one; `emptied` says so. False, after a line, when the bundle is still there.
bool ClearTarget(const OxPath& archive, const OxPath& bundle, std::optional<Posix::FileInfo>& emptied) {
  const char* const target = bundle.native_string().c_str();
  if (IsSameObject(archive, bundle) || GoesWith(archive, bundle)) {
    Console::Error("Error: '%s' lies inside '%s'\n", archive.native_string().c_str(), target);
    return false;
  }
  const auto old = IdentifyLink(bundle.native_string());
  const bool isSpecial = old && old->kind == Posix::FileKind::kOther;
  if (!isSpecial) WobDeleteDirectory(bundle.native_string());
  if (!IsThere(bundle)) return true;
  if (old && old->kind == Posix::FileKind::kFolder && IsEmptyFolder(bundle)) {
    emptied = old;
    return true;
  }
  Console::Error("Error: could not delete '%s'\n", target);
  return false;
}

// `isDamaged` becomes true when this walk, unlike the one before, finds damage.
bool ExtractAll(OxDataFile& file, const TargetBundle& bundle, bool verbose, bool& isDamaged) {
  using Outcome = RecordExtraction::Outcome;
  OverlapLimit limit(file);
  DamageWatch watch(file);
  RecordExtraction extraction(bundle, limit, verbose);
  const OxDataFile::Iterator end = file.End();
  for (OxDataFile::Iterator record = file.Begin(); record != end; ++record) {
    watch.See(*record);
    if (record->GetName() == WidgetArchive::kMetaDataName) continue;
    const std::uint64_t claimed = std::uint64_t{record->GetDataLength()} + record->GetName().size();
    const Outcome outcome =
        limit.Admits(claimed) ? extraction.Extract(*record) : Outcome::kTooManyFolders;
    if (outcome == Outcome::kTooManyFolders) {
      Console::Error("Error: the records of '%s' overlap, the rest is left out\n",
                     file.GetPath().c_str());
    }
    if (outcome != Outcome::kDone) return false;
  }
  isDamaged = isDamaged || watch.FoundDamage();
  return extraction.WasComplete();
}

// Extracts what can be read.
bool ExtractWithReport(OxDataFile& file, const TargetBundle& bundle, bool verbose, bool isDamaged) {
  const bool extracted = ExtractAll(file, bundle, verbose, isDamaged);
  if (isDamaged) {
    Console::Error("Error: '%s' is damaged, some of its records cannot be read\n",
                   file.GetPath().c_str());
  }
  return extracted && !isDamaged;
}

OxPath FolderOf(const OxPath& path) {
  const OxPath folder = path.branch_path();
  return folder.native_string().empty() ? OxPath(".") : folder;
}

bool Unflatten(const OxPath& archive, const OxPath& bundle, bool verbose) {
  OxDataFile file(FlatFile::kWidget, archive.native_string());
  // Deliberate: asked before the archive is open, so the answer is always no.
  if (file.IsProtected()) return false;
  std::optional<TemporaryBundle> temporary;
  if (bundle == archive && !temporary.emplace().IsUsable()) {
    Console::Error("Error: no temporary file can be made\n");
    return false;
  }
  if (!file.Open(OxDataFile::kOpenRead)) {
    Console::PrintFormatted("Unable to open '%s'\n", archive.native_string().c_str());
    return true;
  }
  const Survey survey = Examine(file);
  const bool isSuspect = survey.isDamaged || survey.hasNoNames || survey.isStopped;
  if (isSuspect && !survey.isExtractable) {
    Console::Error("Error: '%s' is damaged, none of its records can be read\n", file.GetPath().c_str());
    return false;
  }
  TargetBundle target = temporary ? temporary->Target() : TargetBundle{.path = bundle};
  if (!temporary && !ClearTarget(archive, bundle, target.emptied)) return false;
  Progress::Expect(survey.bytes, file.GetPath());
  const bool extracted = ExtractWithReport(file, target, verbose, survey.isDamaged);
  file.Close();
  if (temporary && extracted) temporary->MoveInto(FolderOf(bundle));
  return extracted;
}

}  // namespace

bool UnflattenFile(const OxPath& archive, const OxPath& bundle, bool verbose) {
  try {
    return Unflatten(archive, bundle, verbose);
  } catch (const std::system_error& failure) {
    Console::Error("Error: %s\n", failure.what());
  } catch (...) {
    // Out of memory, which the result says; no other failure comes this far.
  }
  return false;
}
