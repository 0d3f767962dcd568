#include "Flattening.h"

#include <utility>
#include <vector>

#include "BundleWalk.h"
#include "Console.h"
#include "NameClashes.h"
#include "ObjectIdentity.h"
#include "OutputPath.h"
#include "Posix/Interruption.h"
#include "Posix/RepeatInterrupted.h"
#include "Storage/OxBinaryData.h"
#include "Storage/OxFile.h"
#include "Storage/OxFileUtils.h"
#include "Utilities/TextDecoding.h"
#include "WidgetArchive.h"
#include "Xml/OxXMLParser.h"

namespace {

// The archive while it is being written: unless it is finished nothing of it stays, whether the run
// fails, throws or is interrupted. An archive that could not be opened is not touched.
class UnfinishedArchive {
 public:
  UnfinishedArchive(const OxString& path, bool protect)
      : interruption_(path.c_str()),
        file_(WidgetArchive::kTypeCode, path),
        opened_(file_.Open(Mode(protect))) {
    if (!opened_) return;
    interruption_.Arm();
    file_.GatherAppends();
  }
  UnfinishedArchive(const UnfinishedArchive&) = delete;
  UnfinishedArchive& operator=(const UnfinishedArchive&) = delete;
  ~UnfinishedArchive() {
    if (opened_ && !finished_) file_.Delete();
  }

  OxDataFile& file() { return file_; }
  void Finish() {
    file_.Close();
    finished_ = true;
  }

 private:
  static short Mode(bool protect) {
    constexpr short kNewArchive =
        OxDataFile::kOpenRead | OxDataFile::kOpenWrite | OxDataFile::kOpenCreate;
    return protect ? kNewArchive | OxDataFile::kOpenProtected : kNewArchive;
  }

