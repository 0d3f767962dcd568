#include "RecordExtraction.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>
#include <vector>

#include "Console.h"
#include "Files/OxFile.h"
#include "Files/OxFileUtils.h"
#include "Posix/FileOps.h"
#include "Posix/Paths.h"
#include "WidgetArchive.h"

namespace {

constexpr char kSeparator = '/';

// Takes the first component off, with the "/" after it.
std::string_view TakeComponent(std::string_view& path) {
  const std::string_view component = path.substr(0, path.find(kSeparator));
  path.remove_prefix(std::min(path.size(), component.size() + 1));
  return component;
}

bool HasParentComponent(std::string_view path) {
  while (!path.empty()) {
    if (TakeComponent(path) == "..") return true;
  }
  return false;
}

bool WouldLeaveTheBundle(const OxString& name) {
  return name.view().find("..") != std::string_view::npos &&
         HasParentComponent(OxPath(name).portable_string().view());
}

// As OxPath does for what begins at `start`.
void DropLastSeparator(std::string& text, std::size_t start) {
  const std::size_t root = start < text.size() && text[start] == kSeparator ? 1 : 0;
  if (text.size() - start > root && text.back() == kSeparator) text.pop_back();
}

// Drops "." components that another one follows from what begins at `start`.
void DropDots(std::string& text, std::size_t start) {
  if (text.find('.', start) == std::string::npos) return;
  std::string_view rest = std::string_view(text).substr(start);
  auto end = text.begin() + static_cast<std::ptrdiff_t>(start);
  while (!rest.empty()) {
    const std::string_view component = TakeComponent(rest);
    const bool isLast = rest.find_first_not_of(kSeparator) == std::string_view::npos;
    if (component == "." && !isLast) continue;
    end = std::copy(component.begin(), component.end(), end);
    if (!rest.empty()) *end++ = kSeparator;
  }
  text.erase(end, text.end());
  DropLastSeparator(text, start);
}

// Takes the next folder's name off a path; empty when there is none.
std::string_view TakeFolder(std::string_view& path) {
  std::string_view name;
  while (!path.empty() && (name.empty() || name == ".")) name = TakeComponent(path);
  return name == "." ? std::string_view() : name;
}

std::size_t CountFolders(std::string_view path) {
  std::size_t count = 0;
  while (!TakeFolder(path).empty()) ++count;
  return count;
}

bool IsLink(Posix::Place place) {
  Posix::FileInfo info;
  return Posix::Files().LinkStatus(place, info) >= 0 && info.kind == Posix::FileKind::kLink;
}

// Whether a file cannot be opened for what its name is: too long, or that of a folder or a link.
bool IsFaultOfTheName(FileStatus status) {
  constexpr std::array kFaults = {kStatusBadName, kStatusFileNotFound, kStatusDuplicateName,
                                  kStatusNoFolder, kStatusNotAFile};
  return std::ranges::find(kFaults, status) != kFaults.end();
}

}  // namespace

RecordExtraction::RecordExtraction(const TargetBundle& target, OverlapLimit& limit, bool verbose)
    : target_(target),
      limit_(limit),
      verbose_(verbose),
      path_(std::string((target.path / OxPath(WidgetArchive::kContentsFolder)).native_string().view()) +
            kSeparator),
      bundleLength_(path_.rfind(kSeparator, path_.size() - 2) + 1),
      contentsLength_(path_.size()) {}

bool IsExtractable(const OxDataFile::Record& record) {
  const OxString& name = record.GetName();
  return !name.empty() && !(name == WidgetArchive::kMetaDataName) && !WouldLeaveTheBundle(name);
}

