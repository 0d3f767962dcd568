#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <string>

#include "Foundation/Narrow.h"
#include "Foundation/OxString.h"
#include "Foundation/StringWalk.h"
#include "Foundation/UnicodeConversion.h"

namespace {

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

}  // namespace

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
