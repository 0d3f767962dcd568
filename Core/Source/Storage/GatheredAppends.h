#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "Posix/FileOps.h"

/// Bytes that belong at the end of a file and have not been written yet. One system call for many small
/// writes is what makes an archive of many small files cheap.
class GatheredAppends {
 public:
  /// The most that is gathered, in bytes. More makes no bundle faster, and the memory has to be paged in.
  static constexpr std::size_t kCapacity = std::size_t{64} * 1024;

  /// Gathers from now on; until then nothing is taken.
  void Begin();
  /// Drops what was gathered and gathers no more.
  void End();

  bool IsEmpty() const { return size_ == 0; }  ///< Whether nothing waits.
  /// What was gathered and not dropped; valid until the next change.
  std::span<const std::byte> Bytes() const { return {bytes_.get(), size_}; }
  /// False for every count, 0 too, before Begin().
  bool HasRoomFor(std::size_t count) const { return bytes_ != nullptr && count <= kCapacity - size_; }

  /// Takes the pieces, for which there is room.
  void Add(std::span<const Posix::Piece> pieces);
  /// The first `count` bytes have been written.
  void DropFront(std::size_t count);
  /// The file has been cut `count` bytes shorter, inside what was gathered.
  void DropBack(std::size_t count) { size_ -= count; }

 private:
  std::unique_ptr<std::byte[]> bytes_;
  std::size_t size_ = 0;
};
