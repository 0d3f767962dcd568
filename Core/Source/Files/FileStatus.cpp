#include "Files/FileStatus.h"

#include <cerrno>

FileStatus StatusOfResult(std::int64_t result) {
  if (result >= 0) return kStatusOk;
  switch (-result) {
    case ENOENT:
      return kStatusFileNotFound;
    case ENOTDIR:
      return kStatusNoFolder;
    case EEXIST:
      return kStatusDuplicateName;
    case EACCES:
    case EPERM:
    case EROFS:
      return kStatusNoPermission;
    case ENOSPC:
    case EDQUOT:
      return kStatusDiskFull;
    case EMFILE:
    case ENFILE:
      return kStatusTooManyFiles;
    case ENAMETOOLONG:
      return kStatusBadName;
    case EISDIR:
    case ELOOP:
      return kStatusNotAFile;
    default:
      return kStatusInputOutput;
  }
}
