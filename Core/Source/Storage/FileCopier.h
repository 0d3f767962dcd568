#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "Storage/OxFile.h"
#include "Storage/Scramble.h"

/// Which bytes of which file.
struct FilePlace {
  OxFile& file;                ///< Open; not owned.
  std::uint64_t position = 0;  ///< Bytes from the start.
};

/// What a copy came to.
struct CopyResult {
  std::uint64_t copied = 0;            ///< Bytes that reached the target.
  FileStatus readStatus = kStatusOk;   ///< kStatusEndOfFile when the source ended early.
  FileStatus writeStatus = kStatusOk;  ///< Of the target.
};

/// Copies bytes from file to file in bounded memory: in the kernel where it can, otherwise, and for
/// bytes that are scrambled on the way, through a buffer that serves copy after copy.
class FileCopier {
 public:
  /// Bytes; large enough that system calls cost nothing beside the copying.
  static constexpr std::size_t kBufferSize = std::size_t{256} * 1024;

  /// Copies up to `count` bytes; neither file's position matters or moves. `scrambler`, unless null,
  /// changes the bytes on their way.
  CopyResult Copy(FilePlace from, FilePlace to, std::uint64_t count,
                  ScrambleStream* scrambler = nullptr);

  /// The buffer, of kBufferSize bytes; the next copy may write over it.
  std::span<std::byte> Buffer();

 private:
  void CopyInKernel(FilePlace from, FilePlace to, std::uint64_t count, CopyResult& result);
  void CopyThroughBuffer(FilePlace from, FilePlace to, std::uint64_t count, ScrambleStream* scrambler,
                         CopyResult& result);

  std::unique_ptr<std::byte[]> buffer_;
};
