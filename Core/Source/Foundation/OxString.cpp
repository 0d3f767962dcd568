#include "Foundation/OxString.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "Foundation/Narrow.h"
#include "Foundation/SecureZeroMemory.h"
#include "Foundation/StringComparison.h"
#include "Foundation/StringWalk.h"
#include "Foundation/UnicodeConversion.h"
#include "Posix/RegularExpression.h"

namespace {

// At least half as much again, so that appending n characters one by one costs O(n).
std::uint32_t GrownCapacity(std::uint32_t capacity, std::uint32_t wanted) {
  const std::uint64_t grown = std::uint64_t{capacity} + capacity / 2;
  return static_cast<std::uint32_t>(
      std::min<std::uint64_t>(std::max<std::uint64_t>(wanted, grown), 0xFFFFFFFF));
}

constexpr unsigned long kFirstNonAscii = 0x80;
constexpr std::string_view kHexDigits = "0123456789ABCDEF";

bool IsWhitespaceByte(char byte) {
  return IsWhitespace(static_cast<signed char>(byte));
}

// All ones for a character that is not a digit.
std::uint32_t HexDigitValue(char digit) {
  const auto c = static_cast<unsigned char>(digit);
  if (c >= '0' && c <= '9') return c - std::uint32_t{'0'};
  if (c >= 'A' && c <= 'F') return c - std::uint32_t{'A'} + 10;
  if (c >= 'a' && c <= 'f') return c - std::uint32_t{'a'} + 10;
  return 0xFFFFFFFF;
}

struct EncodedCharacter {
  explicit EncodedCharacter(unsigned long codePoint)
      : length(UnicodeCharToUTF8(codePoint, bytes.data())) {}
  std::string_view view() const { return {reinterpret_cast<const char*>(bytes.data()), length}; }

  std::array<unsigned char, 4> bytes{};
  std::size_t length;
};

// The part of a text that is converted to UTF-16: none when the text is shorter than its length says.
std::optional<std::string_view> Characters(std::string_view text, std::size_t count) {
  if (count == StringWalk::CountCharacters(text)) return text;
  std::size_t bytes = 0;
  for (; count > 0 && bytes < text.size(); --count) bytes += StringWalk::SequenceLength(&text[bytes]);
  if (count > 0) return std::nullopt;
  return text.substr(0, bytes);
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

// ---- Editing

OxString& OxString::operator+=(const OxString& text) {
  return text.empty() ? *this : AppendCounted(text.view(), text.length_);
}

OxString& OxString::AppendCodePoint(unsigned long codePoint) {
  if (codePoint >= kFirstNonAscii || size_ == Capacity()) {
    return AppendCounted(EncodedCharacter(codePoint).view(), 1);
  }
  DropCache();
  Data()[size_] = static_cast<char>(codePoint);
  SetSize(size_ + 1);
  ++length_;
  return *this;
}

OxString& OxString::append_valid(std::string_view utf8) {
  return AppendCounted(utf8, StringWalk::CountCharacters(utf8));
}

OxString& OxString::AppendCounted(std::string_view utf8, std::size_t characters) {
  const std::uint32_t size = NarrowLength(std::uint64_t{size_} + NarrowLength(utf8.size()));
  const char* source = utf8.data();
  if (size > Capacity()) {
    const bool own = Owns(source);
    const std::ptrdiff_t offset = own ? source - Data() : 0;
    Grow(size);
    if (own) source = Data() + offset;
  }
  DropCache();
  if (!utf8.empty()) std::memcpy(Data() + size_, source, utf8.size());
  SetSize(size);
  length_ += static_cast<std::uint32_t>(characters);
  return *this;
}

OxString OxString::Substring(Index position, Index count) const {
  if (position < 0 || position >= length_ || (count < 1 && count != -1)) return {};
  if (position == 0 && count == length_) return *this;
  const Index available = Index{length_} - position;
  if (count == -1 || count > available) count = available;
  const char* from = FindCharPos(position);
  if (from == nullptr) return {};
  return from_valid({from, BytesInRange(from, static_cast<std::uint64_t>(count))});
}

void OxString::RemoveBytes(std::size_t start, std::size_t count) {
  char* data = Data();
  std::memmove(data + start, data + start + count, size_ - start - count);
  SetSize(size_ - static_cast<std::uint32_t>(count));
}

OxString& OxString::Erase(Index position, Index count) {
  DropCache();
  if (position < 0 || position >= length_ || count < -1) return *this;
  if (count == -1) count = Index{length_} - position;
  if (position == 0 && count == length_) return clear();
  const char* from = FindCharPos(position);
  if (from == nullptr) return *this;
  RemoveBytes(static_cast<std::size_t>(from - Data()),
              BytesInRange(from, static_cast<std::uint64_t>(count)));
  length_ -= static_cast<std::uint32_t>(static_cast<std::uint64_t>(count) & 0xFFFFFFFF);
  return *this;
}

OxString& OxString::ReplaceCodePoint(unsigned long from, unsigned long to) {
  if (FindCodePoint(from, 0) == -1) return *this;
  const EncodedCharacter replacement(to);
  const char* end = TextEnd();
  OxString result;
  result.reserve(size_);
  const char* copied = Data();
  for (const char* p = Data(); p < end;) {
    const char* next = p + StringWalk::SequenceLength(p);
    if (StringWalk::Decode(p) == from) {
      result.append_valid({copied, static_cast<std::size_t>(p - copied)});
      result.append_valid(replacement.view());
      copied = next;
    }
    p = next;
  }
  result.append_valid({copied, static_cast<std::size_t>(Data() + size_ - copied)});
  result.length_ = length_;
  return *this = std::move(result);
}

// What follows a replacement is still the original text, so the search goes on after it. A zero or a wrong length
// can make that position unreachable.
OxString& OxString::replace(const OxString& what, const OxString& with) {
  if (FindText(what, 0) == -1) {
    DropCache();
    return *this;
  }
  const bool withZero = with.TextEnd() != with.Data() + with.size_;
  std::uint32_t length = length_;
  OxString result;
  const char* p = Data();
  while (const char* found = FindBytes(p, what.view())) {
    result.append_valid({p, static_cast<std::size_t>(found - p)});
    result += with;
    length += with.length_ - what.length_;
    p = found + what.size_;
    if (withZero || result.length_ >= length) break;
  }
  result.append_valid({p, static_cast<std::size_t>(Data() + size_ - p)});
  result.length_ = length;
  return *this = std::move(result);
}

OxString& OxString::to_upper() {
  DropCache();
  std::for_each(Data(), Data() + size_, [](char& c) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  });
  return *this;
}

OxString& OxString::to_lower() {
  DropCache();
  std::for_each(Data(), Data() + size_, [](char& c) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  });
  return *this;
}

