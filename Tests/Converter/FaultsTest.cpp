#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "Converter.h"
#include "Flattening.h"
#include "Signing/SigningFixtures.h"
#include "Streams.h"
#include "Support/FaultyFileOps.h"
#include "Support/TemporaryFolder.h"
#include "Unflattening.h"

// Whole runs, of which every operation on the disk fails in its turn.
namespace {

using Support::FaultyFileOps;
using Support::FileCall;
using Support::TemporaryFolder;

// What lies below a folder: path -> content in brief, "(folder)" for folders.
using Tree = std::map<std::string, std::string>;

std::string Brief(const std::string& content) {
  if (content.size() < 100) return content;
  return std::to_string(content.size()) + " bytes, " + std::to_string(std::hash<std::string>()(content));
}

struct Result {
  int status = 0;
  std::string out, err;
  Tree tree;
  FileCall call = FileCall::kAny;  // That failed.
  std::string path;                // Its path, if it takes one.
};

int Convert(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), "Converter");
  std::vector<char*> pointers;
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  return RunConverter(static_cast<int>(pointers.size()), pointers.data());
}

class Box {
 public:
  Box() {
    folder_.Write("X.widget/Contents/main.wob", "<widget/>");
    folder_.Write("X.widget/Contents/a", std::string(300000, 'a'));  // More than is read at once.
    folder_.Write("X.widget/Contents/sub/b", "second");
    folder_.MakeFolder("out");
    folder_.MakeFolder("tmp");
    setenv("TMPDIR", At("tmp").c_str(), 1);
  }
  Box(const Box&) = delete;
  Box& operator=(const Box&) = delete;
  ~Box() { unsetenv("TMPDIR"); }

  std::string At(const std::string& name) const { return folder_.Path(name); }
  OxPath Path(const char* name) const { return OxPath(At(name).c_str()); }
  void Write(const char* name, const std::string& text) const { folder_.Write(name, text); }
  int Flatten(const char* to) const { return Convert({"-flat", At("X.widget"), "-o", At(to)}); }
  int Sign(const char* name, const std::string& with) const {
    return Convert({"-sign", "-key", SigningFixtures::Path(with + ".key"), "-cert",
                    SigningFixtures::Path(with + ".pem"), At(name)});
  }

  Tree Look() const {
    Tree tree;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder_.path())) {
      const std::string name = entry.path().string().substr(folder_.path().size() + 1);
      tree[Shown(name)] = entry.is_directory() ? "(folder)" : Brief(folder_.Read(name));
    }
    return tree;
  }
  // Without what differs each time: the path of the box, and names of temporary files.
  std::string Shown(std::string text) const {
    for (std::size_t at; (at = text.find(folder_.path() + '/')) != std::string::npos;) {
      text.erase(at, folder_.path().size() + 1);
    }
    constexpr std::string_view kHex = "0123456789abcdef";
    for (std::size_t at = 0, end; (at = text.find_first_of(kHex, at)) != std::string::npos; at = end) {
      end = std::min(text.find_first_not_of(kHex, at), text.size());
      if (end - at == 16) text.replace(at, 16, "TEMP");
      end = std::min(end, text.size());
    }
    return text;
  }

 private:
  TemporaryFolder folder_;
};

// What a run may leave at the place of its result, should it fail; kRefused for a run that makes none.
enum class Leaves { kNothing, kWhatWasThere, kFilesWritten, kRefused };

struct Job {
  const char* name;
  const char* result;  // The path of what it makes or changes, with all below it.
  Leaves leaves;
  void (*prepare)(const Box&);
  int (*run)(const Box&);
};

int UnflattenIntoOut(const Box& box) {
  return Convert({"-unflat", box.At("in"), "-o", box.At("out")});
}