  Posix::InterruptionGuard interruption_;
  OxDataFile file_;
  bool opened_;
  bool finished_ = false;
};

void ReportUnreadable(const OxString& leaf) {
  Console::Error("Error: Unable to read %s\n", leaf.c_str());
}

// What became of one step. A file that breaks off while it is read has left a part of itself in the
// archive, so the whole run has failed.
enum class Outcome { kDone, kUnreadable, kBrokenOff };

Outcome AddFile(const BundlePlan& plan, std::size_t step, OxDataFile& file) {
  OxFile source(plan.SourcePath(step));
  if (source.Open(OxFile::kRead) != kStatusOk) return Outcome::kUnreadable;
  if (source.GetLastKnownLength() > kLargestStoredFile) return Outcome::kUnreadable;
  const FileStatus status = file.AddRecordFromFile(plan.RecordName(step), source);
  // A file that has become shorter, or never was as long as it said, is stored as it is.
  const bool isWhole = status == kStatusOk || status == kStatusEndOfFile;
  return isWhole ? Outcome::kDone : Outcome::kBrokenOff;
}

Outcome DoStep(const BundlePlan& plan, std::size_t step, OxDataFile& file) {
  Outcome outcome = Outcome::kDone;
  switch (plan.steps[step].kind) {
    case BundlePlan::StepKind::kFile:
    case BundlePlan::StepKind::kDanglingLink:
      outcome = AddFile(plan, step, file);
      break;
    case BundlePlan::StepKind::kUnreadable:
      outcome = Outcome::kUnreadable;
      break;
    case BundlePlan::StepKind::kUnlistedFolder:
      ReportUnreadable(plan.SourceLeaf(step));
      break;
    case BundlePlan::StepKind::kLeftOut:
      break;
  }
  if (outcome != Outcome::kDone) ReportUnreadable(plan.SourceLeaf(step));
  return outcome;
}

// A link may lead to the archive, which was made after the walk.
void SettleDanglingLinks(BundlePlan& plan, const OxPath& archive) {
  for (std::size_t step = 0; step < plan.steps.size(); ++step) {
    BundlePlan::StepKind& kind = plan.steps[step].kind;
    if (kind != BundlePlan::StepKind::kDanglingLink) continue;
    const bool isArchive = IsSameObject(OxPath(plan.SourcePath(step)), archive);
    kind = isArchive ? BundlePlan::StepKind::kLeftOut : BundlePlan::StepKind::kFile;
  }
}

bool HasFailed(const BundlePlan& plan) {
  if (!plan.failure.empty()) Console::Error("%s", plan.failure.c_str());
  return !plan.failure.empty();
}

bool WritePlannedFiles(BundlePlan& plan, OxDataFile& file) {
  SettleDanglingLinks(plan, OxPath(file.GetPath()));
  if (plan.hasNameClashes) ResolveNameClashes(plan);
  for (std::size_t step = 0; step < plan.steps.size();) {
    const Outcome outcome = DoStep(plan, step, file);
    if (outcome == Outcome::kDone) {
      ++step;
      continue;
    }
    if (outcome == Outcome::kBrokenOff || plan.IsInFirstFolder(step)) return false;
    step = plan.EndOfFolder(step);
  }
  return true;
}

bool ReportUnwrittenFiles() {
  Console::Error("Error: failed to write files\n");
  return false;
}

// What an archive is made of.
struct Content {
  OxString descriptionName;
  OxString descriptionText;
  BundlePlan plan;
};

// False after the lines that say why. Nothing has been written by then.
bool GatherContent(const OxPath& bundle, const OxPath& archive, std::optional<BundlePlan> plan,
                   Content& content) {
  OxPath description;
  if (!LocateWobFileInBundle(bundle, description)) return false;
  if (!ReadWobFile(description.native_string(), content.descriptionText)) {
    Console::Error("Error: Unable to read or parse .wob file\n");
    return false;
  }
  content.descriptionName = description.leaf();
  content.plan = plan ? *std::move(plan) : PlanContents(bundle, archive);
  if (content.plan.reachesArchive) {
    ReportOutputIsInput();
    return false;
  }
  return !HasFailed(content.plan) || ReportUnwrittenFiles();
}

bool WriteContent(Content& content, OxDataFile& file, bool verbose) {
  const OxString& name = content.descriptionName;
  if (verbose) Console::PrintFormatted("Adding %s\n", name.c_str());
  file.AddRecord(name, content.descriptionText.size(), content.descriptionText.c_str());
  return WritePlannedFiles(content.plan, file) || ReportUnwrittenFiles();
}

bool WriteArchive(Content& content, const OxString& target, bool protect, bool verbose) {
  UnfinishedArchive archive(target, protect);
  if (!WriteContent(content, archive.file(), verbose)) return false;
  archive.Finish();
  return true;
}

bool WriteArchiveIntoBundle(Content& content, const OxPath& bundle, bool protect, bool verbose) {
  const OxString temporary = WobGetNewTempFilePath();
  if (temporary.empty()) {
    Console::Error("Error: no temporary file can be made\n");
    return false;
  }
  if (!WriteArchive(content, temporary, protect, verbose)) return false;
  if (!WobMoveFile(temporary, bundle.native_string(), kConflictRename)) {
    Console::Error("Error: could not move '%s' to '%s'\n", temporary.c_str(),
                   bundle.native_string().c_str());
  }
  return true;
}

bool RemoveFile(const OxString& path) {
  return RepeatInterrupted([&] { return Posix::Files().RemoveFile(path.c_str()); }) >= 0;
}

// Where the bytes of an archive at `archive` go. A link stays, and what it leads to is the archive. A file
// that has other hard links loses this name and is not written over. Nothing but a file is opened.
OxString PrepareTarget(const OxPath& archive) {
  OxString target = archive.native_string();
  auto info = IdentifyLink(archive);
  if (info && info->kind == Posix::FileKind::kLink) {
    target = WobResolvePath(target);
    info = IdentifyLinkVerbatim(target);
  }
  if (!info) return target;
  const bool isShared = info->kind == Posix::FileKind::kRegular && info->links > 1;
  const bool mayBeOpened = info->kind != Posix::FileKind::kOther && (!isShared || RemoveFile(target));
  if (!mayBeOpened) throw OxDataFile::AccessDenied();
  return target;
}

bool Convert(const OxPath& bundle, const OxPath& archive, bool protect, bool verbose,
             std::optional<BundlePlan> plan) {
  Content content;
  if (!GatherContent(bundle, archive, std::move(plan), content)) return false;
  if (archive == bundle) return WriteArchiveIntoBundle(content, bundle, protect, verbose);
  return WriteArchive(content, PrepareTarget(archive), protect, verbose);
}

}  // namespace