OxString& OxString::trim_left() {
  DropCache();
  const std::string_view text = view();
  const auto first = std::find_if_not(text.begin(), text.end(), IsWhitespaceByte);
  const auto removed = static_cast<std::size_t>(first - text.begin());
  if (removed == size_) return clear();
  RemoveBytes(0, removed);
  length_ -= static_cast<std::uint32_t>(removed);
  return *this;
}

OxString& OxString::trim_right() {
  DropCache();
  std::uint32_t kept = size_;
  while (kept > 0 && IsWhitespaceByte(Data()[kept - 1])) --kept;
  if (kept == 0) return clear();
  length_ -= size_ - kept;
  SetSize(kept);
  return *this;
}

OxString& OxString::trim() {
  return trim_left().trim_right();
}

OxString& OxString::encode_url() {
  std::string encoded;
  encoded.reserve(size_);
  const char* end = TextEnd();
  for (const char* p = Data(); p < end; ++p) {
    const auto byte = static_cast<unsigned char>(*p);
    if (byte < 0x80 && std::isalnum(byte) != 0) {
      encoded += *p;
    } else {
      encoded += {'%', kHexDigits[byte >> 4], kHexDigits[byte & 15U]};
    }
  }
  return set(encoded.data(), encoded.size());
}

OxString& OxString::decode_url() {
  const char* end = TextEnd();
  std::string decoded;
  decoded.reserve(size_);
  for (const char* p = Data(); p < end; ++p) {
    if (*p != '%') {
      decoded += *p;
      continue;
    }
    if (end - p < 3) throw InvalidEncoding();
    decoded += static_cast<char>((HexDigitValue(p[1]) * 16 + HexDigitValue(p[2])) & 0xFF);
    p += 2;
  }
  return set(decoded.data(), decoded.size());
}

// ---- Comparing and searching

int OxString::compare(const OxString& other, ECaseSense caseSense) const {
  if (this == &other || (empty() && other.empty())) return 0;
  const bool fold = caseSense == kCaseInsensitive;
  if (is_ascii() && other.is_ascii()) return StringComparison::Ascii(view(), other.view(), fold);
  const auto mine = Characters(view(), length_);
  const auto others = Characters(other.view(), other.length_);
  return mine && others ? StringComparison::Utf16(*mine, *others, fold) : 1;
}

int OxString::compare(const char* utf8, ECaseSense caseSense) const {
  const std::string_view text(utf8 == nullptr ? "" : utf8);
  if (is_ascii() && StringWalk::IsAscii(text)) {
    return StringComparison::Ascii(view(), text, caseSense == kCaseInsensitive);
  }
  return compare(OxString(text), caseSense);
}

