#include "Files/OxBinaryData.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#include "Utilities/TextDecoding.h"

namespace {

constexpr unsigned kBitsPerByte = 8;
constexpr unsigned kLargestInteger = 8;

}  // namespace

OxBinaryData::OxBinaryData(const OxBuffer& bytes) : OxBuffer(bytes) {}

OxBinaryData::OxBinaryData(const char* bytes, int length) {
  if (length > 0) Assign(bytes, static_cast<unsigned long>(length));
}

OxBinaryData::OxBinaryData(const char* text) : OxBuffer(text) {}

OxBinaryData::OxBinaryData(const OxBinaryData& other) : OxBuffer(other) {}

OxBinaryData& OxBinaryData::operator=(const OxBinaryData& other) {
  OxBuffer::operator=(other);
  Reset();
  return *this;
}

void OxBinaryData::Assign(const char* bytes, unsigned long count) {
  OxBuffer::Assign(bytes, count);
  Reset();
}

void OxBinaryData::Adopt(OxBuffer&& bytes) {
  OxBuffer::operator=(std::move(bytes));
  Reset();
}

void OxBinaryData::Append(const char* text) {
  OxBuffer::Append(text);
  Reset();
}

void OxBinaryData::Append(const char* bytes, unsigned long count) {
  OxBuffer::Append(bytes, count);
  Reset();
}

void OxBinaryData::Append(const OxBinaryData& other) {
  OxBuffer::Append(static_cast<const OxBuffer&>(other));
  Reset();
}

void OxBinaryData::Append(const OxBuffer& bytes) {
  OxBuffer::Append(bytes);
  Reset();
}

void OxBinaryData::AddInteger(std::uint64_t value, unsigned count, WhichEnd end) {
  std::array<char, kLargestInteger> bytes{};
  for (unsigned i = 0; i < count; ++i) {
    const unsigned place = end == kBigEndian ? count - 1 - i : i;
    bytes[place] = static_cast<char>(value & 0xFFU);
    value >>= kBitsPerByte;
  }
  Append(bytes.data(), count);
}

void OxBinaryData::AddUInt8(unsigned char value) {
  AddInteger(value, 1, kLittleEndian);
}

void OxBinaryData::AddUInt16(unsigned short value, WhichEnd end) {
  AddInteger(value, 2, end);
}

void OxBinaryData::AddUInt32(unsigned long value, WhichEnd end) {
  AddInteger(value, 4, end);
}

void OxBinaryData::AddUInt64(unsigned long long value, WhichEnd end) {
  if (end != kBigEndian) {
    AddInteger(value, 8, kLittleEndian);
    return;
  }
  AddInteger(value & 0xFFFFFFFF00000000, 8, kBigEndian);
}

void OxBinaryData::AddNullTerminatedString(const OxString& text) {
  OxBuffer::Append(text.c_str(), std::size_t{text.size()} + 1);
  Reset();
}

void OxBinaryData::MoveTo(unsigned long offset) const {
  if (offset > length()) throw OutOfRange();
  cursor_ = offset;
}

void OxBinaryData::Skip(unsigned long count) const {
  if (empty()) return;
  constexpr std::uint64_t kFurthest = std::numeric_limits<std::uint64_t>::max();
  cursor_ = count > kFurthest - cursor_ ? kFurthest : cursor_ + count;
}

// The bytes from the cursor on, which must not be past the end.
std::string_view OxBinaryData::Rest() const {
  return view().substr(static_cast<std::size_t>(cursor_));
}

void OxBinaryData::Require(std::uint64_t count) const {
  if (cursor_ > length() || count > length() - cursor_) throw OutOfData();
}

std::uint64_t OxBinaryData::TakeInteger(unsigned count, WhichEnd end) const {
  if (empty()) return 0;
  Require(count);
  const std::string_view bytes = Rest().substr(0, count);
  std::uint64_t value = 0;
  for (unsigned i = 0; i < count; ++i) {
    const unsigned place = end == kBigEndian ? i : count - 1 - i;
    value = (value << kBitsPerByte) | static_cast<unsigned char>(bytes[place]);
  }
  cursor_ += count;
  return value;
}

unsigned char OxBinaryData::GetUInt8() const {
  return static_cast<unsigned char>(TakeInteger(1, kLittleEndian));
}

unsigned short OxBinaryData::GetUInt16(WhichEnd end) const {
  return static_cast<unsigned short>(TakeInteger(2, end));
}

std::uint32_t OxBinaryData::GetUInt32(WhichEnd end) const {
  return static_cast<std::uint32_t>(TakeInteger(4, end));
}

unsigned long long OxBinaryData::GetUInt64(WhichEnd end) const {
  const std::uint64_t value = TakeInteger(8, end);
  return end == kBigEndian ? value & 0xFFFFFFFFU : value;
}

OxBuffer OxBinaryData::GetBytes(unsigned long count) const {
  if (empty()) return {};
  Require(count);
  OxBuffer bytes(Rest().data(), count);
  cursor_ += count;
  return bytes;
}

OxString OxBinaryData::GetStringWithLengthByte(unsigned int encoding) const {
  if (empty()) return {};
  const std::uint64_t start = cursor_;
  try {
    const unsigned char count = GetUInt8();
    if (count == 0) return {};
    return WobHandleCharacterEncodings(GetBytes(count), encoding);
  } catch (...) {
    cursor_ = start;
    throw;
  }
}

OxString OxBinaryData::GetNullTerminatedString() const {
  if (empty()) return {};
  Require(0);
  const std::string_view text = Rest().substr(0, Rest().find('\0'));
  OxString result;
  try {
    result.set(text.data(), text.size());
  } catch (const OxString::InvalidEncoding&) {
    result.clear();
  }
  cursor_ += text.size() + 1;
  return result;
}