BundlePlan PlanContents(const OxPath& bundle, const OxPath& archive) {
  return PlanBundle(bundle / OxPath(WidgetArchive::kContentsFolder), OxPath(), archive);
}

bool FlattenBundle(const OxPath& bundle, const OxPath& archive, bool protect, bool verbose,
                   std::optional<BundlePlan> plan) {
  const char* const name = bundle.native_string().c_str();
  if (!OxFileUtils::Exists(bundle)) {
    Console::Error("Error: '%s' does not exist\n", name);
    return false;
  }
  if (!bundle.has_extension("widget") || !OxFileUtils::IsDirectory(bundle)) {
    Console::Error("Error: Unable to convert %s\n", name);
    return false;
  }
  return ConvertWidgetBundle(bundle, archive, protect, verbose, std::move(plan));
}

bool ConvertWidgetBundle(const OxPath& bundle, const OxPath& archive, bool protect, bool verbose,
                         std::optional<BundlePlan> plan) {
  try {
    return Convert(bundle, archive, protect, verbose, std::move(plan));
  } catch (...) {
    Console::Error("Error: ConvertWidgetBundle: Caught exception!\n");
    return false;
  }
}

bool LocateWobFileInBundle(const OxPath& bundle, OxPath& descriptionFile) {
  std::vector<OxPath> found;
  const OxPath contents = bundle / OxPath(WidgetArchive::kContentsFolder);
  const long count = OxFileUtils::GetFolderContents(contents, "*.wob", found);
  if (count > 0) descriptionFile = found.front();
  if (count == 0) Console::Error("Error: No .wob file found in .widget bundle\n");
  if (count > 1) Console::Error("Error: More than one .wob file encountered\n");
  return count == 1 || count < 0;
}

Hux::SmartPtr<OxXMLDoc> ReadWobFile(const OxString& path, OxString& text) {
  unsigned int encoding = kWobEncodingUnknown;
  const auto info = Identify(OxPath(path));
  if (!info || info->kind != Posix::FileKind::kRegular) return nullptr;
  if (!WobReadTextFile(path, encoding, text)) return nullptr;
  Hux::SmartPtr<OxXMLDoc> document = OxXMLDoc::Make();
  OxXMLParser parser;
  parser.SetStrict(false);
  if (parser.Parse(text, document).GetError() != OxXMLError::kNoError) return nullptr;
  const Hux::SmartPtr<OxXMLElementNode> root = document->GetRoot();
  if (!root || root->GetName().compare("widget", OxString::kCaseInsensitive) != 0) {
    Console::Error("Error: no <widget> tag in .wob file\n");
    return nullptr;
  }
  return document;
}

bool WriteFiles(const OxPath& root, const OxPath& relative, OxDataFile& file, bool) {
  BundlePlan plan = PlanBundle(root, relative, OxPath(file.GetPath()));
  return !HasFailed(plan) && WritePlannedFiles(plan, file);
}

void WriteMetaData(Hux::SmartPtr<OxXMLDoc> doc, OxDataFile& file) {
  const Hux::SmartPtr<OxXMLElementNode> root = doc->GetRoot();
  if (!root) return;
  if (root->GetAttribute("version").empty()) {
    Console::Print("Warning: Widget does not seem to have a 'version' attribute.\n");
  }
  constexpr unsigned long kFormatWord = 0;
  OxBinaryData record;
  record.AddUInt32(kFormatWord, OxBinaryData::kLittleEndian);
  for (const char* attribute : {"version", "author", "copyright", "company", "image"}) {
    record.AddNullTerminatedString(root->GetAttribute(attribute));
  }
  file.AddRecord(WidgetArchive::kMetaDataName, record.length(), record.view().data());
}
