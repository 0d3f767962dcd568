#include "Support/TemporaryFolder.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include <stdlib.h>

namespace Support {

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder() : path_(fs::canonical(fs::temp_directory_path()) / "ox-test-XXXXXX") {
  if (::mkdtemp(path_.data()) == nullptr) {
    throw std::system_error(errno, std::generic_category(), path_);
  }
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

std::string TemporaryFolder::Path(std::string_view name) const {
  return fs::path(path_) / name;
}

std::string TemporaryFolder::Write(std::string_view name, std::string_view content) const {
  const fs::path path = Path(name);
  fs::create_directories(path.parent_path());
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.exceptions(std::ios::badbit | std::ios::failbit);
  file.write(content.data(), static_cast<std::streamsize>(content.size()));
  file.close();
  return path;
}

std::string TemporaryFolder::MakeFolder(std::string_view name) const {
  fs::create_directories(Path(name));
  return Path(name);
}

std::string TemporaryFolder::MakeLink(std::string_view name, const std::string& target) const {
  const fs::path path = Path(name);
  fs::create_directories(path.parent_path());
  fs::create_symlink(target, path);
  return path;
}

std::string TemporaryFolder::Read(std::string_view name) const {
  std::ifstream file(Path(name), std::ios::binary);
  if (!file) throw std::system_error(ENOENT, std::generic_category(), Path(name));
  return {std::istreambuf_iterator<char>(file), {}};
}

bool TemporaryFolder::Exists(std::string_view name) const {
  return fs::exists(fs::symlink_status(Path(name)));
}

}  // namespace Support
