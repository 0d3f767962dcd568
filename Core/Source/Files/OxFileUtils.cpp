#include "Files/OxFileUtils.h"

#include <array>
#include <cerrno>
#include <limits>
#include <optional>
#include <string>

#include <openssl/evp.h>

#include "Files/CryptoLibrary.h"
#include "Files/FileIdentity.h"
#include "Files/FileTree.h"
#include "Files/OxFile.h"
#include "Files/OxMappedFile.h"
#include "Files/OxPathMatcher.h"
#include "Foundation/Narrow.h"
#include "Foundation/StringWalk.h"
#include "Posix/FileOps.h"
#include "Posix/Paths.h"
#include "Posix/Randomness.h"
#include "Utilities/TextDecoding.h"

namespace {

using Creation = OxFileUtils::Creation;
using Posix::FileInfo;
using Posix::FileKind;
using Posix::Files;

constexpr unsigned kPrivateFolder = 0700;
constexpr std::size_t kRandomBytesInName = 8;

std::string Bytes(const OxPath& path) {
  return std::string(path.native_string().view());
}

// Runs `operation`; its failure value stands for whatever the layers below throw.
template <typename Operation, typename Result>
Result Guarded(Result onFailure, Operation operation) {
  try {
    return operation();
  } catch (...) {
    return onFailure;
  }
}

std::optional<FileInfo> TryIdentify(const OxPath& path) {
  return ::TryIdentify(path.native_string().c_str());
}

bool MakeFolder(const OxPath& path, unsigned permissions) {
  const char* bytes = path.native_string().c_str();
  return Files().MakeFolder(bytes, permissions) >= 0;
}

// The parent of `path`, without trailing separators; branch_path() removes only one of several.
OxPath FolderAbove(const OxPath& path) {
  return WithoutTrailingSlashes(path.branch_path());
}

// Makes the folder and, first, those above it that do not exist, `most` at most; only the last result counts.
// A path that is too long for the system may have any number of names, which are not gone through.
Creation MakeFolders(const OxPath& path, unsigned permissions, std::size_t& most) {
  FileInfo info;
  const int examined = Files().Status(path.native_string().c_str(), info);
  if (examined >= 0 && info.kind == FileKind::kFolder) return Creation::kDone;
  if (examined == -ENAMETOOLONG) return Creation::kFailed;
  std::vector<OxPath> missing{path};
  for (OxPath parent = FolderAbove(path);
       missing.size() <= most && !parent.native_string().empty() && !OxFileUtils::Exists(parent);
       parent = FolderAbove(parent)) {
    missing.push_back(parent);
  }
  if (missing.size() > most) return Creation::kTooMany;
  bool made = false;
  for (; !missing.empty(); missing.pop_back()) {
    made = MakeFolder(missing.back(), permissions);
    if (made) --most;
  }
  return made ? Creation::kDone : Creation::kFailed;
}

bool MakeFolders(const OxPath& path, unsigned permissions) {
  std::size_t unlimited = std::numeric_limits<std::size_t>::max();
  return MakeFolders(path, permissions, unlimited) == Creation::kDone;
}

// The bytes of the character that `text` begins with; 0 when it begins with none.
std::size_t CharacterBytes(std::string_view text) {
  const std::size_t length = GetUTF8SequenceLength(static_cast<unsigned char>(text.front()));
  const bool whole = length > 0 && length <= text.size();
  return whole && StringWalk::IsAcceptable(text.substr(0, length)) ? length : 0;
}

OxFolderEntry MakeEntry(const Posix::FolderEntry& native) {
  const bool named = StringWalk::IsAcceptable(native.name);
  return {named ? OxString(native.name) : OxFileUtils::ShownName(native.name), native.kind, native.inode,
          named};
}

}  // namespace

// ---- Tests

bool OxFileUtils::Exists(const OxPath& path) {
  return TryIdentify(path).has_value();
}

bool OxFileUtils::IsDirectory(const OxPath& path) {
  const auto info = TryIdentify(path);
  return info && info->kind == FileKind::kFolder;
}

