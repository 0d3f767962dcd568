#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <new>
#include <string_view>
#include <utility>

/// An owning, growable array of bytes with hexadecimal and base64 codecs: OxBuffer("Hi").ConvertToHex() is "4869".
///   Sizes:  bytes; length and capacity are 32-bit. A length above 0xFFFFFFFF throws std::bad_alloc.
///   Errors: an operation that throws, std::bad_alloc included, leaves the buffer unchanged; LoadFromFile()
///           leaves it empty.
///   Owns:   its storage. Bytes beyond the length are undefined; growth does not zero them, and storage
///           that is freed is not wiped: use SecureClear() for secrets.
///   Alias:  a source inside the buffer's own storage is allowed everywhere.
class OxBuffer {
 public:
  /// Index or range beyond the length.
  class OutOfRange {};

  /// A part of a buffer.
  struct Range {
    std::uint32_t start = 0;   ///< Bytes from the front.
    std::uint32_t length = 0;  ///< Bytes.
  };

  OxBuffer() = default;
  /// Storage of exactly `count` bytes; null bytes need a count of 0.
  OxBuffer(const char* bytes, std::size_t count);
  /// The bytes of a zero-terminated text, which must not be null, without the terminator.
  explicit OxBuffer(const char* text);
  /// `count` undefined bytes, with the growth rule of SetLength().
  template <std::integral Count>
  explicit OxBuffer(Count count) {
    if (!std::in_range<std::uint32_t>(+count)) throw std::bad_alloc();
    SetLength(static_cast<std::uint32_t>(count));
  }
  OxBuffer(const OxBuffer& other);
  OxBuffer(OxBuffer&& other) noexcept;
  OxBuffer& operator=(const OxBuffer& other);
  OxBuffer& operator=(OxBuffer&& other) noexcept;
  ~OxBuffer();

  std::uint32_t length() const { return length_; }      ///< Bytes.
  std::uint32_t capacity() const { return capacity_; }  ///< Bytes of storage.
  bool empty() const { return length_ == 0; }  ///< Whether the length is 0; there may be storage.
  /// The first byte, or null without storage. Invalidated by every non-const operation except element access,
  /// ByteSwap16() and one that throws.
  char* data() { return data_; }
  const char* data() const { return data_; }
  std::string_view view() const { return {data_, length_}; }  ///< Valid as long as data() is.

  /// Replaces the content. Null: no bytes, whatever the count.
  void Assign(const char* bytes, std::size_t count);
  /// The bytes of a zero-terminated text; null counts as none.
  void Assign(const char* text);

  /// No effect when `bytes` is null or `count` is 0.
  void Append(const char* bytes, std::size_t count);
  /// The bytes of a zero-terminated text; null counts as none.
  void Append(const char* text);
  /// Appends one byte (zero included): the low eight bits of the number.
  void Append(char byte);
  template <std::integral Byte>
  void Append(Byte byte) {
    Append(static_cast<char>(byte));
  }
  void Append(const OxBuffer& other);
  /// As Append().
  OxBuffer& operator+=(const char* text);
  template <std::integral Byte>
  OxBuffer& operator+=(Byte byte) {
    Append(static_cast<char>(byte));
    return *this;
  }
  OxBuffer& operator+=(const OxBuffer& other);

  /// Throws OutOfRange when there is no storage or `index` > length - 1. Deliberate: that difference is
  /// unsigned, so a buffer with storage and length 0 does not throw; the result is a byte of the spare capacity.
  char& operator[](std::size_t index);
  const char& operator[](std::size_t index) const;

  void Clear() { SetLength(0); }  ///< Frees the storage.
  /// Sets the length and keeps the bytes that fit. 0 frees the storage; the first allocation has a capacity of
  /// `length` + 10, growth past the capacity allocates half as much again; below half of the current length
  /// the capacity shrinks to `length` + 10.
  void SetLength(std::size_t length);
  /// Removes up to `count` bytes from `start`; no effect when `start` is not below the length. Removing
  /// everything frees the storage, anything else keeps the capacity.
  void Remove(std::size_t start, std::size_t count);
  /// Replaces a range by `count` bytes; with null `bytes` the new bytes are undefined.
  /// Throws OutOfRange when the range ends beyond the length.
  void Replace(const Range& range, const char* bytes, std::size_t count);

  /// The same bytes.
  bool operator==(const OxBuffer& other) const;
  /// Deliberate: the same result as ==, true when EQUAL. Do not use it to test for difference.
  bool operator!=(const OxBuffer& other) const { return *this == other; }

  /// Swaps the two bytes of every 16-bit unit; false, and nothing changed, when empty or of odd length.
  bool ByteSwap16();
  OxBuffer MakeReversed() const;  ///< The last byte first.

  /// Upper-case digits, two per byte.
  OxBuffer ConvertToHex() const;
  /// Empty when the length is odd. A pair that holds anything but a digit becomes "?".
  OxBuffer ConvertFromHex() const;

  /// RFC 4648 text with padding, without line breaks, in place. Deliberate: an empty buffer becomes "====".
  void ToBase64();
  /// Decodes in place. False, and nothing changed, when the length is not a multiple of 4. Deliberate:
  /// decoding stops silently at a character outside the alphabet, and the result is true; the length is
  /// that of the whole result, whose rest keeps bytes of the base64 text.
  bool FromBase64();

  /// Overwrites the whole capacity with zeros, then frees the storage.
  void SecureClear();

  /// Frees the storage, then reads a whole regular file. False, and empty, when it cannot be opened, is not a
  /// regular file, has 4 GiB or more, or cannot be read to its end.
  bool LoadFromFile(const char* path);

 private:
  void Allocate(std::uint64_t capacity);
  void Release();
  bool Owns(const char* bytes) const;
  bool ShrinksStorage(std::uint64_t length) const;

  std::uint32_t length_ = 0;
  std::uint32_t capacity_ = 0;
  char* data_ = nullptr;
};
