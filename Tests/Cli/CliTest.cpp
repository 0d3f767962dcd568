// Runs the cases of Tests/Cli/cases against the real program. A case is a shell script, run in an empty
// folder of its own, and what it has to print and return:
//
//   == name
//   script...
//   -- out          what comes to standard output; a line that ends in "\" has no line end
//   -- err          likewise standard error
//   -- status 1     the exit status of the script's last command
//
// A section that is missing means nothing, respectively 0. Helpers are in Tests/Cli/prelude.sh.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <fnmatch.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include "Support/TemporaryFolder.h"

namespace {

struct CliCase {
  std::string name;
  std::map<std::string, std::string> sections;  // "script", "out", "err"
  int status = 0;
};

void PrintTo(const CliCase& test, std::ostream* out) {
  *out << test.sections.at("script");
}

std::vector<CliCase> ReadCases() {
  std::vector<CliCase> cases;
  for (const auto& file : std::filesystem::directory_iterator(OX_SOURCE_DIR "/Tests/Cli/cases")) {
    std::ifstream text(file.path());
    std::string section;
    for (std::string line; std::getline(text, line);) {
      if (line.starts_with("== ")) {
        cases.push_back({.name = file.path().stem().string() + ": " + line.substr(3), .sections = {}});
        section = "script";
      } else if (line.starts_with("-- status ")) {
        cases.back().status = std::stoi(line.substr(10));
      } else if (line.starts_with("-- ")) {
        section = line.substr(3);
      } else if (!section.empty() && !(line.empty() && section != "script")) {
        line.ends_with('\\') && section != "script" ? line.pop_back() : line.push_back('\n');
        cases.back().sections[section] += line;
      }
    }
  }
  return cases;
}

std::string NameOf(const testing::TestParamInfo<CliCase>& info) {
  std::string name = info.param.name;
  for (char& c : name) {
    if (std::isalnum(static_cast<unsigned char>(c)) == 0) c = '_';
  }
  return name;
}

class Cli : public testing::TestWithParam<CliCase> {};

TEST_P(Cli, DoesWhatTheCaseSays) {
  const Support::TemporaryFolder folder;
  folder.MakeFolder("box");
  folder.Write("script",
               ". " OX_SOURCE_DIR "/Tests/Cli/prelude.sh\n" + GetParam().sections.at("script"));
  const int result = std::system(("cd " + folder.Path("box") +
                                  " && PATH=" OX_TOOL_FOLDER ":$PATH SOURCE=" OX_SOURCE_DIR
                                  " sh ../script >../out 2>../err </dev/null")
                                     .c_str());
  const auto expected = [](const char* section) {
    const auto found = GetParam().sections.find(section);
    return found == GetParam().sections.end() ? std::string() : found->second;
  };
  EXPECT_EQ(folder.Read("out"), expected("out"));
  EXPECT_EQ(folder.Read("err"), expected("err"));
  EXPECT_EQ(WEXITSTATUS(result), GetParam().status);
}

// The commands of README.md's session print what stands there, where "..." is any number of lines.
TEST(Readme, TheSessionIsReal) {
  const Support::TemporaryFolder folder;
  folder.MakeLink("Examples", OX_SOURCE_DIR "/Examples");
  std::ifstream readme(OX_SOURCE_DIR "/README.md");
  std::string line, script = "LC_ALL=C.UTF-8; export LC_ALL\n", expected;
  while (std::getline(readme, line) && line != "```console") continue;
  while (std::getline(readme, line) && line != "```") {
    if (line.starts_with("$ ")) script += "cat <<'END'\n" + line + "\nEND\n" + line.substr(2) + "\n";
    for (const char c : line == "..." ? "*" : line + '\n') {
      if (line != "..." && std::string_view("*?[\\").find(c) != std::string_view::npos) expected += '\\';
      expected += c;
    }
  }
  folder.Write("script", script);
  ASSERT_EQ(
      std::system(
          ("cd " + folder.path() + " && PATH=" OX_TOOL_FOLDER ":$PATH sh script >out 2>&1").c_str()),
      0);
  EXPECT_EQ(fnmatch(expected.c_str(), folder.Read("out").c_str(), 0), 0) << folder.Read("out");
}

INSTANTIATE_TEST_SUITE_P(Cases, Cli, testing::ValuesIn(ReadCases()), NameOf);

}  // namespace