const Job kJobs[] = {
    {"flatten", "out/X.widget", Leaves::kNothing, [](const Box&) {},
     [](const Box& box) { return box.Flatten("out"); }},
    {"flatten over an old archive", "out/X.widget", Leaves::kNothing,
     [](const Box& box) { box.Write("out/X.widget", "old"); },
     [](const Box& box) { return box.Flatten("out"); }},
    {"flatten into the bundle", "X.widget/Contents/z", Leaves::kNothing, [](const Box&) {},
     [](const Box& box) { return box.Flatten("X.widget/Contents/z"); }},
    {"flatten onto itself", "X.widget/TEMP", Leaves::kNothing, [](const Box&) {},
     [](const Box& box) {
       return FlattenBundle(box.Path("X.widget"), box.Path("X.widget"), false, false) ? 0 : 1;
     }},
    {"unflatten", "out/in", Leaves::kFilesWritten, [](const Box& box) { box.Flatten("in"); },
     UnflattenIntoOut},
    {"unflatten over an old bundle", "out/in", Leaves::kFilesWritten,
     [](const Box& box) {
       box.Flatten("in");
       box.Write("out/in/old/file", "old");
     },
     UnflattenIntoOut},
    {"unflatten over the archive's own folder", "none", Leaves::kRefused,
     [](const Box& box) {
       box.Write("out/in/old", "old");
       box.Flatten("out/in/in");
     },
     [](const Box& box) {
       return Convert({"-unflat", box.At("out/in/in"), "-o", box.At("out")});
     }},
    {"unflatten onto itself", "out/TEMP", Leaves::kFilesWritten,
     [](const Box& box) { box.Flatten("out/in"); },
     [](const Box& box) {
       return UnflattenFile(box.Path("out/in"), box.Path("out/in"), false) ? 0 : 1;
     }},
    {"sign", "f", Leaves::kWhatWasThere, [](const Box& box) { box.Write("f", "content"); },
     [](const Box& box) { return box.Sign("f", "rsa1024"); }},
    {"sign again, longer", "f", Leaves::kWhatWasThere,
     [](const Box& box) {
       box.Write("f", "content");
       box.Sign("f", "rsa1024");
     },
     [](const Box& box) { return box.Sign("f", "rsa4096"); }},
    {"sign again, shorter", "f", Leaves::kWhatWasThere,
     [](const Box& box) {
       box.Write("f", "content");
       box.Sign("f", "rsa4096");
     },
     [](const Box& box) { return box.Sign("f", "rsa1024"); }},
};

// The failures that a run takes for no failure of its own, by design: its status is success although its
// result is not whole.
struct Exception {
  const char* job;  // What the job's name begins with.
  FileCall call;
  const char* path;  // What the call's path ends with.
  const char* told;  // On either stream.
  const char* reason;
};

const Exception kExceptions[] = {
    {"flatten", FileCall::kListFolder, "sub", "Error: Unable to read sub\n",
     "a subfolder that cannot be listed is left out"},
    {"flatten", FileCall::kOpen, "b", "Error: Unable to read b\n",
     "an unreadable file ends its subfolder, not the run"},
    {"flatten", FileCall::kOpenFolder, "sub", "Error: Unable to read b\n", "the same"},
    {"flatten", FileCall::kOpenStatus, "", "Error: Unable to read b\n", "the same"},
    {"flatten onto itself", FileCall::kRenameWithoutReplacing, "", "Error: could not move 'tmp/TEMP' to",
     "the archive stays where it was made, which the line says"},
    {"flatten onto itself", FileCall::kStatus, "X.widget", "",
     "an archive that can be moved, but not onto a name of its own, gets a numbered one"},
    {"unflatten", FileCall::kOpen, "in", "Unable to open '",
     "an archive that cannot be opened counts as success"},
    {"unflatten", FileCall::kOpenStatus, "", "Unable to open '", "the same"},
    {"unflatten", FileCall::kReadAt, "", "Unable to open '", "the same"},
    {"unflatten onto itself", FileCall::kStatus, "out", "", "the same as for an archive"},
    {"unflatten onto itself", FileCall::kRenameWithoutReplacing, "", "",
     "whether the bundle could be moved out of the temporary folder is not asked"},
    {"unflatten onto itself", FileCall::kRemoveFolder, "tmp/TEMP", "",
     "the bundle is where it belongs; the folder that it was made in stays, empty"},
};

