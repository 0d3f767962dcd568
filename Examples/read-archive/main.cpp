// read-archive FILE [NAME]: prints the names and sizes of a flat archive's records, or one record's bytes.

#include <cstdio>

#include "Archive/OxDataFile.h"

namespace {

using FlatFile::kWidget;

int PrintNames(OxDataFile& archive) {
  for (OxDataFile::Iterator record = archive.Begin(); !(record == archive.End()); ++record) {
    std::printf("%10u  %s\n", (*record).GetDataLength(), (*record).GetName().c_str());
  }
  return 0;
}

int PrintRecord(OxDataFile& archive, const char* name) {
  OxBuffer bytes;
  if (!archive.GetRecord(name, bytes)) {
    std::fprintf(stderr, "there is no record '%s'\n", name);
    return 1;
  }
  std::fwrite(bytes.data(), 1, bytes.length(), stdout);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fputs("usage: read-archive FILE [NAME]\n", stderr);
    return 2;
  }
  OxDataFile archive(kWidget, argv[1]);
  if (!archive.Open(OxDataFile::kOpenRead)) {
    std::fprintf(stderr, "'%s' is no widget archive\n", argv[1]);
    return 1;
  }
  return argc > 2 ? PrintRecord(archive, argv[2]) : PrintNames(archive);
}
