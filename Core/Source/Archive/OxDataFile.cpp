#include "Archive/OxDataFile.h"

#include <exception>

#include "Archive/Scramble.h"

using FlatFile::FileHeader;
using FlatFile::kFileHeaderSize;
using FlatFile::kNoPosition;
using FlatFile::kRecordHeaderSize;
using FlatFile::RecordHeader;

// ---- Lifetime

OxDataFile::OxDataFile(std::uint32_t typeCode, const OxString& path)
    : typeCode_(typeCode), path_(path) {}

OxDataFile::~OxDataFile() {
  try {
    Close();
  } catch (...) {
    // A destructor has nobody to tell; the archive is closed all the same.
  }
}

bool OxDataFile::Open(short mode, const FileCheck& check) {
  bool opened = false;
  try {
    Close();
    opened = OpenArchive(mode, check);
  } catch (...) {
    opened = false;
  }
  if (opened) return true;
  // A new file that another process has locked belongs to that process by now.
  if (file_.WasCreated() && !file_.IsLockedElsewhere()) Delete();
  Reset();
  return false;
}

bool OxDataFile::OpenArchive(short mode, const FileCheck& check) {
  mode_ = mode;
  const bool create = (mode & kOpenCreate) != 0;
  if (mode == kOpenMapped) {
    if (!file_.OpenMapped(path_)) return false;
  } else {
    const unsigned long permission = ((mode & kOpenRead) != 0 ? OxFile::kRead : 0UL) |
                                     ((mode & kOpenWrite) != 0 ? OxFile::kWrite : 0UL) |
                                     (create ? OxFile::kCreate : 0UL) |
                                     ((mode & kOpenPrivate) != 0 ? OxFile::kPrivate : 0UL);
    if (file_.OpenFile(path_, permission, check) != kStatusOk) return false;
  }
  if (!(create ? BeginNewArchive() : CheckHeader())) return false;
  open_ = true;
  loaded_ = true;
  ++change_;
  LoadIndexAndNames();
  return true;
}

// A position outside a mapping is ignored: an archive without a readable index or without names can still be
// walked.
void OxDataFile::LoadIndexAndNames() {
  indexIsRead_ = false;
  if ((mode_ & kOpenWrite) != 0) ReadIndex();
  try {
    ReadNameTable();
  } catch (const EndOfFile&) {
    names_.Clear();
  }
}

RecordIndex& OxDataFile::Index() {
  if (!indexIsRead_) ReadIndex();
  return index_;
}

bool OxDataFile::BeginNewArchive() {
  header_ = FileHeader();
  header_.typeCode = typeCode_;
  header_.flags = (mode_ & kOpenProtected) != 0 ? FlatFile::kProtected : 0;
  if (file_.SetEOF(0) != kStatusOk) return false;
  const FileStatus written = file_.WriteAt(0, FlatFile::Encode(header_));
  if (written == kStatusOk && file_.SetPosition(0) == kStatusOk) return true;
  // What was there before is gone already.
  Delete();
  return false;
}

bool OxDataFile::CheckHeader() {
  return ReadFileHeader(header_, false) == kStatusOk && header_.typeCode == typeCode_ &&
         header_.reserved == 0;
}

// As much of it as can be read; the status is ignored.
void OxDataFile::ReadIndex() {
  OxBuffer payload;
  try {
    if (header_.indexPos != kNoPosition) ReadPayloadOf(header_.indexPos, payload);
  } catch (const EndOfFile&) {
    payload.Clear();
  }
  index_.Load(std::as_bytes(std::span(payload.view())));
  indexIsRead_ = true;
}

// Deliberate: where the table ends early the position stays at the end.
void OxDataFile::ReadNameTable() {
  if (header_.nameTablePos == kNoPosition) return;
  std::uint64_t start = 0;
  std::uint32_t length = 0;
  FileStatus status = FindPayload(header_.nameTablePos, start, length);
  if ((mode_ & kOpenWrite) == 0) {
    names_.ReadAsNeeded(file_, start, length);
  } else if (length > 0) {
    const FileStatus readStatus = names_.Read(file_, start, length);
    if (readStatus != kStatusOk) status = readStatus;
  }
  if (status == kStatusEndOfFile) file_.SetPosition(kNoPosition);
}

void OxDataFile::Save() {
  loaded_ = false;  // Closing writes nothing more, whatever comes.
  WriteIndex();
  WriteNameTable();
  const FileStatus status = file_.Settle();
  if (status != kStatusOk) throw FileError(status);
}

