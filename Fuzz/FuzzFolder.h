#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include <unistd.h>

#include "FuzzInput.h"

/// A folder in a memory file system that only this process uses, emptied for every input.
class FuzzFolder {
 public:
  FuzzFolder() : path_("/dev/shm/converter-fuzz-" + std::to_string(getpid())) {
    std::filesystem::remove_all(path_);
    std::filesystem::create_directories(path_);
  }
  FuzzFolder(const FuzzFolder&) = delete;
  FuzzFolder& operator=(const FuzzFolder&) = delete;
  ~FuzzFolder() { std::filesystem::remove_all(path_); }

  std::string File(const std::string& name) const { return path_ / name; }

  void Write(const std::string& name, std::string_view bytes) const {
    std::ofstream out(path_ / name, std::ios::binary);
    out << bytes;
    Require(out.good(), "the fuzzer's own folder can be written");
  }

  std::string Read(const std::string& name) const {
    std::ifstream in(path_ / name, std::ios::binary | std::ios::ate);
    std::string bytes(in ? static_cast<std::size_t>(in.tellg()) : 0, 0);
    in.seekg(0);
    in.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return bytes;
  }

  /// The names directly in the folder.
  std::size_t Count() const {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(path_), {}));
  }

 private:
  std::filesystem::path path_;
};
