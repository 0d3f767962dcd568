#include "Archive/ArchiveState.h"

#include <span>

#include "Archive/ArchiveErrors.h"

using FlatFile::EndOfFile;
using FlatFile::kNoPosition;

// A position outside a mapping is ignored: an archive without a readable index or without names can still be
// walked.
void ArchiveState::LoadIndexAndNames() {
  indexIsRead_ = false;
  if (isWritable) ReadIndex();
  try {
    ReadNameTable();
  } catch (const EndOfFile&) {
    names.Clear();
  }
}

RecordIndex& ArchiveState::Index() {
  if (!indexIsRead_) ReadIndex();
  return index_;
}

void ArchiveState::ClearIndex() {
  index_.Clear();
  indexIsRead_ = true;
}

// As much of it as can be read; the status is ignored.
void ArchiveState::ReadIndex() {
  OxBuffer payload;
  try {
    if (header.indexPos != kNoPosition) blocks.ReadPayload(header.indexPos, payload);
  } catch (const EndOfFile&) {
    payload.Clear();
  }
  index_.Load(std::as_bytes(std::span(payload.view())));
  indexIsRead_ = true;
}

// Deliberate: where the table ends early the position stays at the end.
void ArchiveState::ReadNameTable() {
  if (header.nameTablePos == kNoPosition) return;
  std::uint64_t start = 0;
  std::uint32_t length = 0;
  FileStatus status = blocks.FindPayload(header.nameTablePos, start, length);
  if (!isWritable) {
    names.ReadAsNeeded(file, start, length);
  } else if (length > 0) {
    const FileStatus readStatus = names.Read(file, start, length);
    if (readStatus != kStatusOk) status = readStatus;
  }
  if (status == kStatusEndOfFile) file.SetPosition(kNoPosition);
}

FileStatus ArchiveState::Reset() {
  const FileStatus status = file.Close();
  isOpen = isWritable = isLoaded = namesAreNew = false;
  names.Clear();
  ClearIndex();
  return status;
}
