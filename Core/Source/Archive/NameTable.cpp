#include "Archive/NameTable.h"

#include <algorithm>
#include <span>
#include <utility>

#include "Archive/ArchiveErrors.h"

namespace {

// Names up to this length are not copied.
constexpr std::size_t kUsualName = 256;

// Room for the first names.
constexpr std::size_t kFirstNames = 1024;

}  // namespace

NameTable::NameTable(std::string_view names) : length_(names.size()) {
  names_.Grow(names.size() + 1, 0);
  std::ranges::copy(names, names_.data());
}

FileStatus NameTable::Read(ArchiveFile& file, std::uint64_t start, std::uint32_t length) {
  Posix::GrowingMemory names;
  names.Grow(length + std::size_t{1}, 0);
  std::size_t got = 0;
  const std::span<char> place(names.data(), length);
  const FileStatus status = file.ReadAt(start, std::as_writable_bytes(place), got);
  Clear();
  names_ = std::move(names);
  length_ = got;
  return status;
}

void NameTable::ReadAsNeeded(ArchiveFile& file, std::uint64_t start, std::uint32_t length) {
  Clear();
  length_ = length;
  file_ = &file;
  start_ = start;
}

void NameTable::Clear() {
  *this = NameTable();
}

std::optional<std::string_view> NameTable::At(std::uint32_t offset) {
  if (offset >= FlatFile::kNameTableName || offset > length_) return std::nullopt;
  if (file_ != nullptr) return ReadName(offset);
  const std::string_view rest = view().substr(offset);
  return rest.substr(0, rest.find('\0'));
}

// Up to `count` bytes of the names, fewer only at the table's end.
std::string_view NameTable::View(std::uint32_t offset, std::size_t count) {
  count = std::min(count, length_ - offset);
  const std::uint64_t position = start_ + offset;
  std::span<const std::byte> bytes;
  const FileStatus status = file_->ViewAt(position, count, bytes, window_);
  if (status != kStatusOk && status != kStatusEndOfFile) throw FlatFile::FileError(status);
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::string_view NameTable::ReadName(std::uint32_t offset) {
  std::size_t count = file_->IsMapped() ? length_ + std::size_t{1} : kUsualName;
  std::string_view piece = View(offset, count);
  std::size_t end = piece.find('\0');
  if (end != std::string_view::npos || piece.size() < count) return piece.substr(0, end);
  longName_.clear();
  while (end == std::string_view::npos && !piece.empty()) {
    longName_.append(piece);
    offset += static_cast<std::uint32_t>(piece.size());
    count = std::min(2 * count, ReadWindow::kLargest);
    piece = View(offset, count);
    end = piece.find('\0');
  }
  return longName_.append(piece.substr(0, end));
}

void NameTable::Reserve(std::size_t size) {
  const std::size_t needed = length_ + size + 1;
  if (needed > names_.capacity()) names_.Grow(std::max({needed, 2 * names_.capacity(), kFirstNames}), 0);
}

void NameTable::Add(std::string_view name) {
  Reserve(name.size());
  std::ranges::copy(name, names_.data() + length_);
  length_ += name.size();
  names_.data()[length_++] = 0;
}
