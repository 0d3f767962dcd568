#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>

#include "Files/OxFile.h"

/// Which bytes of which file.
struct FilePlace {
  OxFile& file;                ///< Open; not owned.
  std::uint64_t position = 0;  ///< Bytes from the start.
};

/// Copies bytes from file to file in bounded memory: in the kernel where it can, otherwise, and for
/// bytes that are changed on the way, through a buffer that serves copy after copy.
class FileCopier {
 public:
  /// Changes bytes in place; every call but the last of a copy gets kBufferSize of them.
  using Change = std::function<void(std::span<std::byte>)>;

  /// Bytes; large enough that system calls cost nothing beside the copying.
  static constexpr std::size_t kBufferSize = std::size_t{256} * 1024;

  /// Copies up to `count` bytes; neither file's position matters or moves. `change`, unless null,
  /// is given the bytes on their way.
  CopyResult Copy(FilePlace from, FilePlace to, std::uint64_t count, const Change& change = nullptr);

  /// The buffer, of kBufferSize bytes; the next copy may write over it.
  std::span<std::byte> Buffer();

 private:
  void CopyInKernel(FilePlace from, FilePlace to, std::uint64_t count, CopyResult& result);
  void CopyThroughBuffer(FilePlace from, FilePlace to, std::uint64_t count, const Change& change,
                         CopyResult& result);

  std::unique_ptr<std::byte[]> buffer_;
};