// The first occurrence at or after `from`, and before the next zero byte, or null. No character contains a byte
// that could begin another, so a search by bytes finds what a search by characters would.
const char* OxString::FindBytes(const char* from, std::string_view bytes) const {
  const auto left = static_cast<std::size_t>(Data() + size_ - from);
  const auto* found = static_cast<const char*>(memmem(from, left, bytes.data(), bytes.size()));
  if (found == nullptr) return nullptr;
  return std::memchr(from, 0, static_cast<std::size_t>(found - from) + 1) == nullptr ? found : nullptr;
}

OxString::Index OxString::FindText(const OxString& text, Index start) const {
  if (start < 0 || start >= length_ || text.empty()) return -1;
  const char* from = FindCharPos(start);
  const char* found = from == nullptr ? nullptr : FindBytes(from, text.view());
  if (found == nullptr) return -1;
  const std::string_view passed(from, static_cast<std::size_t>(found - from));
  return start + static_cast<Index>(StringWalk::CountCharacters(passed));
}

OxString::Index OxString::FindLastText(const OxString& text, Index start) const {
  if (start == -1) start = Index{length_} - 1;
  if (start < 0 || start >= length_ || text.empty()) return -1;
  const char* from = FindCharPos(start);
  if (from == nullptr) return -1;
  const std::string_view passed(Data(), static_cast<std::size_t>(from - Data()));
  const std::size_t found = view().rfind(text.view(), passed.size());
  if (found == std::string_view::npos) return -1;
  return start - static_cast<Index>(StringWalk::CountCharacters(passed.substr(found)));
}

OxString::Index OxString::FindCodePoint(unsigned long codePoint, Index start) const {
  if (start < 0 || start >= length_) return -1;
  const char* p = FindCharPos(start);
  if (p != nullptr && is_ascii()) {
    const char byte = static_cast<char>(codePoint);
    p = codePoint < kFirstNonAscii ? FindBytes(p, {&byte, 1}) : nullptr;
    return p == nullptr ? -1 : p - Data();
  }
  while (p != nullptr && StringWalk::Decode(p) != codePoint) p = NextCharPos(p);
  return p == nullptr ? -1 : p - Data();
}

OxString::Index OxString::FindLastCodePoint(unsigned long codePoint, Index start) const {
  if (start == -1) start = Index{length_} - 1;
  if (start < 0 || start >= length_) return -1;
  for (const char* p = FindCharPos(start); p != nullptr; p = PrevCharPos(p), --start) {
    if (StringWalk::Decode(p) == codePoint) return start;
  }
  return -1;
}

bool OxString::starts_with(const OxString& text) const {
  return !empty() && !text.empty() && *Data() != 0 && view().starts_with(text.view());
}

bool OxString::starts_with_nocase(const OxString& text) const {
  return substr(0, text.length_).compare(text, kCaseInsensitive) == 0;
}

bool OxString::ends_with(const OxString& text) const {
  return text.length_ <= length_ && substr(length_ - text.length_, -1).rfind(text) == 0;
}

bool OxString::ends_with_nocase(const OxString& text) const {
  return text.length_ <= length_ &&
         substr(length_ - text.length_, text.length_).compare(text, kCaseInsensitive) == 0;
}

bool OxString::contains(const char* text) const {
  return FindText(OxString(text), 0) != -1;
}

std::vector<OxString> OxString::findRE(const OxString& pattern, ECaseSense caseSense) const {
  const std::vector<Posix::Match> matches =
      Posix::SearchExpression(std::string(pattern.view()), c_str(), caseSense == kCaseInsensitive);
  std::vector<OxString> pieces;
  pieces.reserve(matches.size());
  for (const Posix::Match& match : matches) {
    const auto start = static_cast<Index>(match.start);
    const Index end = std::min(static_cast<Index>(match.end), Index{length_});
    pieces.push_back(start < end ? substr(start, end - start) : OxString());
  }
  return pieces;
}

std::vector<OxString> OxString::Explode(unsigned long delimiter) const {
  std::vector<OxString> pieces;
  if (empty()) return pieces;
  const char* pieceStart = Data();
  const char* p = Data();
  const char* end = TextEnd();
  const auto push = [&](const char* pieceEnd) {
    pieces.push_back(from_valid({pieceStart, static_cast<std::size_t>(pieceEnd - pieceStart)}));
  };
  while (p < end) {
    const char* next = p + StringWalk::SequenceLength(p);
    if (StringWalk::Decode(p) == delimiter) {
      push(p);
      pieceStart = next;
    }
    p = next;
  }
  push(p);
  return pieces;
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