bool OxFileUtils::IsFile(const OxPath& path) {
  const auto info = TryIdentify(path);
  return info && info->kind != FileKind::kFolder;
}

bool OxFileUtils::GetAttributes(const OxPath& path, unsigned long& attributes) {
  const auto info = TryIdentify(path);
  attributes = info && info->kind == FileKind::kFolder ? 1 : 0;
  return info.has_value();
}

bool OxFileUtils::GetLastModified(const OxPath& path, long& seconds) {
  const auto info = TryIdentify(path);
  seconds = info ? TryNarrow<long>(info->modified).value_or(std::numeric_limits<long>::max()) : 0;
  return true;
}

// ---- Folders and files

bool OxFileUtils::CreateDirectory(const OxPath& path) {
  return Guarded(false, [&] { return MakeFolders(path, Posix::kFolderPermissions); });
}

OxFileUtils::Creation OxFileUtils::CreateDirectory(const OxPath& path, std::size_t& most) {
  return Guarded(Creation::kFailed, [&] { return MakeFolders(path, Posix::kFolderPermissions, most); });
}

bool OxFileUtils::DeleteDirectory(const OxPath& path) {
  return Guarded(false, [&] { return FileTree::Remove(Bytes(path)); });
}

bool OxFileUtils::DeleteFile(const OxPath& path) {
  const char* bytes = path.native_string().c_str();
  FileInfo info;
  const int examined = Files().LinkStatus(bytes, info);
  if (examined < 0) return examined == -ENOENT || examined == -ENOTDIR;
  if (info.kind == FileKind::kFolder) return false;
  return Files().RemoveFile(bytes) >= 0;
}

bool OxFileUtils::DeletePath(const OxPath& path) {
  return DeleteDirectory(path);
}

OxString OxFileUtils::GetUniqueName(const OxPath& folder, const OxString& name) {
  return Guarded(OxString(), [&] {
    const OxPath leaf(OxPath(name).leaf());
    const OxString base = leaf.basename();
    const OxString extension = leaf.extension();
    OxString candidate = name;
    for (int n = 1; IdentifyLink((folder / OxPath(candidate)).native_string()); ++n) {
      if (extension.empty()) {
        candidate.format("%s %d ", base.c_str(), n);
      } else {
        candidate.format("%s %d.%s", base.c_str(), n, extension.c_str());
      }
    }
    return candidate;
  });
}

// ---- Listing

long OxFileUtils::ListFolder(const OxPath& folder, const OxString& pattern,
                             std::vector<OxFolderEntry>& out) {
  out.clear();
  return Guarded(-1L, [&]() -> long {
    std::vector<Posix::FolderEntry> entries;
    const char* bytes = folder.native_string().c_str();
    const int listed = Files().ListFolder(bytes, entries);
    if (listed < 0) return listed == -ENOENT || listed == -ENOTDIR ? 0 : -1;
    for (const Posix::FolderEntry& entry : entries) {
      if (OxPathMatcher(entry.name.c_str(), pattern.c_str())) out.push_back(MakeEntry(entry));
    }
    return std::ssize(out);
  });
}

long OxFileUtils::GetFolderContents(const OxPath& folder, const OxString& pattern,
                                    std::vector<OxPath>& out) {
  out.clear();
  return Guarded(-1L, [&]() -> long {
    std::vector<OxFolderEntry> entries;
    const long listed = ListFolder(folder, pattern, entries);
    if (listed < 0) return IsDirectory(folder) ? -1 : 0;
    for (const OxFolderEntry& entry : entries) {
      if (entry.isExact) out.push_back(folder / OxPath(entry.name));
    }
    return std::ssize(out);
  });
}

OxString OxFileUtils::ShownName(std::string_view name) {
  std::string shown;
  while (!name.empty()) {
    const std::size_t length = CharacterBytes(name);
    shown += length > 0 ? name.substr(0, length) : std::string_view("?");
    name.remove_prefix(length > 0 ? length : 1);
  }
  return OxString(shown);
}

