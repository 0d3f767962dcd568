#include "Flattening.h"

#include <cerrno>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "BundleWalk.h"
#include "Console.h"
#include "Files/FileIdentity.h"
#include "Files/OxBinaryData.h"
#include "Files/OxFile.h"
#include "Files/OxFileUtils.h"
#include "NameClashes.h"
#include "OutputPath.h"
#include "PlannedFolders.h"
#include "Posix/FileOps.h"
#include "Posix/Interruption.h"
#include "Progress.h"
#include "Utilities/TextDecoding.h"
#include "WidgetArchive.h"
#include "Xml/OxXMLParser.h"

namespace {

// The archive while it is being written: unless it is finished nothing of it stays, whether the run
// fails, throws or is interrupted. An archive that could not be opened is not touched.
class UnfinishedArchive {
 public:
  // `expected` is the file that may be emptied, nothing when there must be none yet.
  UnfinishedArchive(const OxString& path, short mode, const std::optional<Posix::FileInfo>& expected)
      : path_(path),
        interruption_(path.c_str()),
        file_(FlatFile::kWidget, path),
        opened_(file_.Open(mode, [&](OxFile& file) { return Claim(file, expected); })) {
    if (!opened_) return;
    interruption_.Arm(descriptor_);
    file_.GatherAppends();
  }
  UnfinishedArchive(const UnfinishedArchive&) = delete;
  UnfinishedArchive& operator=(const UnfinishedArchive&) = delete;
  ~UnfinishedArchive() {
    if (!opened_ || finished_ || Remove()) return;
    Console::Error("Error: could not delete '%s'\n", path_.c_str());
  }

  OxDataFile& file() { return file_; }
  bool IsBeingWrittenElsewhere() const { return isBusy_; }
  // The lock is held until everything is written, so that what failed is removed under it.
  void Finish() {
    file_.Save();
    file_.Close();
    finished_ = true;
  }

 private:
  // What is at the path may have changed since the bundle was walked.
  bool Claim(OxFile& file, const std::optional<Posix::FileInfo>& expected) {
    if (file.GetInfo(identity_) != kStatusOk) return false;
    // An empty file that was not there before may be that of another run, which has yet to lock it.
    isBusy_ = !file.WasCreated() && !expected && identity_.size == 0;
    if (isBusy_) return false;
    const FileStatus locked = file.Lock();
    isBusy_ = locked == kStatusFileBusy;
    if (locked != kStatusOk || file.GetInfo(identity_) != kStatusOk) return false;
    descriptor_ = file.Descriptor();
    if (file.WasCreated()) return IsAtItsPath();
    return expected && expected->IsSameObject(identity_) && identity_.links == 1;
  }

  // False when another run locked this new file first, and removed it.
  bool IsAtItsPath() const {
    Posix::FileInfo found;
    return Posix::Files().LinkStatus(path_.c_str(), found) >= 0 && found.IsSameObject(identity_);
  }

  // Whether the path does not name this archive any more. One that could not be closed whole is closed.
  bool Remove() {
    if (file_.IsOpen()) return file_.Delete() == kStatusOk;
    OxFile closed(path_);
    Posix::FileInfo found;
    if (closed.Open(OxFile::kWrite) == kStatusOk) {
      if (closed.Lock() == kStatusFileBusy) return true;
      const bool isThis = closed.GetInfo(found) == kStatusOk && found.IsSameObject(identity_);
      return !isThis || closed.Discard() == kStatusOk;
    }
    const char* const text = path_.c_str();
    const int result = Posix::Files().LinkStatus(text, found);
    if (result < 0) return result == -ENOENT;
    return !found.IsSameObject(identity_) || closed.Delete() == kStatusOk;
  }

