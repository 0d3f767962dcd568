#include "Unflattening.h"

#include <system_error>

#include "Console.h"
#include "ObjectIdentity.h"
#include "OverlapLimit.h"
#include "RecordExtraction.h"
#include "Storage/OxDataFile.h"
#include "Storage/OxFileUtils.h"
#include "WidgetArchive.h"

namespace {

// Deletes the old bundle, unless that would take the archive with it.
bool ClearTarget(const OxPath& archive, const OxPath& bundle) {
  const char* const target = bundle.native_string().c_str();
  if (IsSameObject(archive, bundle) || GoesWith(archive, bundle)) {
    Console::Error("Error: '%s' lies inside '%s'\n", archive.native_string().c_str(), target);
    return false;
  }
  WobDeleteDirectory(bundle.native_string());
  if (!IsThere(bundle)) return true;
  Console::Error("Error: could not delete '%s'\n", target);
  return false;
}

bool ExtractAll(OxDataFile& file, const OxPath& bundle, bool verbose) {
  OverlapLimit limit(file);
  RecordExtraction extraction(bundle / OxPath(WidgetArchive::kContentsFolder), verbose);
  const OxDataFile::Iterator end = file.End();
  for (OxDataFile::Iterator record = file.Begin(); record != end; ++record) {
    if (record->GetName() == WidgetArchive::kMetaDataName) continue;
    if (!limit.Admits(std::uint64_t{record->GetDataLength()} + record->GetName().size())) {
      Console::Error("Error: the records of '%s' overlap, the rest is left out\n",
                     file.GetPath().c_str());
      return false;
    }
    if (!extraction.Extract(*record)) return false;
  }
  return extraction.WasComplete();
}

// Deliberate: whether the move succeeds is not asked; an archive without files made nothing to move.
void MoveIntoFolderOf(const OxPath& bundle, const OxPath& made) {
  OxPath folder = bundle.branch_path();
  if (folder.native_string().empty()) folder = OxPath(".");
  WobMoveFile(made.native_string(), folder.native_string(), kConflictRename);
}

bool Unflatten(const OxPath& archive, const OxPath& bundle, bool verbose) {
  OxDataFile file(WidgetArchive::kTypeCode, archive.native_string());
  // Deliberate: asked before the archive is open, so the answer is always no.
  if (file.IsProtected()) return false;
  const bool isSamePath = bundle == archive;
  const OxPath target = isSamePath ? OxPath(WobGetNewTempFilePath()) : bundle;
  if (!file.Open(OxDataFile::kOpenRead)) {
    Console::PrintFormatted("Unable to open '%s'\n", archive.native_string().c_str());
    return true;
  }
  if (!isSamePath && !ClearTarget(archive, bundle)) return false;
  const bool extracted = ExtractAll(file, target, verbose);
  file.Close();
  if (isSamePath && extracted) MoveIntoFolderOf(bundle, target);
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
