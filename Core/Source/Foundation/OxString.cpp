#include "Foundation/OxString.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <utility>

#include "Foundation/Narrow.h"
#include "Foundation/SecureZeroMemory.h"
#include "Foundation/StringWalk.h"
#include "Foundation/UnicodeConversion.h"

namespace {

// At least half as much again, so that appending n characters one by one costs O(n).
std::uint32_t GrownCapacity(std::uint32_t capacity, std::uint32_t wanted) {
  const std::uint64_t grown = std::uint64_t{capacity} + capacity / 2;
  return static_cast<std::uint32_t>(
      std::min<std::uint64_t>(std::max<std::uint64_t>(wanted, grown), 0xFFFFFFFF));
}

}  // namespace

// ---- Storage

// For `capacity` bytes and their terminator.
std::unique_ptr<char[]> OxString::NewStorage(std::uint32_t capacity) {
  const auto bytes = TryNarrow<std::size_t>(std::uint64_t{capacity} + 1);
  if (!bytes) throw std::bad_alloc();
  return std::unique_ptr<char[]>(new char[*bytes]);
}

// Replaces the former storage.
void OxString::AdoptHeap(std::unique_ptr<char[]> bytes, std::uint32_t capacity) {
  if (!IsLocal()) delete[] HeapBytes();
  char* const owned = bytes.release();
  std::memcpy(storage_, &owned, sizeof owned);
  std::memcpy(storage_ + sizeof owned, &capacity, sizeof capacity);
  storage_[kTagAt] = 1;
}

// Frees the storage; the caller sets the length fields.
void OxString::ReleaseHeap() {
  if (!IsLocal()) delete[] HeapBytes();
  std::memset(storage_, 0, sizeof storage_);
}

// Reserves `bytes` bytes and the terminator; keeps the text.
void OxString::Grow(std::uint32_t bytes) {
  const std::uint32_t capacity = Capacity();
  if (bytes <= capacity) return;
  const std::uint32_t granted = GrownCapacity(capacity, bytes);
  std::unique_ptr<char[]> fresh = NewStorage(granted);
  std::memcpy(fresh.get(), Data(), std::size_t{size_} + 1);
  AdoptHeap(std::move(fresh), granted);
}

void OxString::StealFrom(OxString& other) noexcept {
  std::memcpy(storage_, other.storage_, sizeof storage_);
  std::memset(other.storage_, 0, sizeof other.storage_);
  size_ = std::exchange(other.size_, 0);
  length_ = std::exchange(other.length_, 0);
  utf16_ = std::move(other.utf16_);
}

bool OxString::Owns(const char* bytes) const {
  return !std::less<>()(bytes, Data()) && !std::less<>()(Data() + Capacity(), bytes);
}

// Copies text that is known to be acceptable and may be a part of this string.
void OxString::AssignValid(const char* bytes, std::size_t count, std::uint32_t codePoints) {
  const std::uint32_t size = NarrowLength(count);
  if (size > Capacity()) {
    const std::uint32_t granted = GrownCapacity(Capacity(), size);
    std::unique_ptr<char[]> fresh = NewStorage(granted);
    std::memcpy(fresh.get(), bytes, count);
    AdoptHeap(std::move(fresh), granted);
  } else if (count > 0) {
    std::memmove(Data(), bytes, count);
  }
  DropCache();
  SetSize(size);
  length_ = codePoints;
}

OxString::OxString(const OxString& other) {
  AssignValid(other.Data(), other.size_, other.length_);
}

OxString::OxString(OxString&& other) noexcept {
  StealFrom(other);
}

OxString::~OxString() {
  if (!IsLocal()) delete[] HeapBytes();
}

OxString OxString::from_valid(std::string_view utf8) {
  OxString text;
  text.AssignValid(utf8.data(), utf8.size(),
                   static_cast<std::uint32_t>(StringWalk::CountCharacters(utf8)));
  return text;
}

OxString& OxString::operator=(const OxString& other) {
  if (this != &other) AssignValid(other.Data(), other.size_, other.length_);
  return *this;
}

