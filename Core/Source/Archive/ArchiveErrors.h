#pragma once

#include "Files/FileStatus.h"

/// What OxDataFile throws, each as a member of it with the same name.
namespace FlatFile {

class FileNotOpen {};   ///< A record is written to a closed archive.
class ReadOnly {};      ///< Bytes are written to an archive that is not open for writing.
class AccessDenied {};  ///< The mode does not allow it.
class EndOfFile {};     ///< Past the end of a mapping, or of the file where a record should be.
/// A write failed, or something is too long for the format.
class FileError {
 public:
  explicit FileError(FileStatus code) : status(code) {}  ///< Never kStatusOk.
  FileStatus status;                                     ///< Why.
};

}  // namespace FlatFile
