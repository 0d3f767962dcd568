// A random series of additions, rewrites, deletions and reopenings beside the same series done literally:
// every answer agrees, and so does every byte of the closed file.

#include "Foundation/OxBuffer.h"
#include "FuzzFolder.h"
#include "Storage/LiteralArchive.h"
#include "Storage/OxDataFile.h"

namespace {

constexpr std::uint32_t kWidget = 0x77646774;
constexpr short kReadWriteCreate = 11;
constexpr short kReadWrite = 3;

OxString Name(FuzzInput& input) {
  const unsigned choice = input.Byte();
  OxString name;
  name.format(choice < 128 ? "name%u" : "NAME%u", choice % 8);
  return name;
}

std::string Data(FuzzInput& input) {
  return std::string(input.Byte(), static_cast<char>('a' + input.Byte() % 26));
}

class Editing {
 public:
  explicit Editing(const FuzzFolder& folder)
      : folder_(folder), file_(kWidget, OxString(folder.File("edit.flat").c_str())), judge_(kWidget) {
    Require(file_.Open(kReadWriteCreate), "the archive can be made");
  }

  void Step(FuzzInput& input) {
    const unsigned action = input.Byte() % 8;
    const OxString name = Name(input);
    if (action < 4) {
      const std::string data = Data(input);
      file_.AddRecord(name, data.size(), data.data());
      judge_.AddRecord(name, data);
    } else if (action < 6) {
      Require(file_.DeleteRecord(name) == judge_.DeleteRecord(name), "deleting agrees");
    } else if (action == 6) {
      Reopen();
    }
    CheckRecord(name);
  }

  void Reopen() {
    file_.Close();
    judge_.Reopen();
    Require(folder_.Read("edit.flat") == judge_.file(), "the closed file has the stated bytes");
    Require(file_.Open(kReadWrite), "the archive opens again");
  }

 private:
  void CheckRecord(const OxString& name) {
    OxBuffer data;
    std::string expected;
    const bool found = file_.GetRecord(name, data);
    Require(found == judge_.GetRecord(name, expected), "finding agrees");
    Require(!found || data.view() == expected, "the record's bytes agree");
  }

  const FuzzFolder& folder_;
  OxDataFile file_;
  LiteralArchive judge_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const FuzzFolder folder;
  Editing editing(folder);
  FuzzInput input(data, size);
  for (int step = 0; step < 500 && !input.empty(); ++step) editing.Step(input);
  editing.Reopen();
  return 0;
}
