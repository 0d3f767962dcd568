#include "Support/Meddler.h"

#include <filesystem>
#include <system_error>

namespace Support {

void SwapForALink(const std::string& path, const std::string& target) {
  std::error_code ignored;
  std::filesystem::rename(path, path + ".moved", ignored);
  if (std::filesystem::is_directory(target)) {
    std::filesystem::create_directory_symlink(target, path, ignored);
  } else {
    std::filesystem::create_hard_link(target, path, ignored);
  }
}

}  // namespace Support
