#include "Foundation/OxBuffer.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <optional>
#include <span>
#include <utility>

#include "Foundation/Narrow.h"
#include "Foundation/SecureZeroMemory.h"
#include "Posix/FileOps.h"

namespace {

constexpr std::uint64_t kSpareBytes = 10;
constexpr std::uint64_t kMaxLength = 0xFFFFFFFF;
constexpr std::string_view kHexDigits = "0123456789ABCDEF";
constexpr std::string_view kBase64Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::string_view kEmptyBase64 = "====";
constexpr std::uint8_t kNoValue = 0xFF;

constexpr std::array<std::uint8_t, 256> kBase64Values = []() {
  std::array<std::uint8_t, 256> values{};
  values.fill(kNoValue);
  for (std::size_t i = 0; i < kBase64Alphabet.size(); ++i) {
    values[static_cast<unsigned char>(kBase64Alphabet[i])] = static_cast<std::uint8_t>(i);
  }
  return values;
}();

std::size_t LengthOf(const char* text) {
  return text == nullptr ? 0 : std::strlen(text);
}

std::uint8_t HexValue(char digit) {
  if (digit >= '0' && digit <= '9') return static_cast<std::uint8_t>(digit - '0');
  if (digit >= 'A' && digit <= 'F') return static_cast<std::uint8_t>(digit - 'A' + 10);
  if (digit >= 'a' && digit <= 'f') return static_cast<std::uint8_t>(digit - 'a' + 10);
  return kNoValue;
}

std::uint32_t CappedCapacity(std::uint64_t capacity) {
  return static_cast<std::uint32_t>(std::min(capacity, kMaxLength));
}

// The length after `removed` of `length` bytes were replaced by `added` ones.
std::uint32_t LengthAfter(std::uint32_t length, std::uint32_t removed, std::size_t added) {
  return NarrowLength(std::uint64_t{length} - removed + NarrowLength(added));
}

void Copy(char* to, const char* from, std::size_t count) {
  if (count > 0) std::memcpy(to, from, count);
}

// Encodes up to three bytes as four characters, with padding for missing bytes.
void EncodeGroup(const unsigned char* in, std::size_t count, char* out) {
  const unsigned first = in[0];
  const unsigned second = count > 1 ? in[1] : 0U;
  const unsigned third = count > 2 ? in[2] : 0U;
  out[0] = kBase64Alphabet[first >> 2];
  out[1] = kBase64Alphabet[((first & 3U) << 4) | (second >> 4)];
  out[2] = count > 1 ? kBase64Alphabet[((second & 15U) << 2) | (third >> 6)] : '=';
  out[3] = count > 2 ? kBase64Alphabet[third & 63U] : '=';
}

// `out` may be the text itself: writing never overtakes reading. Stops at the first
// character outside the alphabet, padding included.
void DecodeBase64(const char* text, std::size_t length, char* out, std::size_t outputLength) {
  unsigned bits = 0;
  std::size_t written = 0;
  for (std::size_t i = 0; i < length && written < outputLength; ++i) {
    const std::uint8_t value = kBase64Values[static_cast<unsigned char>(text[i])];
    if (value == kNoValue) return;
    const std::size_t place = i % 4;
    if (place > 0) {
      const std::size_t shift = 6 - 2 * place;
      out[written++] = static_cast<char>(((bits << (6 - shift)) | (value >> shift)) & 0xFFU);
    }
    bits = value;
  }
}

class OpenFile {
 public:
  explicit OpenFile(const char* path) : fd_(Posix::Files().Open(path, Posix::kOpenToRead)) {}
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  ~OpenFile() {
    if (fd_ >= 0) Posix::Files().Close(fd_);
  }

  // The size of a regular file that fits a buffer; false for anything else.
  bool GetSize(std::uint32_t& size) const {
    Posix::FileInfo info;
    if (fd_ < 0) return false;
    if (Posix::Files().OpenStatus(fd_, info) < 0) return false;
    if (info.kind != Posix::FileKind::kRegular || info.size > kMaxLength) return false;
    size = static_cast<std::uint32_t>(info.size);
    return true;
  }

  // Reads until `count` bytes or the end of the file; negative on failure.
  std::int64_t Read(char* out, std::uint32_t count) const {
    std::uint32_t done = 0;
    while (done < count) {
      const auto rest = std::as_writable_bytes(std::span(out + done, count - done));
      const std::int64_t got = Posix::Files().ReadAt(fd_, rest, done);
      if (got < 0) return got;
      if (got == 0) break;
      done += static_cast<std::uint32_t>(got);
    }
    return done;
  }

 private:
  int fd_;
};

}  // namespace

OxBuffer::OxBuffer(const char* bytes, std::size_t count) {
  const std::uint32_t exact = NarrowLength(count);
  Allocate(exact);
  length_ = exact;
  Copy(data_, bytes, count);
}

