#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Foundation/OxBuffer.h"
#include "Foundation/OxPath.h"
#include "Foundation/OxString.h"
#include "Posix/FileTypes.h"

/// What WobMoveFile() does when the target exists.
enum OxFileConflictMode : int {
  kConflictFail = 0,     ///< The move fails.
  kConflictReplace = 1,  ///< The target, if it is no folder, is deleted first.
  kConflictRename = 2,   ///< The first free name of the form "base 1.ext", "base 2.ext" ... is taken.
};

/// One entry of a folder.
struct OxFolderEntry {
  OxString name;                                   ///< With "?" for every byte that is no UTF-8.
  Posix::FileKind kind = Posix::FileKind::kOther;  ///< Of the entry itself: a link is a link.
  std::uint64_t inode = 0;  ///< Of the entry itself; see Posix::FolderEntry::inode.
  bool isExact = true;      ///< False when `name` is not what the file system calls it.
};

/// Operations on whole files and folders. Nothing here throws: failures are false, 0 or an empty text.
///   Links: the tests follow symbolic links; whatever deletes, moves or copies acts on a link itself and
///          never on what it points to.
///   Depth: folders are walked by loops; they are deleted however deep, and moved to another file system or
///          copied as deep as the system's paths reach.
/// The free functions below do the same for paths given as text.
class OxFileUtils {
 public:
  /// What becomes of a file's old content.
  enum WriteMode : int { kTruncate = 0, kAppend = 1 };
  /// A folder that the system has for a purpose.
  enum DirID : int { kApplicationSupport = 0 };

  // Tests. An empty path is always false.

  static bool Exists(const OxPath& path);       ///< A file, a folder or anything else.
  static bool IsDirectory(const OxPath& path);  ///< A folder or a link to one.
  static bool IsFile(const OxPath& path);       ///< Exists and is no folder.
  /// Bit 0 (value 1) of `attributes`: a folder. False, and 0, when it cannot be examined.
  static bool GetAttributes(const OxPath& path, unsigned long& attributes);
  /// Whole seconds since 1970-01-01 UTC. Deliberate: true also for a missing object, with 0. A time
  /// that `seconds` cannot hold, after 2038 on machines of 32 bits, is the latest one that it can.
  static bool GetLastModified(const OxPath& path, long& seconds);

  // Folders and files.

  /// True at once if the folder exists. Missing parents are made first. False, with nothing made, for a
  /// path that is too long for the system.
  static bool CreateDirectory(const OxPath& path);
  /// What became of a folder whose making is bounded.
  enum class Creation : std::uint8_t { kDone, kFailed, kTooMany };
  /// This system's own extension, for paths that a stranger chose: as above, but when more than `most`
  /// folders are missing none is made. `most` becomes less by those that are.
  static Creation CreateDirectory(const OxPath& path, std::size_t& most);
  /// Removes the object, a folder with everything in it, and nothing else whatever changes meanwhile; see
  /// FileTree::Remove(). False when nothing is there.
  static bool DeleteDirectory(const OxPath& path);
  /// True when nothing is there, false for a folder.
  static bool DeleteFile(const OxPath& path);
  /// False when nothing is there.
  static bool DeletePath(const OxPath& path);
  /// `name`, or when the folder has it already (also as a dangling link) the first free "base n.ext" for
  /// n = 1, 2, 3 ...; empty when memory runs out.
  /// Deliberate: without an extension the form is "base n " with a space at the end.
  static OxString GetUniqueName(const OxPath& folder, const OxString& name);

  // Listing.

  /// Replaces `out` by folder / entry for every entry, hidden ones included, whose name matches
  /// `pattern` by OxPathMatcher(), in the order in which the file system lists them. Returns how many;
  /// 0 when `folder` is no folder or cannot be examined, -1 when it is one that cannot be listed. Names
  /// that are no UTF-8 are left out.
  static long GetFolderContents(const OxPath& folder, const OxString& pattern, std::vector<OxPath>& out);
  /// The same with the entries' kinds, which the file system gives without a query per entry. Here the
  /// names that are no UTF-8 are reported too, and -1 stands for a folder that cannot be examined as well.
  static long ListFolder(const OxPath& folder, const OxString& pattern, std::vector<OxFolderEntry>& out);
  /// A name that the file system gave, as text that can be shown: with "?" for every byte that is not UTF-8.
  static OxString ShownName(std::string_view name);
  /// The first matching entry in case-insensitive order whose name does not begin with "."; without one
  /// `out` is left alone.
  static bool LocateFirstFileMatching(const OxPath& folder, const OxString& pattern, OxPath& out);