  OxString path_;
  Posix::InterruptionGuard interruption_;
  OxDataFile file_;
  Posix::FileInfo identity_;
  int descriptor_ = -1;
  bool isBusy_ = false;
  bool finished_ = false;
  bool opened_;
};

// `leaf` is ended by a zero byte.
void ReportUnreadable(std::string_view leaf) {
  Console::Error("Error: Unable to read %s\n", leaf.data());
}

// What became of one step. A file that breaks off while it is read has left a part of itself in the
// archive, so the whole run has failed.
enum class Outcome { kDone, kUnreadable, kBrokenOff };

// Stores what a plan says, step by step.
class PlannedWriter {
 public:
  PlannedWriter(BundlePlan& plan, OxDataFile& file)
      : plan_(plan), file_(file), folders_(plan), names_(plan) {}

  bool Run();

 private:
  Outcome Do(BundlePlan::Position at);
  Outcome AddFile(const BundlePlan::Step& step, const BundlePlan::Step& source);

  BundlePlan& plan_;
  OxDataFile& file_;
  PlannedFolders folders_;
  RecordNames names_;
};

bool PlannedWriter::Run() {
  std::size_t done = 0;
  for (BundlePlan::Position at = 0; at < plan_.End(); ++done) {
    Progress::ReachFile(done, plan_.Count());
    const Outcome outcome = Do(at);
    if (outcome == Outcome::kBrokenOff) return false;
    if (outcome == Outcome::kUnreadable && plan_.IsInFirstFolder(at)) return false;
    at = outcome == Outcome::kDone ? plan_.Next(at) : plan_.EndOfFolder(at);
    plan_.ForgetBefore(at);
  }
  return true;
}

Outcome PlannedWriter::Do(BundlePlan::Position at) {
  const BundlePlan::Step step = plan_.At(at);
  const BundlePlan::Step source = plan_.SourceOf(at);
  Outcome outcome = Outcome::kDone;
  switch (step.kind) {
    case BundlePlan::StepKind::kFile:
    case BundlePlan::StepKind::kLinkedFile:
      outcome = AddFile(step, source);
      break;
    case BundlePlan::StepKind::kDanglingLink:
    case BundlePlan::StepKind::kUnreadable:
      outcome = Outcome::kUnreadable;
      break;
    case BundlePlan::StepKind::kUnlistedFolder:
      ReportUnreadable(source.leaf);
      break;
    case BundlePlan::StepKind::kLeftOut:
      break;
  }
  if (outcome != Outcome::kDone) ReportUnreadable(source.leaf);
  return outcome;
}

Outcome PlannedWriter::AddFile(const BundlePlan::Step& step, const BundlePlan::Step& source) {
  std::optional<OxFile> opened;
  if (folders_.OpenFile(source, opened) != kStatusOk) return Outcome::kUnreadable;
  if (opened->GetLastKnownLength() > kLargestStoredFile) return Outcome::kUnreadable;
  const FileStatus status = file_.AddRecordFromFile(names_.Of(step), *opened);
  // A file that has become shorter, or never was as long as it said, is stored as it is.
  const bool isWhole = status == kStatusOk || status == kStatusEndOfFile;
  return isWhole ? Outcome::kDone : Outcome::kBrokenOff;
}

// A link may lead to the archive, which was made after the walk. Else it is a link to a file by now, or opening
// it fails.
void SettleDanglingLinks(BundlePlan& plan, const OxPath& archive) {
  if (plan.danglingLinks.empty()) return;
  const auto written = Identify(archive.native_string());
  PlannedFolders folders(plan);
  for (const BundlePlan::Position at : plan.danglingLinks) {
    const BundlePlan::Step step = plan.At(at);
    const auto target = folders.Identify(step.folder, step.leaf.data());
    const bool isArchive = target && written && target->IsSameObject(*written);
    plan.SetKind(at, isArchive ? BundlePlan::StepKind::kLeftOut : BundlePlan::StepKind::kLinkedFile);
  }
}

bool HasFailed(const BundlePlan& plan) {
  if (!plan.failure.empty()) Console::Error("%s\n", plan.failure.c_str());
  return !plan.failure.empty();
}

bool WritePlannedFiles(BundlePlan& plan, OxDataFile& file) {
  SettleDanglingLinks(plan, OxPath(file.GetPath()));
  if (plan.hasNameClashes) ResolveNameClashes(plan);
  return PlannedWriter(plan, file).Run();
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

constexpr short kNewArchive = OxDataFile::kOpenRead | OxDataFile::kOpenWrite | OxDataFile::kOpenCreate;

bool WriteContent(Content& content, UnfinishedArchive& archive, bool verbose) {
  OxDataFile& file = archive.file();
  if (archive.IsBeingWrittenElsewhere()) {
    Console::Error("Error: '%s' is being written by another process\n", file.GetPath().c_str());
    return false;
  }
  const OxString& name = content.descriptionName;
  if (verbose) Console::PrintFormatted("Adding %s\n", name.c_str());
  if (!content.plan.hasNameClashes) file.ExpectNewNames();
  file.AddRecord(name, content.descriptionText.size(), content.descriptionText.c_str());
  if (!WritePlannedFiles(content.plan, file)) return ReportUnwrittenFiles();
  archive.Finish();
  return true;
}

// A file that keeps permissions for its owner alone is as good as one with the usual ones.
void GiveUsualPermissions(const OxPath& path) {
  const char* const text = path.native_string().c_str();
  const int fd = Posix::Files().Open(text, Posix::kOpenToRead);
  if (fd < 0) return;
  Posix::Files().SetPermissions(fd, Posix::kFilePermissions);
  Posix::Files().Close(fd);
}

bool WriteArchiveIntoBundle(Content& content, const OxPath& bundle, short protection, bool verbose) {
  const OxString temporary = WobGetNewTempFilePath();
  if (temporary.empty()) {
    Console::Error("Error: no temporary file can be made\n");
    return false;
  }
  constexpr short kPrivateArchive = kNewArchive | OxDataFile::kOpenPrivate;
  UnfinishedArchive archive(temporary, static_cast<short>(kPrivateArchive | protection), std::nullopt);
  if (!WriteContent(content, archive, verbose)) return false;
  if (WobMoveFile(temporary, bundle.native_string(), kConflictRename)) {
    GiveUsualPermissions(bundle / OxPath(OxPath(temporary).leaf()));
  } else {
    Console::Error("Error: could not move '%s' to '%s'\n", temporary.c_str(),
                   bundle.native_string().c_str());
  }
  return true;
}

bool RemoveFile(const OxString& path) {
  return Posix::Files().RemoveFile(path.c_str()) >= 0;
}

// Where the bytes of an archive at `archive` go. A link stays, and what it leads to is the archive. A file
// that has other hard links loses this name and is not written over. Nothing but a file is opened, and only
// the `expected` one.
OxString PrepareTarget(const OxPath& archive, const std::optional<Posix::FileInfo>& expected) {
  OxString target = archive.native_string();
  auto info = IdentifyLink(archive.native_string());
  if (info && info->kind == Posix::FileKind::kLink) {
    target = WobResolvePath(target);
    info = IdentifyLink(target);
  }
  // A dangling link and a folder are what opening refuses.
  const auto isKind = [&](Posix::FileKind kind) { return info->kind == kind; };
  if (!info || isKind(Posix::FileKind::kLink) || isKind(Posix::FileKind::kFolder)) return target;
  const bool isExpected = expected && expected->IsSameObject(*info);
  const bool isShared = info->links > 1;
  if (!isExpected || !isKind(Posix::FileKind::kRegular) || (isShared && !RemoveFile(target))) {
    throw OxDataFile::AccessDenied();
  }
  return target;
}

bool Convert(const OxPath& bundle, const OxPath& archive, bool protect, bool verbose,
             std::optional<BundlePlan> plan) {
  Content content;
  if (!GatherContent(bundle, archive, std::move(plan), content)) return false;
  const short protection = protect ? OxDataFile::kOpenProtected : 0;
  if (archive == bundle) return WriteArchiveIntoBundle(content, bundle, protection, verbose);
  const OxString target = PrepareTarget(archive, content.plan.archive);
  UnfinishedArchive unfinished(target, static_cast<short>(kNewArchive | protection),
                               content.plan.archive);
  return WriteContent(content, unfinished, verbose);
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
  const auto info = Identify(OxPath(path).native_string());
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
