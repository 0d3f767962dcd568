#include "RecordExtraction.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "Console.h"
#include "Storage/OxFile.h"
#include "Storage/OxFileUtils.h"

namespace {

bool HasParentComponent(std::string_view path) {
  while (!path.empty()) {
    const std::string_view component = path.substr(0, path.find('/'));
    if (component == "..") return true;
    path.remove_prefix(std::min(path.size(), component.size() + 1));
  }
  return false;
}

}  // namespace

bool RecordExtraction::Extract(const OxDataFile::Record& record) {
  const OxString& name = record.GetName();
  if (name.empty()) return true;
  const OxPath relative(name);
  if (HasParentComponent(relative.portable_string().view())) {
    Console::Error("Error: record '%s' would leave the bundle, skipped\n", name.c_str());
    return true;
  }
  const OxPath file = contents_ / relative;
  if (!MakeFolder(file.branch_path().native_string())) {
    Console::Error("Error: could not create directory for file '%s'\n", file.native_string().c_str());
    return false;
  }
  OxFile target(file.native_string());
  // Deliberate: a file that cannot be opened is passed over in silence.
  if (target.Open(OxFile::kWrite | OxFile::kCreate | OxFile::kExpectNew) != kStatusOk) return true;
  if (WriteRecord(record, target)) return true;
  Console::Error("Error: could not write to file '%s'\n", file.native_string().c_str());
  return false;
}

bool RecordExtraction::MakeFolder(const OxString& folder) {
  if (folder.view() == lastFolder_) return true;
  std::string text(folder.view());
  if (!folders_.contains(text)) {
    if (!OxFileUtils::Exists(folder) && !WobCreateDirectory(folder)) return false;
    folders_.insert(text);
  }
  lastFolder_ = std::move(text);
  return true;
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