OxString& OxString::operator=(OxString&& other) noexcept {
  if (this == &other) return *this;
  if (!IsLocal()) delete[] HeapBytes();
  StealFrom(other);
  return *this;
}

OxString& OxString::clear() {
  DropCache();
  ReleaseHeap();
  size_ = 0;
  length_ = 0;
  return *this;
}

void OxString::secure_clear() {
  if (!IsLocal()) SecureZeroMemory(HeapBytes(), std::size_t{Capacity()} + 1);
  if (utf16_ != nullptr) utf16_->SecureClear();
  clear();
  SecureZeroMemory(storage_, sizeof storage_);
}

void OxString::reserve(std::size_t bytes) {
  Grow(NarrowLength(bytes));
}

// ---- Setting

OxString& OxString::set(const char* utf8) {
  return set(utf8, utf8 == nullptr ? 0 : std::strlen(utf8));
}

OxString& OxString::set(const char* utf8, std::size_t bytes) {
  if (utf8 == nullptr || bytes == 0) return clear();
  NarrowLength(bytes);
  std::size_t codePoints = 0;
  if (!StringWalk::Validate({utf8, bytes}, codePoints)) {
    clear();
    throw InvalidEncoding();
  }
  AssignValid(utf8, bytes, NarrowLength(codePoints));
  return *this;
}

OxString& OxString::set(const unsigned short* utf16) {
  std::size_t units = 0;
  while (utf16 != nullptr && utf16[units] != 0) ++units;
  return set(utf16, units);
}

OxString& OxString::set(const unsigned short* utf16, std::size_t units) {
  constexpr std::uint64_t kBytesPerUnit = 4;
  if (utf16 == nullptr || units == 0) return clear();
  OxString converted;
  converted.Grow(NarrowLength(std::uint64_t{NarrowLength(units)} * kBytesPerUnit));
  std::size_t codePoints = 0;
  try {
    const std::size_t bytes =
        ConvertUTF16ToUTF8(utf16, reinterpret_cast<unsigned char*>(converted.Data()), units, codePoints);
    converted.SetSize(NarrowLength(bytes));
  } catch (...) {
    clear();
    throw;
  }
  converted.length_ = NarrowLength(codePoints);
  // A copy that fits: four bytes per unit are far more than most text needs.
  return *this = std::as_const(converted);
}

OxString& OxString::SetCodePoint(unsigned long codePoint) {
  clear();
  return AppendCodePoint(codePoint);
}

OxString& OxString::format(const char* fmt, ...) {
  va_list arguments;
  va_start(arguments, fmt);
  format_v(fmt, arguments);
  va_end(arguments);
  return *this;
}

OxString& OxString::format_v(const char* fmt, va_list arguments) {
  if (fmt == nullptr || *fmt == 0) return clear();
  char* printed = nullptr;
  if (vasprintf(&printed, fmt, arguments) < 0) {
    if (errno == ENOMEM) throw std::bad_alloc();
    return *this;
  }
  const std::unique_ptr<char, decltype(&std::free)> owner(printed, &std::free);
  return set(printed);
}

// ---- Walking

// Where walks over the characters stop: the first zero byte.
const char* OxString::TextEnd() const {
  return Data() + strnlen(Data(), size_);
}

// The first byte of character `index`, or null when the text ends before it.
const char* OxString::FindCharPos(Index index) const {
  if (index < 0) return nullptr;
  const auto target = static_cast<std::uint64_t>(index);
  if (is_ascii()) {
    if (target >= size_) return nullptr;
    const auto offset = static_cast<std::size_t>(target);
    return std::memchr(Data(), 0, offset + 1) == nullptr ? Data() + offset : nullptr;
  }
  const char* p = Data();
  for (std::uint64_t i = 0; i < target && *p != 0; ++i) p += StringWalk::SequenceLength(p);
  return *p == 0 ? nullptr : p;
}

// The character before the one at `p`, or null at the front.
const char* OxString::PrevCharPos(const char* p) const {
  if (p == Data()) return nullptr;
  do {
    --p;
  } while (p > Data() && StringWalk::IsContinuation(*p));
  return p;
}

