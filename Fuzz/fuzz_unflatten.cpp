// Any bytes, extracted beside a canary: nothing outside the target bundle changes, and the number of folders in it is
// bounded by the length of the names.

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include "Foundation/OxPath.h"
#include "FuzzFolder.h"
#include "Listing.h"
#include "Unflattening.h"

namespace {

constexpr std::string_view kCanary = "The canary sings.";

void Silence() {
  const int null = open("/dev/null", O_WRONLY);
  Require(dup2(null, STDOUT_FILENO) >= 0, "standard output can be silenced");
  // Standard error stays open, since the sanitizers report there; the tool prints few lines.
  close(null);
}

std::size_t CountFolders(const std::string& path) {
  std::size_t folders = 1;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
    folders += entry.is_directory() ? 1 : 0;
  }
  return folders;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const FuzzFolder folder;
  static const bool silent = (Silence(), true);
  (void)silent;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  folder.Write("in.widget", bytes);
  folder.Write("canary", kCanary);
  const OxPath input(OxString(folder.File("in.widget").c_str()));
  const OxPath output(OxString(folder.File("out.widget").c_str()));
  ListFileContents(input, true);
  UnflattenFile(input, output, false);
  Require(folder.Read("canary") == kCanary, "the canary is untouched");
  Require(folder.Read("in.widget") == bytes, "the archive is untouched");
  const bool made = std::filesystem::exists(folder.File("out.widget"));
  Require(folder.Count() == (made ? 3U : 2U), "nothing appeared beside the bundle");
  constexpr std::size_t kAllowed = 4096;
  Require(!made || CountFolders(folder.File("out.widget")) <= std::max(kAllowed, size / 2),
          "the folders are bounded");
  std::filesystem::remove_all(folder.File("out.widget"));
  return 0;
}