OxBuffer::OxBuffer(const char* text) : OxBuffer(text, std::strlen(text)) {}

OxBuffer::OxBuffer(const OxBuffer& other) {
  SetLength(other.length_);
  Copy(data_, other.data_, length_);
}

OxBuffer::OxBuffer(OxBuffer&& other) noexcept
    : length_(std::exchange(other.length_, 0)),
      capacity_(std::exchange(other.capacity_, 0)),
      data_(std::exchange(other.data_, nullptr)) {}

OxBuffer& OxBuffer::operator=(const OxBuffer& other) {
  if (this == &other) return *this;
  SetLength(other.length_);
  Copy(data_, other.data_, length_);
  return *this;
}

OxBuffer& OxBuffer::operator=(OxBuffer&& other) noexcept {
  if (this == &other) return *this;
  Release();
  length_ = std::exchange(other.length_, 0);
  capacity_ = std::exchange(other.capacity_, 0);
  data_ = std::exchange(other.data_, nullptr);
  return *this;
}

OxBuffer::~OxBuffer() {
  delete[] data_;
}

// Replaces the storage by a new one that keeps the bytes in use, as far as they fit. At least one
// byte is allocated, so that a buffer without capacity still has a byte to refer to.
void OxBuffer::Allocate(std::uint64_t capacity) {
  const std::uint32_t capped = CappedCapacity(capacity);
  char* fresh = new char[std::max<std::uint32_t>(capped, 1)];
  if (data_ != nullptr) std::memcpy(fresh, data_, std::min(length_, capped));
  delete[] data_;
  data_ = fresh;
  capacity_ = capped;
}

void OxBuffer::Release() {
  delete[] data_;
  data_ = nullptr;
  length_ = 0;
  capacity_ = 0;
}

bool OxBuffer::Owns(const char* bytes) const {
  if (data_ == nullptr) return false;
  const char* end = data_ + std::max<std::uint32_t>(capacity_, 1);
  return !std::less<>()(bytes, data_) && std::less<>()(bytes, end);
}

// Whether SetLength() would reallocate to a smaller capacity, or free the storage.
bool OxBuffer::ShrinksStorage(std::uint64_t length) const {
  return length == 0 || (length <= capacity_ && length < length_ / 2);
}

void OxBuffer::Assign(const char* bytes, std::size_t count) {
  if (bytes == nullptr) count = 0;
  if (Owns(bytes)) {
    const OxBuffer copy(bytes, count);
    *this = copy;
    return;
  }
  SetLength(count);
  Copy(data_, bytes, count);
}

void OxBuffer::Assign(const char* text) {
  Assign(text, LengthOf(text));
}

void OxBuffer::Append(const char* bytes, std::size_t count) {
  if (bytes == nullptr || count == 0) return;
  const bool own = Owns(bytes);
  const std::size_t offset = own ? static_cast<std::size_t>(bytes - data_) : 0;
  const std::uint32_t end = length_;
  SetLength(LengthAfter(length_, 0, count));
  std::memcpy(data_ + end, own ? data_ + offset : bytes, count);
}

void OxBuffer::Append(const char* text) {
  Append(text, LengthOf(text));
}

void OxBuffer::Append(char byte) {
  SetLength(LengthAfter(length_, 0, 1));
  data_[length_ - 1] = byte;
}

void OxBuffer::Append(const OxBuffer& other) {
  Append(other.data_, other.length_);
}

OxBuffer& OxBuffer::operator+=(const char* text) {
  Append(text);
  return *this;
}

OxBuffer& OxBuffer::operator+=(const OxBuffer& other) {
  Append(other);
  return *this;
}

const char& OxBuffer::operator[](std::size_t index) const {
  const std::uint32_t last = length_ - 1U;
  if (data_ == nullptr || index > last) throw OutOfRange();
  return data_[length_ == 0 ? 0 : index];
}

char& OxBuffer::operator[](std::size_t index) {
  return const_cast<char&>(std::as_const(*this)[index]);
}

void OxBuffer::SetLength(std::size_t length) {
  const std::uint32_t narrow = NarrowLength(length);
  if (narrow == 0) {
    Release();
    return;
  }
  if (data_ == nullptr || ShrinksStorage(narrow)) {
    Allocate(narrow + kSpareBytes);
  } else if (narrow > capacity_) {
    Allocate(std::uint64_t{narrow} + narrow / 2);
  }
  length_ = narrow;
}

void OxBuffer::Remove(std::size_t start, std::size_t count) {
  if (start >= length_) return;
  const std::size_t removed = std::min<std::size_t>(count, length_ - start);
  if (removed == length_) {
    Release();
    return;
  }
  std::memmove(data_ + start, data_ + start + removed, length_ - start - removed);
  length_ -= static_cast<std::uint32_t>(removed);
}

