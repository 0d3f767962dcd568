#include "RecordExtraction.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "Console.h"
#include "Storage/OxFile.h"
#include "Storage/OxFileUtils.h"
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

OxPath WithoutDots(const OxPath& path) {
  std::string_view rest = path.portable_string().view();
  if (rest.find('.') == std::string_view::npos) return path;
  std::string text;
  while (!rest.empty()) {
    const std::string_view component = TakeComponent(rest);
    const bool isLast = rest.find_first_not_of(kSeparator) == std::string_view::npos;
    if (component == "." && !isLast) continue;
    text += component;
    if (!rest.empty()) text += kSeparator;
  }
  return OxPath(OxString(text));
}

// Whether a file cannot be opened for what its name is: too long, or that of a folder or a link.
bool IsFaultOfTheName(FileStatus status) {
  constexpr std::array kFaults = {kStatusBadName, kStatusFileNotFound, kStatusDuplicateName,
                                  kStatusNoFolder, kStatusNotAFile};
  return std::ranges::find(kFaults, status) != kFaults.end();
}

}  // namespace

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
  const OxPath file = contents_ / WithoutDots(OxPath(name));
  const char* const text = file.native_string().c_str();
  const Outcome folder = MakeFolder(file.branch_path().native_string());
  if (folder == Outcome::kFailed) {
    Console::Error("Error: could not create directory for file '%s'\n", text);
  }
  if (folder != Outcome::kDone) return folder;
  OxFile target(file.native_string());
  const FileStatus opened = target.Open(OxFile::kWrite | OxFile::kCreate | OxFile::kExpectNew);
  // Deliberate: a name that no file can have is passed over silently.
  if (IsFaultOfTheName(opened)) return Outcome::kDone;
  if (opened == kStatusOk && WriteRecord(record, target)) return Outcome::kDone;
  Console::Error("Error: could not write to file '%s'\n", text);
  return Outcome::kFailed;
}

RecordExtraction::Outcome RecordExtraction::MakeFolder(const OxString& folder) {
  if (folder.view() == lastFolder_) return Outcome::kDone;
  std::string text(folder.view());
  if (!folders_.contains(text)) {
    switch (OxFileUtils::CreateDirectory(folder, limit_.FoldersLeft())) {
      case OxFileUtils::Creation::kTooMany:
        return Outcome::kTooManyFolders;
      case OxFileUtils::Creation::kFailed:
        if (!OxFileUtils::Exists(folder)) return Outcome::kFailed;
        break;
      case OxFileUtils::Creation::kDone:
        break;
    }
    folders_.insert(text);
  }
  lastFolder_ = std::move(text);
  return Outcome::kDone;
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
