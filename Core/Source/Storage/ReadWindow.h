#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "Storage/OxFile.h"

/// A stretch of an open file, kept in memory, so that small reads near each other cost no system call.
/// It grows while what it holds is used and shrinks while it is not. Whoever writes to the file calls
/// Forget().
class ReadWindow {
 public:
  /// The most that can be looked at in one piece, in bytes.
  static constexpr std::size_t kLargest = std::size_t{256} * 1024;
  static constexpr std::size_t kSmallest = 4096;  ///< What is read at a time at least, in bytes.

  /// Sets `bytes` to what the file holds at `position`, at most `count` (up to kLargest) bytes; valid
  /// until the next call. kStatusEndOfFile when the file ends first.
  FileStatus View(OxFile& file, std::uint64_t position, std::size_t count,
                  std::span<const std::byte>& bytes);
  /// Takes the memory for views of up to kSmallest bytes, which then never throw.
  void Reserve();
  void Forget() { size_ = 0; }  ///< The next view reads again.

 private:
  bool Grow(std::size_t capacity);
  bool Holds(std::uint64_t position, std::size_t count) const;
  FileStatus Fill(OxFile& file, std::uint64_t position, std::size_t count);

  std::unique_ptr<std::byte[]> bytes_;
  std::size_t capacity_ = 0;
  std::uint64_t start_ = 0;
  std::size_t size_ = 0;
  std::size_t stretch_ = 0;  // Bytes to read at the next miss.
  std::size_t hits_ = 0;     // Reads that the present stretch has served.
};
