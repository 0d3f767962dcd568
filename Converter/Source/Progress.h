#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "Foundation/OxString.h"
#include "Posix/FileOps.h"

/// Says on one line of standard error how far a job is:
///     Verifying: 42%, 512.3 MB/s, 0:07 left
///     Flattening: 1200 of 20000 files, 98.0 MB/s
///   Shown:   only on a terminal; when the job has taken a second, renewed ten times a second at most, gone
///            when the job ends. Console erases it before anything is printed. Parts for which the terminal
///            is too narrow are left out.
///   Counts:  the bytes that the job reads or writes. It stands before Posix::Files() as long as it lives,
///            and only on a terminal, so that the libraries know nothing of it; a copy in the kernel is made
///            in pieces meanwhile.
///   Numbers: rate and time left are those from the first byte on. A total that turns out wrong, as its
///            file has grown or shrunk, is not shown any more: "Verifying: 1.2 GB, 512.3 MB/s".
///   One at a time; without one, or without a terminal, the static functions do nothing.
class Progress final : Posix::FileOps {
 public:
  /// Which bytes are those of the job.
  enum class Counted : std::uint8_t { kRead, kWritten };
  using Time = std::chrono::steady_clock::time_point;  ///< A point in time.
  using Clock = Time (*)();                            ///< Returns the present time.

  /// Begins a job, "Verifying".
  Progress(std::string_view job, Counted counted);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() override;

  /// The job comes to all the bytes of the file at `source`.
  static void ExpectAllOf(const OxString& source);
  /// The job comes to `bytes`, which are no more than the file at `source` has.
  static void Expect(std::uint64_t bytes, const OxString& source);
  /// The job is at a file; `before` of `all` are done.
  static void ReachFile(std::size_t before, std::size_t all);

  /// Another clock for all jobs that begin from now on; returns the one before.
  static Clock SetClock(Clock clock);

 private:
  std::int64_t ReadAt(int fd, std::span<std::byte> out, std::uint64_t position) override;
  std::int64_t WriteAt(int fd, std::span<const Posix::Piece> pieces, std::uint64_t position) override;
  std::int64_t CopyRange(int from, std::uint64_t fromPosition, int to, std::uint64_t toPosition,
                         std::size_t count) override;
  std::int64_t Count(Counted kind, std::int64_t result);
  void Renew();
  void CheckTotal();
  std::string Describe(double seconds, std::size_t room) const;
  std::string Done() const;

  const std::string job_;
  const Counted counted_;
  Time next_;                  // Not to be drawn earlier.
  std::optional<Time> first_;  // When the first file or byte was counted.
  std::uint64_t bytes_ = 0;
  std::uint64_t totalBytes_ = 0;  // 0: not known.
  OxString source_;
  std::uint64_t sourceSize_ = 0;
  std::size_t files_ = 0;
  std::size_t totalFiles_ = 0;  // 0: files are not counted.
  std::optional<Posix::ScopedFileOps> watch_;
};