RecordExtraction::Outcome RecordExtraction::Extract(const OxDataFile::Record& record) {
  const OxString& name = record.GetName();
  if (!IsExtractable(record)) {
    if (WouldLeaveTheBundle(name)) {
      Console::Error("Error: record '%s' would leave the bundle, skipped\n", name.c_str());
    }
    return Outcome::kDone;
  }
  SetPath(name.view());
  const std::size_t separator = path_.rfind(kSeparator);
  const std::size_t folderEnd = path_[separator - 1] == kSeparator ? separator - 1 : separator;
  switch (GoTo(std::string_view(path_).substr(0, folderEnd))) {
    case Way::kThere:
      return WriteFile(record, std::string_view(path_).substr(separator + 1));
    case Way::kAtAFile:
      return Outcome::kDone;
    case Way::kTooManyFolders:
      return Outcome::kTooManyFolders;
    case Way::kNoHandles:
      Console::Error("Error: could not write to file '%s'\n", path_.c_str());
      break;
    case Way::kBarred:
      Console::Error("Error: could not create directory for file '%s'\n", path_.c_str());
      break;
  }
  return Outcome::kFailed;
}

// The contents folder / name, as OxPath would join them.
void RecordExtraction::SetPath(std::string_view name) {
  path_.resize(contentsLength_);
  path_ += name;
  const auto start = path_.begin() + static_cast<std::ptrdiff_t>(contentsLength_);
  std::replace(start, path_.end(), '\\', kSeparator);
  DropLastSeparator(path_, contentsLength_);
  DropDots(path_, contentsLength_);
  DropLastSeparator(path_, 0);
}

RecordExtraction::Way RecordExtraction::WayOf(int result) {
  if (result >= 0) return Way::kThere;
  return result == -EMFILE || result == -ENFILE ? Way::kNoHandles : Way::kBarred;
}

RecordExtraction::Way RecordExtraction::GoTo(std::string_view folder) {
  if (folder == lastFolder_) return Way::kThere;
  if (folder.size() > Posix::kLongestPath) return Way::kBarred;
  Way way = way_.Depth() == 0 ? MakeBundle() : Way::kThere;
  if (way == Way::kThere) way = Descend(folder.substr(bundleLength_));
  lastFolder_.clear();
  if (way == Way::kThere) lastFolder_ = folder;
  return way;
}

// Opens the folder that the bundle lies in, which is made if it is missing.
RecordExtraction::Way RecordExtraction::GoAbove(OpenFolders& above, const std::string& folder) {
  const bool isOpen = target_.above != Posix::Place::kNoFolder;
  const Posix::Place place(target_.above, isOpen ? "." : folder.c_str());
  int result = above.Begin(place);
  if (result == -ENOENT) {
    const OxPath missing = target_.path.branch_path();
    const auto made = OxFileUtils::CreateDirectory(missing, limit_.FoldersLeft());
    if (made == OxFileUtils::Creation::kTooMany) return Way::kTooManyFolders;
    result = above.Begin(place);
  }
  return WayOf(result);
}

RecordExtraction::Way RecordExtraction::MakeBundle() {
  const Posix::ObjectName bundle = Posix::SplitPath(std::string(target_.path.native_string().view()));
  OpenFolders above(OpenFolders::Links::kRefuse);
  const Way way = GoAbove(above, bundle.folder);
  if (way != Way::kThere) return way;
  const Posix::Place place = above.In(bundle.name.c_str());
  const bool isMade = Posix::Files().MakeFolder(place, Posix::kFolderPermissions) >= 0;
  if (isMade) --limit_.FoldersLeft();
  if (!isMade && !target_.emptied) return Way::kBarred;
  const int begun = way_.Begin(place);
  return begun >= 0 && !IsNewBundle(isMade) ? Way::kBarred : WayOf(begun);
}

// Whether the folder that was opened is the one that was made or emptied.
bool RecordExtraction::IsNewBundle(bool isMade) const {
  const Posix::Place here = way_.In(".");
  Posix::FileInfo info;
  if (Posix::Files().OpenStatus(here.folder, info) < 0) return false;
  if (!isMade && !info.IsSameObject(*target_.emptied)) return false;
  std::vector<Posix::FolderEntry> entries;
  const int listed = Posix::Files().ListFolder(here, entries);
  return (listed >= 0 || listed == -EACCES) && entries.empty();
}