void OxDataFile::Close() {
  if (!open_) return;
  const bool writes = file_.IsFile() && loaded_ && (mode_ & kOpenWrite) != 0;
  std::exception_ptr failure;
  if (writes) {
    try {
      WriteIndex();
      WriteNameTable();
    } catch (...) {
      failure = std::current_exception();
    }
  }
  const FileStatus status = Reset();
  if (failure) std::rethrow_exception(failure);
  if (writes && status != kStatusOk) throw FileError(status);
}

// Closes the file, with what was put off written, and goes back to the closed state.
FileStatus OxDataFile::Reset() {
  const FileStatus status = file_.Close();
  open_ = false;
  namesAreNew_ = false;
  mode_ = kOpenRead;
  loaded_ = false;
  names_.Clear();
  index_.Clear();
  indexIsRead_ = true;
  return status;
}

FileStatus OxDataFile::Delete() {
  const bool isFile = file_.IsFile();
  const FileStatus status = file_.Discard();
  Reset();
  return isFile ? status : OxFile(path_).Delete();
}

bool OxDataFile::IsProtected() const {
  return open_ && (header_.flags & FlatFile::kProtected) != 0;
}

// ---- Records by name

bool OxDataFile::GetRecord(const OxString& name, OxBuffer& out) {
  const std::uint64_t block = FindRecord(name);
  if (block == kNoPosition) return false;
  ReadPayloadOf(block, out);
  if (IsProtected()) scramble(kScrambleSeed, out.data(), out.data(), out.length());
  return true;
}

bool OxDataFile::DeleteRecord(const OxString& name) {
  if (FindRecord(name) == kNoPosition) return false;
  DeleteCurrent();
  return true;
}

std::uint64_t OxDataFile::FindRecord(const OxString& name) {
  const auto found = Index().Find(name.view(), names_);
  if (!found) return kNoPosition;
  SetPosition(found->position);
  return found->position;
}

const char* OxDataFile::GetMappedRecordPtr(const OxString& name, unsigned long& length) {
  if (!file_.IsMapped()) throw AccessDenied();
  length = 0;
  const std::uint64_t block = FindRecord(name);
  return block == kNoPosition ? nullptr : MappedPayload(block, length);
}

const char* OxDataFile::MappedPayload(std::uint64_t block, unsigned long& length) {
  length = 0;
  if (!file_.IsMapped()) throw AccessDenied();
  RecordHeader header;
  if (ReadHeaderAt(block, header) != kStatusOk) return nullptr;
  const std::uint64_t start = block + kRecordHeaderSize;
  const std::string_view mapped = file_.Mapped();
  if (header.dataLength > mapped.size() - start) return nullptr;
  length = header.dataLength;
  return mapped.data() + start;
}

// ---- Positions and raw access

std::uint64_t OxDataFile::GetPosition() const {
  if (!file_.IsOpen()) throw FileNotOpen();
  return file_.GetPosition();
}

FileStatus OxDataFile::SetPosition(std::uint64_t position) {
  const FileStatus status = file_.SetPosition(position);
  if (status == kStatusEndOfFile && file_.IsMapped()) throw EndOfFile();
  return status;
}

FileStatus OxDataFile::GoToEOF() {
  return file_.GoToEOF();
}

FileStatus OxDataFile::SetEOF(std::uint64_t length) {
  ++change_;
  return file_.SetEOF(length);
}

FileStatus OxDataFile::Beginning() {
  const std::uint64_t head = header_.usedList.head;
  return SetPosition(head == kNoPosition ? kFileHeaderSize : head);
}

FileStatus OxDataFile::Skip() {
  RecordHeader header;
  const FileStatus status = ReadRecordHeader(header, true);
  return status == kStatusOk ? SetPosition(GetPosition() + header.blockSize) : status;
}

FileStatus OxDataFile::ReadBytes(unsigned long count, void* buffer) {
  if (!file_.IsOpen()) return kStatusNotOpen;
  std::size_t got = 0;
  const std::uint64_t position = file_.GetPosition();
  const FileStatus status = file_.ReadAt(position, {static_cast<std::byte*>(buffer), count}, got);
  if (got > 0) file_.SetPosition(position + got);
  return status;
}

FileStatus OxDataFile::WriteBytes(unsigned long count, const void* buffer) {
  if ((mode_ & kOpenWrite) == 0) throw ReadOnly();
  ++change_;
  return file_.Write({static_cast<const std::byte*>(buffer), count});
}

FileStatus OxDataFile::ReadFileHeader(FileHeader& header, bool restore) {
  if (!file_.IsOpen()) return kStatusNotOpen;
  const std::uint64_t position = restore ? GetPosition() : kFileHeaderSize;
  std::array<std::byte, kFileHeaderSize> bytes;
  SetPosition(0);
  const FileStatus status = ReadBytes(bytes.size(), bytes.data());
  if (status == kStatusOk) header = FlatFile::DecodeFileHeader(bytes);
  if (restore) SetPosition(position);
  return status;
}

