#include "Progress.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "Posix/FileOps.h"
#include "Posix/StandardStreams.h"
#include "Posix/StatusLine.h"

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kBeforeTheFirst{1000};
constexpr milliseconds kBetween{100};
constexpr std::size_t kLargestCopy = std::size_t{4} << 20;  // Far less than a second's work.

Progress* current = nullptr;
Progress::Clock readClock = std::chrono::steady_clock::now;

// 1234567 is "1.2 MB".
std::string Amount(double bytes) {
  constexpr std::array kUnits = {"B", "kB", "MB", "GB", "TB"};
  std::size_t unit = 0;
  for (; bytes >= 999.95 && unit + 1 < kUnits.size(); ++unit) bytes /= 1000;
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), unit == 0 ? "%.0f %s" : "%.1f %s", bytes, kUnits[unit]);
  return text.data();
}

// 75 is "1:15", 3675 is "1:01:15".
std::string Duration(double seconds) {
  const auto whole = static_cast<unsigned long long>(seconds);
  std::array<char, 48> text{};
  if (whole < 3600) {
    std::snprintf(text.data(), text.size(), "%llu:%02llu", whole / 60, whole % 60);
  } else {
    std::snprintf(text.data(), text.size(), "%llu:%02llu:%02llu", whole / 3600, whole / 60 % 60,
                  whole % 60);
  }
  return text.data();
}

}  // namespace

Progress::Progress(std::string_view job, Counted counted)
    : job_(job), counted_(counted), next_(readClock() + kBeforeTheFirst) {
  if (!Posix::StandardErrorIsTerminal()) return;
  current = this;
  watch_.emplace(static_cast<Posix::FileOps*>(this));
}

Progress::~Progress() {
  if (current != this) return;
  current = nullptr;
  Posix::EraseStatusLine();
}

Progress::Clock Progress::SetClock(Clock clock) {
  return std::exchange(readClock, clock);
}

void Progress::ExpectAllOf(const OxString& source) {
  if (current == nullptr) return;
  Posix::FileInfo info;
  if (current->Status(source.c_str(), info) >= 0) Expect(info.size, source);
}

void Progress::Expect(std::uint64_t bytes, const OxString& source) {
  if (current == nullptr) return;
  Posix::FileInfo info;
  if (current->Status(source.c_str(), info) < 0 || bytes > info.size) return;
  current->totalBytes_ = bytes;
  current->source_ = source;
  current->sourceSize_ = info.size;
}

void Progress::ReachFile(std::size_t before, std::size_t all) {
  if (current == nullptr) return;
  current->files_ = before;
  current->totalFiles_ = all;
  current->Renew();
}

std::int64_t Progress::ReadAt(int fd, std::span<std::byte> out, std::uint64_t position) {
  return Count(Counted::kRead, FileOps::ReadAt(fd, out, position));
}

std::int64_t Progress::WriteAt(int fd, std::span<const Posix::Piece> pieces, std::uint64_t position) {
  return Count(Counted::kWritten, FileOps::WriteAt(fd, pieces, position));
}

std::int64_t Progress::CopyRange(int from, std::uint64_t fromPosition, int to, std::uint64_t toPosition,
                                 std::size_t count) {
  return Count(Counted::kWritten,
               FileOps::CopyRange(from, fromPosition, to, toPosition, std::min(count, kLargestCopy)));
}

std::int64_t Progress::Count(Counted kind, std::int64_t result) {
  if (kind == counted_ && result > 0) {
    bytes_ += static_cast<std::uint64_t>(result);
    Renew();
  }
  return result;
}

void Progress::Renew() {
  const Time now = readClock();
  if (!first_) {
    first_ = now;
    next_ = std::max(next_, now + kBetween);
  }
  if (now < next_) return;
  next_ = now + kBetween;
  const std::size_t room = Posix::StatusLineRoom();
  if (room == 0) return;
  CheckTotal();
  Posix::ShowStatusLine(Describe(std::chrono::duration<double>(now - *first_).count(), room));
}

void Progress::CheckTotal() {
  Posix::FileInfo info;
  if (totalBytes_ == 0) return;
  const bool isSame = Status(source_.c_str(), info) >= 0 && info.size == sourceSize_;
  if (!isSame || bytes_ > totalBytes_) totalBytes_ = 0;
}

std::string Progress::Describe(double seconds, std::size_t room) const {
  std::array<std::string, 4> parts = {job_, ": " + Done(),
                                      ", " + Amount(static_cast<double>(bytes_) / seconds) + "/s", ""};
  if (totalBytes_ > 0 && bytes_ > 0) {
    const double left = static_cast<double>(totalBytes_ - bytes_) / static_cast<double>(bytes_);
    parts.back() = ", " + Duration(seconds * left) + " left";
  }
  std::string line;
  for (const std::string& part : parts) {
    if (line.size() + part.size() > room) break;
    line += part;
  }
  return line;
}

std::string Progress::Done() const {
  if (totalFiles_ > 0) return std::to_string(files_) + " of " + std::to_string(totalFiles_) + " files";
  if (totalBytes_ == 0) return Amount(static_cast<double>(bytes_));
  const double share = static_cast<double>(bytes_) / static_cast<double>(totalBytes_);
  return std::to_string(static_cast<int>(share * 100)) + '%';
}
