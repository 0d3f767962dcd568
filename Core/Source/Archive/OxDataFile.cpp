#include "Archive/OxDataFile.h"

#include <exception>

#include "Archive/ArchiveState.h"
#include "Archive/RecordWriter.h"
#include "Archive/Scramble.h"

using FlatFile::FileHeader;
using FlatFile::kFileHeaderSize;
using FlatFile::kNoPosition;
using FlatFile::kRecordHeaderSize;
using FlatFile::RecordHeader;

// ---- Lifetime

OxDataFile::OxDataFile(std::uint32_t typeCode, const OxString& path)
    : typeCode_(typeCode), path_(path), state_(std::make_unique<ArchiveState>()) {}

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
  if (state_->file.WasCreated() && !state_->file.IsLockedElsewhere()) Delete();
  state_->Reset();
  return false;
}

bool OxDataFile::OpenArchive(short mode, const FileCheck& check) {
  state_->isWritable = (mode & kOpenWrite) != 0;
  const bool create = (mode & kOpenCreate) != 0;
  if (mode == kOpenMapped) {
    if (!state_->file.OpenMapped(path_)) return false;
  } else {
    const unsigned long permission = ((mode & kOpenRead) != 0 ? OxFile::kRead : 0UL) |
                                     ((mode & kOpenWrite) != 0 ? OxFile::kWrite : 0UL) |
                                     (create ? OxFile::kCreate : 0UL) |
                                     ((mode & kOpenPrivate) != 0 ? OxFile::kPrivate : 0UL);
    if (state_->file.OpenFile(path_, permission, check) != kStatusOk) return false;
  }
  if (!(create ? BeginNewArchive((mode & kOpenProtected) != 0) : CheckHeader())) return false;
  state_->isOpen = true;
  state_->isLoaded = true;
  ++state_->change;
  state_->LoadIndexAndNames();
  return true;
}

bool OxDataFile::BeginNewArchive(bool isProtected) {
  state_->header = FileHeader();
  state_->header.typeCode = typeCode_;
  state_->header.flags = isProtected ? FlatFile::kProtected : 0;
  if (state_->file.SetEOF(0) != kStatusOk) return false;
  const FileStatus written = state_->file.WriteAt(0, FlatFile::Encode(state_->header));
  if (written == kStatusOk && state_->file.SetPosition(0) == kStatusOk) return true;
  // What was there before is gone already.
  Delete();
  return false;
}

bool OxDataFile::CheckHeader() {
  return ReadFileHeader(state_->header, false) == kStatusOk && state_->header.typeCode == typeCode_ &&
         state_->header.reserved == 0;
}

bool OxDataFile::IsOpen() const {
  return state_->isOpen;
}

void OxDataFile::GatherAppends() {
  state_->file.GatherAppends();
}

void OxDataFile::ExpectNewNames() {
  state_->namesAreNew = true;
}

void OxDataFile::Save() {
  state_->isLoaded = false;  // Closing writes nothing more, whatever comes.
  RecordWriter(*state_).WriteTables();
  const FileStatus status = state_->file.Settle();
  if (status != kStatusOk) throw FileError(status);
}

void OxDataFile::Close() {
  if (!state_->isOpen) return;
  const bool writes = state_->file.IsFile() && state_->isLoaded && state_->isWritable;
  std::exception_ptr failure;
  if (writes) {
    try {
      RecordWriter(*state_).WriteTables();
    } catch (...) {
      failure = std::current_exception();
    }
  }
  const FileStatus status = state_->Reset();
  if (failure) std::rethrow_exception(failure);
  if (writes && status != kStatusOk) throw FileError(status);
}

FileStatus OxDataFile::Delete() {
  const bool isFile = state_->file.IsFile();
  const FileStatus status = state_->file.Discard();
  state_->Reset();
  return isFile ? status : OxFile(path_).Delete();
}

bool OxDataFile::IsProtected() const {
  return state_->IsProtected();
}

// ---- Records by name

