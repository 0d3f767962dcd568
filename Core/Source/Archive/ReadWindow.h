#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "Files/OxFile.h"

/// A read-ahead buffer for an open file, so that small reads near each other need no system call. It grows while
/// its bytes are used and shrinks while they are not. Call Forget() after writing to the file.
class ReadWindow {
 public:
  /// The longest view, in bytes.
  static constexpr std::size_t kLargest = std::size_t{256} * 1024;
  static constexpr std::size_t kSmallest = 4096;  ///< The least that is read at once, in bytes.

  /// Sets `bytes` to what the file holds at `position`, at most `count` (up to kLargest) bytes; valid
  /// until the next call. kStatusEndOfFile when the file ends first.
  FileStatus View(OxFile& file, std::uint64_t position, std::size_t count,
                  std::span<const std::byte>& bytes);
  /// Allocates for views of up to kSmallest bytes, which do not throw then.
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
  std::size_t stretch_ = 0;  // How much the next miss reads.
  std::size_t hits_ = 0;     // Views since the last read.
};
