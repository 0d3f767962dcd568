#pragma once

#include <string>
#include <string_view>

namespace Support {

/// A new folder in the system's temporary folder, deleted with its contents by the destructor. It does not use
/// Posix::FileOps, so faults that are planned for the code under test do not affect it. Failures throw, which fails
/// the test.
class TemporaryFolder {
 public:
  TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder();

  /// The resolved path, without a "/" at its end.
  const std::string& path() const { return path_; }
  /// The path of an object in the folder.
  std::string Path(std::string_view name) const;

  /// Each also makes the folders above; Write() replaces a file. Returns the path.
  std::string Write(std::string_view name, std::string_view content) const;
  std::string MakeFolder(std::string_view name) const;
  std::string MakeLink(std::string_view name, const std::string& target) const;

  std::string Read(std::string_view name) const;
  /// Whether there is an object; a dangling link is one.
  bool Exists(std::string_view name) const;

 private:
  std::string path_;
};

}  // namespace Support