// The bytes of up to `count` characters from `p`, fewer where the text ends.
std::size_t OxString::BytesInRange(const char* p, std::uint64_t count) const {
  const auto left = static_cast<std::uint64_t>(Data() + size_ - p);
  if (is_ascii()) return strnlen(p, static_cast<std::size_t>(std::min(count, left)));
  const char* at = p;
  for (std::uint64_t i = 0; i < count && *at != 0; ++i) at += StringWalk::SequenceLength(at);
  return static_cast<std::size_t>(at - p);
}

// ---- Access

void OxString::EncodeUtf16(OxBuffer& out) const {
  // The length may be wrong after an erase past the end: count again.
  if (length_ > StringWalk::CountCharacters(view())) throw ::InvalidEncoding();
  const auto* bytes = reinterpret_cast<const unsigned char*>(Data());
  out.SetLength(NarrowLength(2 * std::uint64_t{ConvertUTF8ToUTF16(bytes, nullptr, length_)}));
  if (out.length() > 0) {
    ConvertUTF8ToUTF16(bytes, reinterpret_cast<unsigned short*>(out.data()), length_);
  }
}

const unsigned short* OxString::u_str() const {
  static constexpr unsigned short kNoUnits[] = {0};
  if (utf16_ != nullptr) return reinterpret_cast<const unsigned short*>(utf16_->data());
  auto units = std::make_unique<OxBuffer>();
  try {
    EncodeUtf16(*units);
  } catch (const ::InvalidEncoding&) {
    return kNoUnits;
  }
  if (units->empty()) return kNoUnits;
  units->Append('\0');
  units->Append('\0');
  const char* const bytes = units->data();
  utf16_ = std::move(units);
  return reinterpret_cast<const unsigned short*>(bytes);
}

const char* OxString::get_utf8(OxBuffer& out) const {
  try {
    if (size_ == 0) {
      out.Clear();
    } else {
      out.Assign(Data(), std::size_t{size_} + 1);
    }
    return out.data();
  } catch (...) {
    out.Clear();
    return nullptr;
  }
}

const char* OxString::get_utf16(OxBuffer& out) const {
  try {
    EncodeUtf16(out);
    return out.data();
  } catch (...) {
    out.Clear();
    return nullptr;
  }
}

int OxString::operator[](std::size_t index) const {
  if (index >= length_ || index >= size_) throw OutOfRange();
  if (index > 0) return static_cast<signed char>(Data()[index]);
  return static_cast<int>(StringWalk::Decode(Data()));
}

int OxString::to_int() const {
  bool begun = false;
  bool negative = false;
  std::uint32_t value = 0;
  const char* end = TextEnd();
  for (const char* p = Data(); p < end; ++p) {
    const bool digit = *p >= '0' && *p <= '9';
    if (begun && !digit) break;
    if (digit) {
      begun = true;
      value = value * 10 + static_cast<std::uint32_t>(*p - '0');
    } else if (*p == '-' || *p == '+') {
      begun = true;
      negative = *p == '-';
    }
  }
  return static_cast<std::int32_t>(negative ? 0U - value : value);
}

double OxString::to_double() const {
  return std::atof(c_str());
}

// ---- Iteration

OxString::const_iterator OxString::begin() const {
  return {this, size_ == 0 ? nullptr : Data(), 0};
}

OxString::const_iterator OxString::end() const {
  return {this, nullptr, length_};
}

OxString::const_iterator OxString::const_iterator::operator++(int) {
  const const_iterator before = *this;
  ++*this;
  return before;
}

OxString::const_iterator& OxString::const_iterator::operator+=(std::size_t count) {
  index_ += count;
  if (text_ == nullptr || index_ >= text_->length_) {
    position_ = nullptr;
    return *this;
  }
  for (; count > 0 && position_ != nullptr; --count) position_ = NextCharPos(position_);
  return *this;
}

OxString::const_iterator OxString::const_iterator::operator+(std::size_t count) const {
  const_iterator moved = *this;
  moved += count;
  return moved;
}
