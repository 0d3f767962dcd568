#include "Listing.h"

#include <cstdint>
#include <cstdio>
#include <string>

#include "Archive/DamageWatch.h"
#include "Archive/OxDataFile.h"
#include "Console.h"
#include "OverlapLimit.h"
#include "WidgetArchive.h"

namespace {

struct Totals {
  std::uint32_t length = 0;
  std::uint32_t count = 0;
  bool isDamaged = false;  // Not judged where the listing ends early.
};

std::string LengthColumn(std::uint32_t length) {
  char column[24];
  const int size = std::snprintf(column, sizeof column, " %6d   ", static_cast<std::int32_t>(length));
  return {column, static_cast<std::size_t>(size)};
}

Totals PrintRecords(OxDataFile& file, bool verbose) {
  Totals totals;
  OverlapLimit limit(file);
  DamageWatch watch(file);
  std::string line;
  const OxDataFile::Iterator end = file.End();
  for (OxDataFile::Iterator record = file.Begin(); record != end; ++record) {
    watch.See(*record);
    const OxString& name = record->GetName();
    if (name == WidgetArchive::kMetaDataName) continue;
    if (!limit.Admits(name.size())) {
      Console::Error("Error: the listing of '%s' ends early\n", file.GetPath().c_str());
      return totals;
    }
    line.clear();
    if (verbose) line = LengthColumn(record->GetDataLength());
    line += name.view();
    line += '\n';
    Console::Print(line);
    totals.length += record->GetDataLength();
    ++totals.count;
  }
  totals.isDamaged = watch.FoundDamage();
  return totals;
}

void List(OxDataFile& file, bool verbose) {
  if (!file.Open(OxDataFile::kOpenRead)) {
    Console::Print("That file does not appear to be a flattened Widget.");
    return;
  }
  const Totals totals = PrintRecords(file, verbose);
  if (verbose) {
    Console::PrintFormatted(" ------   ----\n%s%d files\n", LengthColumn(totals.length).c_str(),
                            static_cast<std::int32_t>(totals.count));
  }
  if (totals.isDamaged) {
    Console::Error("Error: '%s' is damaged, some of its records cannot be read\n",
                   file.GetPath().c_str());
  }
  file.Close();
}

}  // namespace

bool ListFileContents(const OxPath& archive, bool verbose) {
  if (verbose) {
    Console::PrintFormatted("Archive: %s\n Length   Name\n ------   ----\n",
                            archive.native_string().c_str());
  }
  try {
    OxDataFile file(FlatFile::kWidget, archive.native_string());
    List(file, verbose);
  } catch (...) {
    Console::Error("Error: the listing of '%s' ends early\n", archive.native_string().c_str());
  }
  return true;
}
