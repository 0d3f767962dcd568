#pragma once

#include <string>
#include <string_view>

namespace Support {

/// A fresh folder below the system's temporary folder, removed with all its contents at the end. It
/// goes round Posix::FileOps, so that faults planned for the code under test do not reach it; what
/// it cannot do throws, which fails the test.
class TemporaryFolder {
 public:
  TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder();

  /// The resolved path, without a "/" at its end.
  const std::string& path() const { return path_; }
  /// The path of an object inside.
  std::string Path(std::string_view name) const;

  /// Each makes the folders above what it makes; Write() replaces a file. Returns the path.
  std::string Write(std::string_view name, std::string_view content) const;
  std::string MakeFolder(std::string_view name) const;
  std::string MakeLink(std::string_view name, const std::string& target) const;

  std::string Read(std::string_view name) const;
  /// Whether there is an object, be it a dangling link.
  bool Exists(std::string_view name) const;

 private:
  std::string path_;
};

}  // namespace Support