void OxDataFile::AddRecord(const OxString& name, unsigned long length, const char* data) {
  RecordWriter writer(*state_);
  writer.CheckWritable(name, length);
  if (data == nullptr) length = 0;
  if (IsProtected()) {
    const OxBuffer scrambled = WobScrambleData(data, length, true);
    writer.Write(name, {.length = length, .bytes = scrambled.data()}, kDataRecord);
  } else {
    writer.Write(name, {.length = length, .bytes = data}, kDataRecord);
  }
}

void OxDataFile::AddRecord(const OxString& name, const OxBuffer& data) {
  AddRecord(name, data.length(), data.data());
}

FileStatus OxDataFile::AddRecordFromFile(const OxString& name, OxFile& source) {
  if (!source.IsOpen()) return kStatusNotOpen;
  const std::uint64_t length = source.GetLastKnownLength();
  RecordWriter writer(*state_);
  writer.CheckWritable(name, length);
  FileStatus status = kStatusOk;
  if (length > FileCopier::kBufferSize) {
    writer.Write(name, {.length = length, .source = &source, .sourceStatus = &status}, kDataRecord);
    return status;
  }
  const std::span<std::byte> buffer = state_->copier.Buffer();
  std::size_t got = 0;
  status = source.ReadAt(0, buffer.first(static_cast<std::size_t>(length)), got);
  if (IsProtected()) scramble(kScrambleSeed, buffer.data(), buffer.data(), got);
  writer.Write(name, {.length = got, .bytes = buffer.data()}, kDataRecord);
  return status;
}

bool OxDataFile::GetRecord(const OxString& name, OxBuffer& out) {
  const std::uint64_t block = FindRecord(name);
  if (block == kNoPosition) return false;
  state_->blocks.ReadPayload(block, out);
  if (IsProtected()) scramble(kScrambleSeed, out.data(), out.data(), out.length());
  return true;
}

bool OxDataFile::DeleteRecord(const OxString& name) {
  if (FindRecord(name) == kNoPosition) return false;
  RecordWriter(*state_).Delete(state_->file.GetPosition());
  return true;
}

std::uint64_t OxDataFile::FindRecord(const OxString& name) {
  const auto found = state_->Index().Find(name.view(), state_->names);
  if (!found) return kNoPosition;
  SetPosition(found->position);
  return found->position;
}

const char* OxDataFile::GetMappedRecordPtr(const OxString& name, unsigned long& length) {
  if (!state_->file.IsMapped()) throw AccessDenied();
  length = 0;
  const std::uint64_t block = FindRecord(name);
  return block == kNoPosition ? nullptr : MappedPayload(block, length);
}

const char* OxDataFile::MappedPayload(std::uint64_t block, unsigned long& length) {
  length = 0;
  if (!state_->file.IsMapped()) throw AccessDenied();
  RecordHeader header;
  if (state_->blocks.ReadHeader(block, header) != kStatusOk) return nullptr;
  const std::uint64_t start = block + kRecordHeaderSize;
  const std::string_view mapped = state_->file.Mapped();
  if (header.dataLength > mapped.size() - start) return nullptr;
  length = header.dataLength;
  return mapped.data() + start;
}

// ---- Positions and raw access

std::uint64_t OxDataFile::GetPosition() const {
  if (!state_->file.IsOpen()) throw FileNotOpen();
  return state_->file.GetPosition();
}

FileStatus OxDataFile::SetPosition(std::uint64_t position) {
  const FileStatus status = state_->file.SetPosition(position);
  if (status == kStatusEndOfFile && state_->file.IsMapped()) throw EndOfFile();
  return status;
}

FileStatus OxDataFile::GoToEOF() {
  return state_->file.GoToEOF();
}

FileStatus OxDataFile::SetEOF(std::uint64_t length) {
  ++state_->change;
  return state_->file.SetEOF(length);
}

FileStatus OxDataFile::Beginning() {
  const std::uint64_t head = state_->header.usedList.head;
  return SetPosition(head == kNoPosition ? kFileHeaderSize : head);
}

FileStatus OxDataFile::Skip() {
  RecordHeader header;
  const FileStatus status = ReadRecordHeader(header, true);
  return status == kStatusOk ? SetPosition(GetPosition() + header.blockSize) : status;
}