void OxBuffer::Replace(const Range& range, const char* bytes, std::size_t count) {
  const std::uint64_t rangeEnd = std::uint64_t{range.start} + range.length;
  if (rangeEnd > length_) throw OutOfRange();
  const std::uint32_t newLength = LengthAfter(length_, range.length, count);
  const std::size_t tail = length_ - static_cast<std::uint32_t>(rangeEnd);
  const std::size_t room = bytes == nullptr ? 0 : count;
  if (count < range.length && ShrinksStorage(newLength)) {
    OxBuffer replaced;
    replaced.SetLength(newLength);
    Copy(replaced.data_, data_, range.start);
    Copy(replaced.data_ + range.start, bytes, room);
    Copy(replaced.data_ + range.start + count, data_ + rangeEnd, tail);
    *this = std::move(replaced);
    return;
  }
  std::optional<OxBuffer> copy;
  if (Owns(bytes)) bytes = copy.emplace(bytes, count).data_;
  if (count > range.length) SetLength(newLength);
  if (tail > 0) std::memmove(data_ + range.start + count, data_ + rangeEnd, tail);
  length_ = newLength;
  Copy(data_ + range.start, bytes, room);
}

bool OxBuffer::operator==(const OxBuffer& other) const {
  return view() == other.view();
}

bool OxBuffer::ByteSwap16() {
  if (length_ == 0 || length_ % 2 != 0) return false;
  for (std::uint32_t i = 0; i < length_; i += 2) std::swap(data_[i], data_[i + 1]);
  return true;
}

OxBuffer OxBuffer::MakeReversed() const {
  OxBuffer reversed(*this);
  std::reverse(reversed.data_, reversed.data_ + reversed.length_);
  return reversed;
}

OxBuffer OxBuffer::ConvertToHex() const {
  OxBuffer hex(std::uint64_t{length_} * 2);
  char* out = hex.data_;
  for (const char byte : view()) {
    *out++ = kHexDigits[static_cast<unsigned char>(byte) >> 4];
    *out++ = kHexDigits[static_cast<unsigned char>(byte) & 15U];
  }
  return hex;
}

OxBuffer OxBuffer::ConvertFromHex() const {
  if (length_ % 2 != 0) return {};
  OxBuffer bytes(length_ / 2);
  for (std::size_t i = 0; i < bytes.length_; ++i) {
    const std::uint8_t high = HexValue(data_[2 * i]);
    const std::uint8_t low = HexValue(data_[2 * i + 1]);
    const bool valid = high != kNoValue && low != kNoValue;
    bytes.data_[i] = valid ? static_cast<char>(high * 16 + low) : '?';
  }
  return bytes;
}

void OxBuffer::ToBase64() {
  if (length_ == 0) {
    Assign(kEmptyBase64.data(), kEmptyBase64.size());
    return;
  }
  OxBuffer text((std::uint64_t{length_} + 2) / 3 * 4);
  const auto* in = reinterpret_cast<const unsigned char*>(data_);
  char* out = text.data_;
  for (std::uint32_t left = length_; left > 0; out += 4) {
    const std::uint32_t group = std::min(left, 3U);
    EncodeGroup(in, group, out);
    in += group;
    left -= group;
  }
  *this = std::move(text);
}

bool OxBuffer::FromBase64() {
  if (length_ == 0) return true;
  if (view() == kEmptyBase64) {
    Release();
    return true;
  }
  if (length_ % 4 != 0) return false;
  std::uint32_t outputLength = length_ / 4 * 3;
  if (data_[length_ - 1] == '=') --outputLength;
  if (data_[length_ - 2] == '=') --outputLength;
  if (ShrinksStorage(outputLength)) {
    OxBuffer decoded(outputLength);
    Copy(decoded.data_, data_, outputLength);
    DecodeBase64(data_, length_, decoded.data_, outputLength);
    *this = std::move(decoded);
    return true;
  }
  DecodeBase64(data_, length_, data_, outputLength);
  SetLength(outputLength);
  return true;
}

void OxBuffer::SecureClear() {
  SecureZeroMemory(data_, capacity_);
  Release();
}

// A read that fails half-way makes the whole load fail: a part of a file must not pass for the whole.
bool OxBuffer::LoadFromFile(const char* path) {
  const OpenFile file(path);
  Release();
  std::uint32_t size = 0;
  if (!file.GetSize(size)) return false;
  if (size == 0) return true;
  Allocate(size);
  const std::int64_t got = file.Read(data_, size);
  if (got <= 0) {
    SecureClear();
    return got == 0;
  }
  length_ = static_cast<std::uint32_t>(got);
  return true;
}
