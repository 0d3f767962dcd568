#pragma once

#include <cstdint>

/// The result of a low-level file operation: 0, or one of the file system's negative numbers. Most
/// callers compare only with 0 and kStatusEndOfFile; the others say what went wrong.
using FileStatus = std::int32_t;

constexpr FileStatus kStatusOk = 0;
constexpr FileStatus kStatusDiskFull = -34;
constexpr FileStatus kStatusInputOutput = -36;  ///< Everything that has no other number.
constexpr FileStatus kStatusBadName = -37;
constexpr FileStatus kStatusNotOpen = -38;
constexpr FileStatus kStatusEndOfFile = -39;  ///< A short read, or a position past the end.
constexpr FileStatus kStatusTooManyFiles = -42;
constexpr FileStatus kStatusFileNotFound = -43;
constexpr FileStatus kStatusFileBusy = -47;  ///< Locked by another process.
constexpr FileStatus kStatusDuplicateName = -48;
constexpr FileStatus kStatusNoPermission = -54;
constexpr FileStatus kStatusNoFolder = -120;  ///< A component of the path is not a folder.
constexpr FileStatus kStatusNotAFile = -1302;

/// The status of what Posix::FileOps returned: 0 for 0 and above, otherwise that of the negated errno.
FileStatus StatusOfResult(std::int64_t result);

/// What a copy came to.
struct CopyResult {
  std::uint64_t copied = 0;            ///< Bytes that reached the target.
  FileStatus readStatus = kStatusOk;   ///< kStatusEndOfFile when the source ended early.
  FileStatus writeStatus = kStatusOk;  ///< Of the target.
};
