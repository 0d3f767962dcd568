// A random series of additions, rewrites, deletions, damages and reopenings, done by the engine and by LiteralArchive:
// every answer agrees, and so does every byte of the closed file. An archive that was only edited is not reported as
// damaged, unless the engine's reuse of a free block overwrote a record or lost a name.

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "Archive/DamageWatch.h"
#include "Archive/OxDataFile.h"
#include "Archive/Scramble.h"
#include "Files/FileCopier.h"
#include "Foundation/OxBuffer.h"
#include "FuzzFolder.h"
#include "LiteralArchive.h"

namespace {

using FlatFile::kWidget;
constexpr short kReadWriteCreate = 11;
constexpr short kReadWrite = 3;

// Several of them are the same name, since letter case is ignored.
OxString Name(FuzzInput& input) {
  constexpr std::array kNames = {"name0",    "name1",    "name2",
                                 "NAME0",    "NAME1",    "NAME2",
                                 "",         "\xC3\xA9", "\xC3\x89" /* e, E with acute */,
                                 "\xC3\x9F", "k",        "\xE2\x84\xAA" /* Kelvin sign */,
                                 "s",        "\xC5\xBF" /* long s */};
  return OxString(kNames[input.Byte() % kNames.size()]);
}

class Editing {
 public:
  Editing(const FuzzFolder& folder, bool isProtected)
      : folder_(folder),
        file_(kWidget, OxString(folder.File("edit.flat").c_str())),
        judge_(kWidget, isProtected) {
    const short protection = isProtected ? OxDataFile::kOpenProtected : 0;
    Require(file_.Open(kReadWriteCreate | protection), "the archive can be made");
  }

  /// False if the file does not open any more because of damage.
  bool Step(FuzzInput& input) {
    const unsigned action = input.Byte() % 8;
    const OxString name = Name(input);
    const Records others = Readable(name);
    if (action < 4) {
      Add(name, input);
    } else if (action < 6) {
      Require(file_.DeleteRecord(name) == judge_.DeleteRecord(name), "deleting agrees");
    } else {
      Close();
      isSound_ = isSound_ && action != 7;
      if (!Reopen(action == 7 ? Damaged(input) : judge_.file())) return false;
    }
    isSound_ = isSound_ && Readable(name) == others;
    CheckRecord(name);
    return true;
  }

  void Close() {
    CheckList();
    const Records records = Readable();
    file_.Close();
    judge_.Close();
    Require(folder_.Read("edit.flat") == judge_.file(), "the closed file has the stated bytes");
    CheckSoundness(records);
  }

 private:
  using Records = std::vector<std::pair<OxString, std::string>>;

  // The records that have a name other than `but`.
  Records Readable(const OxString& but = OxString()) const {
    Records records = judge_.Records();
    std::erase_if(records, [&](const auto& record) {
      return record.first.empty() || record.first.compare(but, OxString::kCaseInsensitive) == 0;
    });
    return records;
  }

  // `records` are those before the archive was closed.
  void CheckSoundness(const Records& records) {
    LiteralArchive closed(kWidget);
    closed.Open(judge_.file());
    std::swap(judge_, closed);
    isSound_ = isSound_ && Readable() == records;
    std::swap(judge_, closed);
    if (!isSound_) return;
    OxDataFile file(kWidget, OxString(folder_.File("edit.flat").c_str()));
    Require(file.Open(OxDataFile::kOpenRead), "the closed archive opens");
    DamageWatch watch(file);
    for (OxDataFile::Iterator it = file.Begin(); !(it == file.End()); ++it) {
      if (it->GetName().empty() && it->GetDataLength() > 0)
        return;  // Counts as damage, whatever caused it.
      watch.See(*it);
    }
    Require(!watch.FoundDamage(), "a sound archive is not called damaged");
  }

  // Changes one byte of the archive.
  std::string Damaged(FuzzInput& input) const {
    std::string bytes = judge_.file();
    bytes[input.Below(static_cast<unsigned>(bytes.size()))] ^= input.Byte();
    folder_.Write("edit.flat", bytes);
    return bytes;
  }

  bool Reopen(const std::string& bytes) {
    const bool opened = file_.Open(kReadWrite);
    Require(opened == judge_.Open(bytes), "opening agrees");
    return opened;
  }

  void Add(const OxString& name, FuzzInput& input) {
    const unsigned length = input.Byte();
    const unsigned kind = input.Byte();
    std::string data(length, static_cast<char>('a' + kind % 26));
    const bool fromFile = kind % 4 == 0;
    if (kind == 0 && !std::exchange(isLarge_, true)) {
      data.append(FileCopier::kBufferSize, 'L');
    }
    if (fromFile) {
      folder_.Write("source", data);
      OxFile source(OxString(folder_.File("source").c_str()));
      Require(source.Open(OxFile::kRead) == kStatusOk, "the source opens");
      Require(file_.AddRecordFromFile(name, source) == kStatusOk, "the source is read");
    } else {
      file_.AddRecord(name, data.size(), data.data());
    }
    judge_.AddRecord(name, Scrambled(data));
    isSound_ = isSound_ && Lists(name, Scrambled(data));
  }

  bool Lists(const OxString& name, const std::string& data) const {
    return std::ranges::any_of(judge_.Records(), [&](const auto& record) {
      return record.first.compare(name, OxString::kCaseInsensitive) == 0 && record.second == data;
    });
  }

  // From plain to stored, or from stored to plain.
  std::string Scrambled(const std::string& data) const {
    return file_.IsProtected() ? std::string(WobScrambleData(data.data(), data.size(), true).view())
                               : data;
  }

  void CheckRecord(const OxString& name) {
    OxBuffer data;
    std::string expected;
    const bool found = file_.GetRecord(name, data);
    Require(found == judge_.GetRecord(name, expected), "finding agrees");
    Require(!found || data.view() == Scrambled(expected), "the record's bytes agree");
  }

  void CheckList() {
    const auto expected = judge_.Records();
    auto record = expected.begin();
    for (OxDataFile::Iterator it = file_.Begin(); !(it == file_.End()); ++it, ++record) {
      Require(record != expected.end(), "the list is no longer than it should be");
      OxBuffer data;
      it->GetData(data);
      Require(it->GetName() == record->first && data.view() == Scrambled(record->second),
              "the records of the list agree");
    }
    Require(record == expected.end(), "the list is no shorter than it should be");
  }

  const FuzzFolder& folder_;
  OxDataFile file_;
  LiteralArchive judge_;
  bool isLarge_ = false;
  bool isSound_ = true;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const FuzzFolder folder;
  FuzzInput input(data, size);
  Editing editing(folder, input.Byte() % 2 != 0);
  for (int step = 0; step < 500 && !input.empty(); ++step) {
    if (!editing.Step(input)) return 0;
  }
  editing.Close();
  return 0;
}