RecordExtraction::Way RecordExtraction::Descend(std::string_view names) {
  std::size_t level = 1;
  std::string_view rest = names;
  std::string_view name = TakeFolder(rest);
  while (level < way_.Depth() && name == way_.Name(level)) {
    names = rest;
    name = TakeFolder(rest);
    ++level;
  }
  if (level < way_.Depth() && way_.LeaveTo(level) < 0) return Way::kBarred;
  Way way = Way::kThere;
  for (std::size_t left = CountFolders(names); left > 0 && way == Way::kThere; --left) {
    way = Enter(TakeFolder(names), left);
  }
  return way;
}

// Enters a folder, the first of `left` that may have to be made.
RecordExtraction::Way RecordExtraction::Enter(std::string_view name, std::size_t left) {
  std::size_t& foldersLeft = limit_.FoldersLeft();
  const bool mayMake = left <= foldersLeft;
  folderName_ = name;
  const Posix::Place place = way_.In(folderName_.c_str());
  if (mayMake && Posix::Files().MakeFolder(place, Posix::kFolderPermissions) >= 0) --foldersLeft;
  const int entered = way_.Enter(name);
  const bool isFile = entered == -ENOTDIR && !IsLink(place);
  if (!mayMake && (entered == -ENOENT || isFile)) return Way::kTooManyFolders;
  return isFile && left == 1 ? Way::kAtAFile : WayOf(entered);
}

RecordExtraction::Outcome RecordExtraction::WriteFile(const OxDataFile::Record& record,
                                                      std::string_view name) {
  if (path_.size() > Posix::kLongestPath) return Outcome::kDone;
  OxFile target(OxFile::NativePath{.bytes = std::string(name), .folder = way_.In("").folder});
  const FileStatus opened = Open(target);
  // Deliberate: a name that no file can have is passed over silently.
  if (IsFaultOfTheName(opened)) return Outcome::kDone;
  if (opened == kStatusOk && WriteRecord(record, target)) return Outcome::kDone;
  Console::Error("Error: could not write to file '%s'\n", path_.c_str());
  return Outcome::kFailed;
}

// A file that another record made has one name, which is this one. Asked by name: of a file that is open the
// number of names does not tell which one is left.
FileStatus RecordExtraction::Open(OxFile& target) {
  constexpr unsigned long kPermission =
      OxFile::kWrite | OxFile::kCreate | OxFile::kExpectNew | OxFile::kNoLink;
  FileStatus status = target.Open(kPermission);
  if (status == kStatusTooManyFiles && way_.CloseSpareHandles()) status = target.Open(kPermission);
  if (status != kStatusOk || target.WasCreated()) return status;
  Posix::FileInfo info;
  Posix::FileInfo named;
  status = target.GetInfo(info);
  if (status != kStatusOk) return status;
  const Posix::Place here = way_.In(path_.c_str() + path_.rfind(kSeparator) + 1);
  const bool isNamed = Posix::Files().LinkStatus(here, named) >= 0 && named.IsSameObject(info);
  return isNamed && named.links == 1 ? kStatusOk : kStatusNoPermission;
}

bool RecordExtraction::WriteRecord(const OxDataFile::Record& record, OxFile& target) {
  const bool isNew = target.WasCreated();
  const CopyResult copy = record.CopyDataTo(target);
  if (copy.writeStatus != kStatusOk) return false;
  if (!isNew && target.SetEOF(copy.copied) != kStatusOk) return false;
  if (target.Close() != kStatusOk) return false;
  if (!isNew) {
    Console::Error("warning: record '%s' replaces a file that another record made\n",
                   record.GetName().c_str());
  }
  if (copy.readStatus != kStatusOk) ReportTruncation(record, copy.readStatus);
  if (verbose_) Console::PrintFormatted("Extracted %s\n", record.GetName().c_str());
  return true;
}

void RecordExtraction::ReportTruncation(const OxDataFile::Record& record, FileStatus status) {
  complete_ = false;
  const char* const name = record.GetName().c_str();
  if (status == kStatusEndOfFile) {
    Console::Error("Error: archive ends inside record '%s'\n", name);
  } else {
    Console::Error("Error: record '%s' could not be read to its end\n", name);
  }
}