FileStatus OxDataFile::WriteFileHeader() {
  if ((mode_ & kOpenWrite) == 0) throw ReadOnly();
  file_.PutOffFileHeader(header_);
  return kStatusOk;
}

FileStatus OxDataFile::ReadRecordHeader(RecordHeader& header, bool restore) {
  if (!file_.IsOpen()) return kStatusNotOpen;
  const std::uint64_t position = file_.GetPosition();
  const FileStatus status = ReadHeaderAt(position, header);
  if (!restore) file_.SetPosition(file_.ClampToLength(position + kRecordHeaderSize));
  return status;
}

FileStatus OxDataFile::WriteRecordHeader(const RecordHeader& header) {
  const auto bytes = FlatFile::Encode(header);
  return WriteBytes(bytes.size(), bytes.data());
}

FileStatus OxDataFile::ReadCurrent(OxBuffer& out) {
  if (!file_.IsOpen()) return kStatusNotOpen;
  return ReadPayloadOf(file_.GetPosition(), out);
}

const char* OxDataFile::GetName(unsigned long nameOffset) {
  const auto offset = static_cast<std::uint32_t>(nameOffset);
  const auto name = offset == nameOffset ? names_.At(offset) : std::nullopt;
  if (!name) return nullptr;
  nameCopy_ = *name;
  return nameCopy_.c_str();
}

// ---- Blocks

FileStatus OxDataFile::ReadHeaderAt(std::uint64_t block, RecordHeader& header) {
  std::span<const std::byte> bytes;
  const FileStatus status = file_.ViewAt(block, kRecordHeaderSize, bytes);
  if (status == kStatusOk) header = FlatFile::DecodeRecordHeader(bytes.first<kRecordHeaderSize>());
  if (file_.IsMapped() && block > file_.Mapped().size()) throw EndOfFile();
  return status;
}

FileStatus OxDataFile::WriteHeaderAt(std::uint64_t block, const RecordHeader& header) {
  return file_.WriteAt(block, FlatFile::Encode(header));
}

// Where the payload is, as far as the file has it; kStatusEndOfFile when that is not the whole.
FileStatus OxDataFile::FindPayload(std::uint64_t block, std::uint64_t& start, std::uint32_t& length) {
  length = 0;
  RecordHeader header;
  const FileStatus status = ReadHeaderAt(block, header);
  if (status != kStatusOk) return status;
  start = block + kRecordHeaderSize;
  const std::uint64_t end = file_.ClampToLength(start + header.dataLength);
  if (end > start) length = static_cast<std::uint32_t>(end - start);
  return length < header.dataLength ? kStatusEndOfFile : kStatusOk;
}

// Empties `out` when there is no header; otherwise reads the payload as far as the file has it.
FileStatus OxDataFile::ReadPayloadOf(std::uint64_t block, OxBuffer& out) {
  out.Clear();
  std::uint64_t start = 0;
  std::uint32_t length = 0;
  const FileStatus status = FindPayload(block, start, length);
  if (length == 0) return status;
  out.SetLength(length);
  std::size_t got = 0;
  const FileStatus readStatus =
      file_.ReadAt(start, std::as_writable_bytes(std::span(out.data(), length)), got);
  out.SetLength(got);
  return readStatus != kStatusOk ? readStatus : status;
}

// ---- Upkeep

void OxDataFile::BuildIndex() {
  index_.Clear();
  indexIsRead_ = true;
  const LinkTrail::NextOf nextOf = LinkReader();
  LinkTrail trail(header_.usedList.head);
  RecordHeader header;
  for (std::uint64_t block = header_.usedList.head; block != kNoPosition; block = header.next) {
    if (ReadHeaderAt(block, header) != kStatusOk) return;
    const auto found = index_.FindNameAt(header.nameOffset, names_);
    index_.Insert(found ? found->slot : index_.EndSlot(), {header.nameOffset, 0, block}, names_);
    if (header.next != kNoPosition && !trail.StepTo(header.next, nextOf)) return;
  }
}

void OxDataFile::Clear() {
  if (!open_) Open(kOpenWrite);
  if (open_ && (mode_ & kOpenWrite) != 0) throw ReadOnly();
  header_.recordCount = 0;
  header_.freeCount = 0;
  header_.usedList = {};
  header_.freeList = {};
  header_.nameTablePos = kNoPosition;
  header_.flags = 0;
  WriteFileHeader();
}

// ---- Iteration

OxDataFile::Iterator OxDataFile::Begin() {
  return Iterator(this);
}

OxDataFile::Iterator OxDataFile::End() {
  return Iterator(this, kNoPosition);
}
