// make_archive FILE RECORDS [BYTES]: writes an archive of RECORDS records of BYTES bytes each. Their names are like
// those of a widget's files, a hundred in each folder.

#include <cstdio>
#include <cstdlib>
#include <string>

#include "Archive/OxDataFile.h"

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fputs("usage: make_archive FILE RECORDS [BYTES]\n", stderr);
    return 2;
  }
  using FlatFile::kWidget;
  constexpr short kReadWriteCreate = 11;
  const long records = std::atol(argv[2]);
  const std::string payload(argc > 3 ? static_cast<std::size_t>(std::atol(argv[3])) : 10, 'x');
  OxDataFile archive(kWidget, argv[1]);
  if (!archive.Open(kReadWriteCreate)) return 1;
  for (long i = 0; i < records; ++i) {
    OxString name;
    name.format("Images/%04ld/icon-%07ld.png", i / 100, i);
    archive.AddRecord(name, payload.size(), payload.data());
  }
  archive.Close();
  return 0;
}
