// Any bytes, read as an archive: listing ends, both ways of opening agree, nothing is longer than the file.

#include <set>

#include "Archive/OxDataFile.h"
#include "Foundation/OxBuffer.h"
#include "Foundation/OxString.h"
#include "FuzzFolder.h"

namespace {

using FlatFile::kWidget;

struct Seen {
  bool opened = false;
  std::size_t records = 0;
  std::size_t bytes = 0;
};

// An index that points past the end of a mapping is reported by an exception.
void FindAgain(OxDataFile& file, const OxString& name) {
  OxBuffer data;
  try {
    file.GetRecord(name, data);
  } catch (const OxDataFile::EndOfFile&) {
  }
}

Seen Walk(const OxString& path, short mode, std::size_t fileSize) {
  Seen seen;
  OxDataFile file(kWidget, path);
  seen.opened = file.Open(mode);
  if (!seen.opened) return seen;
  std::set<std::uint64_t> positions;
  for (OxDataFile::Iterator it = file.Begin(); !(it == file.End()); ++it) {
    Require(positions.insert(it->GetPosition()).second, "each block is seen once");
    OxBuffer data;
    it->GetData(data);
    Require(data.length() <= fileSize, "no record is longer than the file");
    ++seen.records;
    seen.bytes += data.length();
    FindAgain(file, it->GetName());
  }
  return seen;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const FuzzFolder folder;
  folder.Write("in.flat", {reinterpret_cast<const char*>(data), size});
  const OxString path(folder.File("in.flat").c_str());
  const Seen raw = Walk(path, OxDataFile::kOpenRead, size);
  const Seen mapped = Walk(path, OxDataFile::kOpenMapped, size);
  Require(raw.opened == mapped.opened && raw.records == mapped.records && raw.bytes == mapped.bytes,
          "the mapped archive reads like the file");
  Require(folder.Read("in.flat") == std::string_view(reinterpret_cast<const char*>(data), size),
          "reading changes nothing");
  return 0;
}