bool OxFileUtils::LocateFirstFileMatching(const OxPath& folder, const OxString& pattern, OxPath& out) {
  return Guarded(false, [&] {
    std::vector<OxFolderEntry> entries;
    ListFolder(folder, pattern, entries);
    const OxString* first = nullptr;
    for (const OxFolderEntry& entry : entries) {
      const OxString& name = entry.name;
      if (!entry.isExact || name.view().starts_with('.')) continue;
      if (first == nullptr || name.compare(*first, OxString::kCaseInsensitive) < 0) first = &name;
    }
    if (first != nullptr) out = folder / OxPath(*first);
    return first != nullptr;
  });
}

// ---- Whole text files

bool OxFileUtils::ReadTextFile(const OxPath& path, unsigned int& encoding, OxString& out) {
  OxBuffer bytes;
  const bool isRead = Guarded(false, [&] {
    if (!WobPathLooksValid(path.native_string())) return false;
    if (!bytes.LoadFromFile(path.native_string().c_str())) return false;
    out = WobHandleCharacterEncodings(bytes, encoding);
    return true;
  });
  bytes.SecureClear();  // They may be a pass phrase.
  return isRead;
}

bool OxFileUtils::WriteTextFile(const OxPath& path, const OxString& text, WriteMode mode) {
  return Guarded(false, [&] {
    if (!WobPathLooksValid(path.native_string())) return false;
    OxFile file(path.native_string());
    if (file.Open(OxFile::kWrite | OxFile::kCreate) != kStatusOk) return false;
    const FileStatus ready = mode == kAppend ? file.GoToEOF() : file.SetEOF(0);
    const FileStatus written = ready == kStatusOk ? file.Write(text.c_str(), text.size()) : ready;
    return file.Close() == kStatusOk && written == kStatusOk;
  });
}

// ---- Places

OxPath OxFileUtils::GetCurrentDirectory() {
  return Guarded(OxPath(), [] {
    std::string folder;
    if (Files().CurrentFolder(folder) < 0) return OxPath();
    return OxPath(OxString(folder));
  });
}

bool OxFileUtils::SetCurrentDirectory(const OxPath& path) {
  const char* bytes = path.native_string().c_str();
  return Files().ChangeFolder(bytes) >= 0;
}

OxPath OxFileUtils::GetNewTempFilePath() {
  return Guarded(OxPath(), [] {
    const std::string folder = Posix::TemporaryFolder();
    if (folder.empty()) return OxPath();
    std::string path;
    do {
      path = folder + '/' + Posix::RandomHexDigits(kRandomBytesInName);
    } while (IdentifyLink(OxString(path)));
    return OxPath(OxString(path));
  });
}

bool OxFileUtils::GetStandardDirectoryPath(DirID id, OxPath& out) {
  return Guarded(false, [&] {
    const auto home = Posix::HomeOfEffectiveUser();
    if (id != kApplicationSupport || !home) return false;
    const OxPath folder(OxString(*home + "/.local/share"));
    if (!MakeFolders(folder, kPrivateFolder)) return false;
    out = folder;
    return true;
  });
}

OxString OxFileUtils::GetMD5ForFile(const OxPath& path) {
  OxMappedFile file;
  if (!WobPathLooksValid(path.native_string()) || !file.Open(path.native_string())) return {};
  if (!InitialiseCryptoLibrary()) return {};
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
  unsigned int length = 0;
  const int done =
      EVP_Digest(file.GetAddress(), file.GetSize(), digest.data(), &length, EVP_md5(), nullptr);
  if (done != 1) return {};
  const OxBuffer hex = OxBuffer(reinterpret_cast<const char*>(digest.data()), length).ConvertToHex();
  OxString text(hex.view());
  return text.to_lower();
}

// ---- StCurrentDirectory

StCurrentDirectory::StCurrentDirectory(const OxPath& target) : target_(target) {
  Set();
}

StCurrentDirectory::~StCurrentDirectory() {
  Restore();
}

void StCurrentDirectory::Set() {
  if (!remembered_.empty()) return;
  Files().CurrentFolder(remembered_);
  OxFileUtils::SetCurrentDirectory(target_);
}

void StCurrentDirectory::Restore() {
  if (remembered_.empty()) return;
  Files().ChangeFolder(remembered_.c_str());
  remembered_.clear();
}