  // Whole text files.

  /// Decodes the file's bytes; see WobHandleCharacterEncodings() for `encoding` and its output.
  static bool ReadTextFile(const OxPath& path, unsigned int& encoding, OxString& out);
  /// Writes the text's UTF-8 bytes behind the old content, or in its place. True if all were written.
  static bool WriteTextFile(const OxPath& path, const OxString& text, WriteMode mode);

  // Places.

  static OxPath GetCurrentDirectory();                  ///< Absolute; empty when it is gone.
  static bool SetCurrentDirectory(const OxPath& path);  ///< Of the whole process.
  /// A name in the folder for temporary files that nothing has; empty when none can be had: that folder is
  /// missing, this process may not write to it, or its path is not UTF-8. No file is made.
  static OxPath GetNewTempFilePath();
  /// Only kApplicationSupport is known: ".local/share" in the effective user's home, made with mode 0700 if
  /// missing. False, and `out` as it was, when the user database has no home.
  static bool GetStandardDirectoryPath(DirID id, OxPath& out);

  /// 32 lower-case hexadecimal digits; empty when the file cannot be mapped, as an empty one cannot.
  static OxString GetMD5ForFile(const OxPath& path);
};

/// Changes the working directory and puts it back.
///   Shape: made (and set) -> Restore() / Set() -> ... -> destroyed, which restores.
class StCurrentDirectory {
 public:
  /// Calls Set().
  explicit StCurrentDirectory(const OxPath& target);
  StCurrentDirectory(const StCurrentDirectory&) = delete;
  StCurrentDirectory& operator=(const StCurrentDirectory&) = delete;
  ~StCurrentDirectory();

  /// Remembers the working directory and changes to the target, unless one is remembered already.
  void Set();
  /// Changes back and forgets.
  void Restore();

 private:
  OxPath target_;
  std::string remembered_;  // Bytes as the file system has them.
};

/// A hook in front of every whole-file operation; accepts every path.
bool WobPathLooksValid(const OxString& path);
/// Whether the whole file can be loaded into a buffer; false for an empty path.
bool WobIsReadableFile(const OxString& path);

/// Replaces `out` by the file's bytes. False when it cannot be opened or has 4 GiB or more. Deliberate:
/// a read that fails part of the way is not told; `out` then has the bytes read until then.
bool WobReadBinaryFile(const OxString& path, OxBuffer& out);
/// Writes over the file from its beginning, making it if missing. Deliberate: the statuses are not
/// checked, so the result is true, and a longer file keeps its old tail.
bool WobWriteBinaryFile(const OxString& path, const void* data, unsigned long length);
bool WobWriteBinaryFile(const OxString& path, const OxBuffer& data);
bool WobReadTextFile(const OxString& path, unsigned int& encoding, OxString& out);
bool WobReadFile(const OxString& path, unsigned int& encoding, OxString& out);
bool WobWriteTextFile(const OxString& path, const OxString& text);

/// Copies a file, a link or a folder with its content. The target is `destination`, or its entry of the
/// source's name when that is a folder; a file at the target is deleted first. False, with nothing
/// changed, for a copy onto itself or into its own content; FIFOs and devices are not copied. A copy
/// that fails is removed again.
bool WobCopyFile(const OxString& source, const OxString& destination);
/// Moves, across file systems by copying. The target is chosen as by WobCopyFile(), `mode` decides when
/// it exists. True, with nothing done, when source and target are one object. Deliberate: a numbered name
/// stands below `destination` itself, so that the move fails when that is a file.
bool WobMoveFile(const OxString& source, const OxString& destination, OxFileConflictMode mode);

bool WobCreateDirectory(const OxString& path);
bool WobDeleteDirectory(const OxString& path);
bool WobDeleteFile(const OxString& path);
OxString WobGetCurrentDirectory();
bool WobSetCurrentDirectory(const OxString& path);
OxString WobGetNewTempFilePath();
OxString WobGetMD5ForFile(const OxString& path);

/// The path made absolute, its existing part resolved through the file system and the rest tidied; both
/// names do the same. An empty path stays empty.
OxString WobResolvePath(const OxString& path);
OxString WobAbsolutePath(const OxString& path);