Result Try(const Job& job, int failCall, int error, Tree& before) {
  const Box box;
  Result run;
  {
    FaultyFileOps sorted({.order = Support::SortByName});
    Capture([&] { job.prepare(box); });
  }
  before = box.Look();
  FaultyFileOps faults({.failCall = failCall, .error = error, .order = Support::SortByName});
  const Printed printed = Capture([&] { run.status = job.run(box); });
  run.out = box.Shown(printed.out);
  run.err = box.Shown(printed.err);
  run.tree = box.Look();
  run.call = faults.FailedCall();
  run.path = box.Shown(faults.FailedPath());
  return run;
}

bool IsBelow(const std::string& path, const std::string& top) {
  return path == top || path.starts_with(top + '/');
}

// What a job may leave is its result, or what it was to be made of.
bool IsResult(const std::string& path, const Job& job) {
  return IsBelow(path, job.result) || (job.leaves == Leaves::kFilesWritten && IsBelow(path, "tmp/TEMP"));
}

// The part of a tree that is, or is not, a job's result.
Tree Part(Tree tree, const Job& job, bool result) {
  std::erase_if(tree, [&](const auto& entry) { return IsResult(entry.first, job) != result; });
  return tree;
}

const Exception* FindException(const Job& job, const Result& run) {
  const auto found = std::ranges::find_if(kExceptions, [&](const Exception& row) {
    const std::string told = run.out + run.err;
    return std::string_view(job.name).starts_with(row.job) && run.call == row.call &&
           run.path.ends_with(row.path) && (*row.told == 0 ? told.empty() : told.starts_with(row.told));
  });
  return found == std::end(kExceptions) ? nullptr : found;
}

// Failures before the jobs, and keys that do not fit, end with 1; a job that fails only says so.
int StatedStatus(const std::string& err) {
  const bool isJob = err.find("Bundle failed\n") != std::string::npos ||
                     err.starts_with("Error: Unable to read file '") ||
                     err.starts_with("Error: could not write to file 'f'");
  return isJob ? 0 : 1;
}

void ExpectFailure(const Job& job, const Result& run, const Tree& before, const Tree& good) {
  EXPECT_TRUE(run.err.starts_with("Error: ")) << run.err;
  EXPECT_EQ(run.status, StatedStatus(run.err)) << run.err;
  EXPECT_EQ(Part(run.tree, job, false), Part(before, job, false))
      << "besides the result, all is untouched";
  const Tree result = Part(run.tree, job, true);
  const Tree old = Part(before, job, true);
  EXPECT_TRUE(job.leaves != Leaves::kWhatWasThere || result == old);
  EXPECT_TRUE(job.leaves != Leaves::kNothing || result.empty() || result == old);
  if (job.leaves == Leaves::kFilesWritten) {
    for (const auto& entry : result) {
      std::string path = entry.first;
      if (path.starts_with("tmp")) path.replace(0, 3, "out");
      EXPECT_TRUE(good.contains(path) || before.contains(path)) << path;
    }
  }
}

class Faults : public testing::TestWithParam<int> {};

TEST_P(Faults, WhicheverOperationFailsTheRunSaysSoAndHarmsNothing) {
  std::set<const Exception*> met;
  int injected = 0;
  for (const Job& job : kJobs) {
    Tree before;
    const Result good = Try(job, 0, 0, before);
    EXPECT_EQ(good.tree.contains(job.result), job.leaves != Leaves::kRefused) << job.name;
    for (int n = 1;; ++n, ++injected) {
      const Result run = Try(job, n, GetParam(), before);
      if (run.call == FileCall::kAny) break;
      SCOPED_TRACE(job.name + std::string(", operation ") + std::to_string(n) + " " + run.path);
      const bool isWhole = run.tree == good.tree && run.err == good.err && run.status == good.status;
      if (isWhole) continue;
      const Exception* exception = FindException(job, run);
      if (exception != nullptr) {
        met.insert(exception);
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.tree.at("X.widget/Contents/a"), before.at("X.widget/Contents/a"));
      } else {
        ExpectFailure(job, run, before, good.tree);
      }
    }
  }
  std::cout << injected << " faults\n";
  EXPECT_GT(injected, 330);
  EXPECT_EQ(met.size(), std::size(kExceptions)) << "a listed one that is none";
}

INSTANTIATE_TEST_SUITE_P(Errors, Faults, testing::Values(ENOSPC, EIO));

}  // namespace