FileStatus OxDataFile::ReadBytes(unsigned long count, void* buffer) {
  if (!state_->file.IsOpen()) return kStatusNotOpen;
  std::size_t got = 0;
  const std::uint64_t position = state_->file.GetPosition();
  const FileStatus status = state_->file.ReadAt(position, {static_cast<std::byte*>(buffer), count}, got);
  if (got > 0) state_->file.SetPosition(position + got);
  return status;
}

FileStatus OxDataFile::WriteBytes(unsigned long count, const void* buffer) {
  if (!state_->isWritable) throw ReadOnly();
  ++state_->change;
  return state_->file.Write({static_cast<const std::byte*>(buffer), count});
}

FileStatus OxDataFile::ReadFileHeader(FileHeader& header, bool restore) {
  if (!state_->file.IsOpen()) return kStatusNotOpen;
  const std::uint64_t position = restore ? GetPosition() : kFileHeaderSize;
  std::array<std::byte, kFileHeaderSize> bytes;
  SetPosition(0);
  const FileStatus status = ReadBytes(bytes.size(), bytes.data());
  if (status == kStatusOk) header = FlatFile::DecodeFileHeader(bytes);
  if (restore) SetPosition(position);
  return status;
}

FileStatus OxDataFile::WriteFileHeader() {
  if (!state_->isWritable) throw ReadOnly();
  state_->file.PutOffFileHeader(state_->header);
  return kStatusOk;
}

FileStatus OxDataFile::ReadRecordHeader(RecordHeader& header, bool restore) {
  if (!state_->file.IsOpen()) return kStatusNotOpen;
  const std::uint64_t position = state_->file.GetPosition();
  const FileStatus status = state_->blocks.ReadHeader(position, header);
  if (!restore) state_->file.SetPosition(state_->file.ClampToLength(position + kRecordHeaderSize));
  return status;
}

FileStatus OxDataFile::WriteRecordHeader(const RecordHeader& header) {
  const auto bytes = FlatFile::Encode(header);
  return WriteBytes(bytes.size(), bytes.data());
}

FileStatus OxDataFile::ReadCurrent(OxBuffer& out) {
  if (!state_->file.IsOpen()) return kStatusNotOpen;
  return state_->blocks.ReadPayload(state_->file.GetPosition(), out);
}

const char* OxDataFile::GetName(unsigned long nameOffset) {
  const auto offset = static_cast<std::uint32_t>(nameOffset);
  const auto name = offset == nameOffset ? state_->names.At(offset) : std::nullopt;
  if (!name) return nullptr;
  nameCopy_ = *name;
  return nameCopy_.c_str();
}

// ---- Upkeep

void OxDataFile::BuildIndex() {
  state_->ClearIndex();
  RecordIndex& index = state_->Index();
  const FlatFile::LinkTrail::NextOf nextOf = state_->blocks.LinkReader();
  FlatFile::LinkTrail trail(state_->header.usedList.head);
  RecordHeader header;
  for (std::uint64_t block = state_->header.usedList.head; block != kNoPosition; block = header.next) {
    if (state_->blocks.ReadHeader(block, header) != kStatusOk) return;
    const auto found = index.FindNameAt(header.nameOffset, state_->names);
    index.Insert(found ? found->slot : index.EndSlot(), {header.nameOffset, 0, block}, state_->names);
    if (header.next != kNoPosition && !trail.StepTo(header.next, nextOf)) return;
  }
}

void OxDataFile::Clear() {
  if (!state_->isOpen) Open(kOpenWrite);
  if (state_->isOpen && state_->isWritable) throw ReadOnly();
  state_->header.recordCount = 0;
  state_->header.freeCount = 0;
  state_->header.usedList = {};
  state_->header.freeList = {};
  state_->header.nameTablePos = kNoPosition;
  state_->header.flags = 0;
  WriteFileHeader();
}

// ---- Iteration

OxDataFile::Iterator OxDataFile::Begin() {
  return Iterator(this);
}

OxDataFile::Iterator OxDataFile::End() {
  return Iterator(this, kNoPosition);
}
