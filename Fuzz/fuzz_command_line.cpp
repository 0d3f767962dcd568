// Random argument lists over files of every kind: the status is 0 or 1 and the inputs are as they were.

#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include "Converter.h"
#include "FuzzFolder.h"

namespace {

void SilenceBothStreams() {
  const int null = open("/dev/null", O_WRONLY);
  Require(dup2(null, STDOUT_FILENO) >= 0, "standard output can be silenced");
  close(null);
}

std::string Argument(FuzzInput& input, const FuzzFolder& folder) {
  static const char* const kWords[] = {
      "-v", "-list", "-flat",  "-unflat", "-sign", "-verify", "-key",  "-cert", "-p", "-pf", "-o",
      "",   "-",     "-bogus", "~",       "~x",    "/none",   "x.pem", "a\\b",  "..", "./"};
  static const char* const kFiles[] = {"in.widget",  "archive", "text.pem",
                                       "new.widget", "new",     "missing/new"};
  const unsigned choice = input.Byte();
  if (choice < 128) return kWords[choice % std::size(kWords)];
  if (choice < 224) return folder.File(kFiles[choice % std::size(kFiles)]);
  return std::string(input.Text());
}

void MakeInputs(const FuzzFolder& folder) {
  std::filesystem::create_directories(folder.File("in.widget/Contents/sub"));
  folder.Write("in.widget/Contents/main.wob", "<widget/>");
  folder.Write("in.widget/Contents/sub/x", "x");
  folder.Write("archive", "wdgt, but nothing more");
  folder.Write("text.pem", "no certificate");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const FuzzFolder folder;
  static const std::filesystem::path home = std::filesystem::current_path();  // For corpus paths.
  static const bool ready = (SilenceBothStreams(), true);
  (void)ready;
  std::filesystem::current_path(folder.File("."));
  MakeInputs(folder);
  FuzzInput input(data, size);
  std::vector<std::string> texts{"Converter"};
  // An argument that leads out of the folder could change other files, so only harmless texts are used.
  for (int i = 0; i < 12 && !input.empty(); ++i) {
    std::string text = Argument(input, folder);
    text.resize(std::min(text.size(), text.find('\0')));
    const bool leadsOut = text.starts_with("/") && !text.starts_with(folder.File("")) && text != "/none";
    texts.push_back(
        leadsOut || text.find("..") != std::string::npos || text.starts_with("~") ? "harmless" : text);
  }
  std::vector<char*> arguments;
  for (std::string& text : texts) arguments.push_back(text.data());
  arguments.push_back(nullptr);
  const int status = RunConverter(static_cast<int>(texts.size()), arguments.data());
  Require(status == 0 || status == 1, "the exit status is 0 or 1");
  std::filesystem::current_path(home);
  for (const auto& entry : std::filesystem::directory_iterator(folder.File(".")))
    std::filesystem::remove_all(entry);
  return 0;
}
