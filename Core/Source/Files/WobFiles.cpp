#include <cerrno>
#include <string>

#include "Files/FileIdentity.h"
#include "Files/FileTree.h"
#include "Files/OxFile.h"
#include "Files/OxFileUtils.h"
#include "Foundation/Narrow.h"
#include "Posix/FileOps.h"
#include "Posix/Paths.h"

namespace {

std::string Bytes(const OxString& path) {
  return std::string(path.view());
}

// `destination`, or its entry of the source's name when it is a folder.
OxPath TargetOf(const OxString& source, const OxString& destination) {
  const OxPath path(destination);
  return OxFileUtils::IsDirectory(path) ? path / OxPath(OxPath(source).leaf()) : path;
}

// The first of "base 1.ext", "base 2.ext" ... below `destination` that does not exist.
OxPath FreeTarget(const OxString& source, const OxString& destination) {
  const OxPath leaf(OxPath(source).leaf());
  const OxString base = leaf.basename();
  const OxString extension = leaf.extension();
  for (int n = 1;; ++n) {
    OxString name;
    name.format("%s %d", base.c_str(), n);
    if (!extension.empty()) name += OxString(".") + extension;
    OxPath candidate = OxPath(destination) / OxPath(name);
    if (!TryIdentifyLink(candidate.native_string().c_str())) return candidate;
  }
}

// Links themselves, or what they lead to.
bool AreSameObject(const OxString& a, const OxString& b) {
  const auto areSame = [](const auto& first, const auto& second) {
    return first && second && first->IsSameObject(*second);
  };
  return areSame(TryIdentifyLink(a.c_str()), TryIdentifyLink(b.c_str())) ||
         areSame(TryIdentify(a.c_str()), TryIdentify(b.c_str()));
}

// Nothing lies below a link.
bool GoesInto(const OxString& target, const OxString& folder) {
  const auto info = TryIdentifyLink(folder.c_str());
  return info && info->kind == Posix::FileKind::kFolder && LiesBelow(Bytes(target), *info);
}

bool CopyAcross(const OxString& source, const OxString& target) {
  return !GoesInto(target, source) && FileTree::Copy(Bytes(source), Bytes(target)) &&
         FileTree::Remove(Bytes(source));
}

bool MoveTo(const OxString& source, const OxString& target) {
  const int moved = Posix::Files().RenameWithoutReplacing(source.c_str(), target.c_str());
  return moved == -EXDEV ? CopyAcross(source, target) : moved >= 0;
}

bool Copy(const OxString& source, const OxString& destination) {
  const OxPath path = TargetOf(source, destination);
  const OxString& target = path.native_string();
  const auto info = TryIdentifyLink(source.c_str());
  if (!info || info->kind == Posix::FileKind::kOther) return false;
  if (AreSameObject(source, target) || GoesInto(target, source)) return false;
  return OxFileUtils::DeleteFile(path) && FileTree::Copy(Bytes(source), Bytes(target));
}

bool Move(const OxString& source, const OxString& destination, OxFileConflictMode mode) {
  OxPath target = TargetOf(source, destination);
  if (AreSameObject(source, target.native_string())) return true;
  if (TryIdentifyLink(source.c_str()) && TryIdentifyLink(target.native_string().c_str())) {
    if (mode == kConflictReplace) OxFileUtils::DeleteFile(target);
    if (mode == kConflictRename) target = FreeTarget(source, destination);
  }
  return MoveTo(source, target.native_string());
}

}  // namespace

bool WobPathLooksValid(const OxString&) {
  return true;
}

bool WobIsReadableFile(const OxString& path) {
  try {
    OxBuffer bytes;
    return !path.empty() && bytes.LoadFromFile(path.c_str());
  } catch (...) {
    return false;
  }
}

bool WobReadBinaryFile(const OxString& path, OxBuffer& out) {
  try {
    OxFile file(path);
    if (!WobPathLooksValid(path) || file.Open(OxFile::kRead) != kStatusOk) return false;
    out.SetLength(NarrowLength(file.GetLastKnownLength()));
    unsigned long got = 0;
    file.Read(out.data(), out.length(), &got);
    out.SetLength(got);
    return true;
  } catch (...) {
    return false;
  }
}

bool WobWriteBinaryFile(const OxString& path, const void* data, unsigned long length) {
  try {
    if (!WobPathLooksValid(path)) return false;
    OxFile file(path);
    file.Open(OxFile::kWrite | OxFile::kCreate);
    file.Write(data, length);
    return true;
  } catch (...) {
    return false;
  }
}

bool WobWriteBinaryFile(const OxString& path, const OxBuffer& data) {
  return WobWriteBinaryFile(path, data.data(), data.length());
}

bool WobReadTextFile(const OxString& path, unsigned int& encoding, OxString& out) {
  return OxFileUtils::ReadTextFile(path, encoding, out);
}

bool WobReadFile(const OxString& path, unsigned int& encoding, OxString& out) {
  return OxFileUtils::ReadTextFile(path, encoding, out);
}

bool WobWriteTextFile(const OxString& path, const OxString& text) {
  return OxFileUtils::WriteTextFile(path, text, OxFileUtils::kTruncate);
}

bool WobCopyFile(const OxString& source, const OxString& destination) {
  try {
    return Copy(source, destination);
  } catch (...) {
    return false;
  }
}

bool WobMoveFile(const OxString& source, const OxString& destination, OxFileConflictMode mode) {
  try {
    return Move(source, destination, mode);
  } catch (...) {
    return false;
  }
}

bool WobCreateDirectory(const OxString& path) {
  return OxFileUtils::CreateDirectory(path);
}

bool WobDeleteDirectory(const OxString& path) {
  return OxFileUtils::DeleteDirectory(path);
}

bool WobDeleteFile(const OxString& path) {
  return OxFileUtils::DeleteFile(path);
}

OxString WobGetCurrentDirectory() {
  return OxFileUtils::GetCurrentDirectory().native_string();
}

bool WobSetCurrentDirectory(const OxString& path) {
  return OxFileUtils::SetCurrentDirectory(path);
}

OxString WobGetNewTempFilePath() {
  return OxFileUtils::GetNewTempFilePath().native_string();
}

OxString WobGetMD5ForFile(const OxString& path) {
  return OxFileUtils::GetMD5ForFile(path);
}

OxString WobResolvePath(const OxString& path) {
  return WobAbsolutePath(path);
}

OxString WobAbsolutePath(const OxString& path) {
  try {
    return path.empty() ? OxString() : OxString(Posix::ResolvePath(Bytes(path)));
  } catch (...) {
    return {};
  }
}
