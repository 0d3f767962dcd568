#include "OutputPath.h"

#include "Console.h"
#include "Files/FileIdentity.h"
#include "PathExpansion.h"

namespace {

bool WouldDestroyInput(const OxPath& input, const OxPath& output) {
  return input == output || IsSameObject(input, output) || LiesInside(output, input);
}

}  // namespace

void ReportOutputIsInput() {
  Console::Error("Error: output and input paths are identical\n");
}

std::optional<OxPath> ResolveOutputPath(const OxPath& input, const OxPath& output) {
  if (output.native_string().empty()) {
    Console::Error("Error: no output path specified\n");
    return std::nullopt;
  }
  // With "/" after it the name of a file would not be found, although deleting would find it.
  OxPath result = WithoutTrailingSlashes(ExpandPath(output));
  const OxPath parent = result.branch_path();
  const auto existing = Identify(result.native_string());
  if (!existing && !Identify(parent.native_string())) {
    Console::Error("Error: Output directory '%s' does not exist\n", parent.native_string().c_str());
    return std::nullopt;
  }
  if (existing && existing->kind == Posix::FileKind::kFolder) result /= OxPath(input.leaf());
  if (WouldDestroyInput(input, result)) {
    ReportOutputIsInput();
    return std::nullopt;
  }
  return result;
}
