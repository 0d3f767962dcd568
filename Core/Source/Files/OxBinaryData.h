#pragma once

#include <cstdint>
#include <string_view>

#include "Foundation/OxBuffer.h"
#include "Foundation/OxString.h"

/// Bytes with a read cursor: Add...() appends at the end, Get...() reads at the cursor.
///   Example: after AddUInt16(258, kLittleEndian) the bytes are 02 01, and GetUInt16(kLittleEndian) returns 258.
///   Owns:    its bytes.
///   Cursor:  every write moves it to the first byte; reading moves it past what was read, also on a const object.
///   Errors:  a read past the end throws OutOfData. 4 GiB and more throw std::bad_alloc. What throws leaves
///            bytes and cursor unchanged. Reading an object without bytes does not throw: the result is 0
///            or empty.
class OxBinaryData : private OxBuffer {
 public:
  /// Fewer bytes are left than were to be read.
  class OutOfData {};

  /// Byte order of an integer; any other value means kLittleEndian.
  enum WhichEnd : int { kBigEndian = 1, kLittleEndian = 2 };

  OxBinaryData() = default;
  explicit OxBinaryData(const OxBuffer& bytes);  ///< A copy, read from its first byte.
  /// A negative length counts as 0.
  OxBinaryData(const char* bytes, int length);
  explicit OxBinaryData(const char* text);  ///< Zero-terminated, not null; the terminator is not copied.
  /// The copy's cursor is at the first byte, not where the source's is.
  OxBinaryData(const OxBinaryData& other);
  OxBinaryData& operator=(const OxBinaryData& other);
  virtual ~OxBinaryData() = default;

  /// Whether there are no bytes at all, whatever the cursor.
  using OxBuffer::empty;
  using OxBuffer::length;  ///< Of all bytes, whatever the cursor.
  /// All bytes; valid until the next write.
  using OxBuffer::view;

  /// Replaces the content by a copy.
  void Assign(const char* bytes, unsigned long count);
  /// Moves the buffer's bytes without copying them.
  void Adopt(OxBuffer&& bytes);
  void Append(const char* text);  ///< Zero-terminated; the terminator is not copied.
  void Append(const char* bytes, unsigned long count);  ///< Any bytes.
  /// All bytes of the other, whatever its cursor.
  void Append(const OxBinaryData& other);
  void Append(const OxBuffer& bytes);

  void AddUInt8(unsigned char value);                                        ///< One byte.
  void AddChar(char value) { AddUInt8(static_cast<unsigned char>(value)); }  ///< One byte.
  void AddUInt16(unsigned short value, WhichEnd end);                        ///< Two bytes.
  /// Deliberate: the low 32 bits, whatever the value.
  void AddUInt32(unsigned long value, WhichEnd end);
  /// Deliberate: with kBigEndian the high 32 bits, most significant byte first, and then four zero
  /// bytes; a value below 2^32 is eight zero bytes.
  void AddUInt64(unsigned long long value, WhichEnd end);
  /// The text's UTF-8 and one zero byte.
  void AddNullTerminatedString(const OxString& text);

  void Reset() const { cursor_ = 0; }  ///< To the first byte.
  /// Throws OxBuffer::OutOfRange beyond the length; the length itself is allowed.
  void MoveTo(unsigned long offset) const;
  /// Not checked: past the end, every later read throws OutOfData.
  void Skip(unsigned long count) const;

  unsigned char GetUInt8() const;                                               ///< One byte.
  signed char GetChar() const { return static_cast<signed char>(GetUInt8()); }  ///< One byte, signed.
  unsigned short GetUInt16(WhichEnd end) const;                                 ///< Two bytes.
  std::uint32_t GetUInt32(WhichEnd end) const;                                  ///< Four bytes.
  /// Deliberate: with kBigEndian only the last four of the eight bytes count, so the result is the
  /// value modulo 2^32.
  unsigned long long GetUInt64(WhichEnd end) const;
  OxBuffer GetBytes(unsigned long count) const;  ///< A copy of the next bytes.
  /// Reads a length byte and so many bytes, and decodes them with `encoding` as the hint (0xFFFFFFFF: detect).
  OxString GetStringWithLengthByte(unsigned int encoding) const;
  /// Reads UTF-8 up to and including the next zero byte; empty when the bytes are not UTF-8. Deliberate: one zero
  /// byte is assumed after the last byte, so a text without its zero at the end of the data is returned; only a
  /// cursor beyond that byte throws.
  OxString GetNullTerminatedString() const;

 private:
  std::string_view Rest() const;
  void Require(std::uint64_t count) const;
  std::uint64_t TakeInteger(unsigned count, WhichEnd end) const;
  void AddInteger(std::uint64_t value, unsigned count, WhichEnd end);

  mutable std::uint64_t cursor_ = 0;
};
