#pragma once

#include <concepts>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

#include "Foundation/OxBuffer.h"
#include "Foundation/UnicodeConversion.h"

/// Unicode text, stored as UTF-8: OxString("na\xC3\xAFve") has length() 5 and size() 6.
///   Units:   positions, lengths and counts are code points, -1 meaning "not found" as a result and
///            "to the end" (or "from the last character") as an argument. Two operations deliberately
///            differ: find() of a code point and operator[]; each says so.
///   Zeros:   a U+0000 inside the text is stored and counted, but walks over characters stop at it.
///   Numbers: where an argument is one character, any integer type is its code point, so a negative `char`
///            is not one. Deliberate: surrogates, U+FFFE, U+FFFF and what is above U+10FFFF become U+FFFD.
///   Texts:   where UTF-8 bytes are an argument, bytes that are not acceptable UTF-8 throw InvalidEncoding, and
///            null is an empty text.
///   Sizes:   32-bit; text of 4 GiB and more throws std::bad_alloc.
///   Errors:  an operation that throws, std::bad_alloc included, leaves the string unchanged, with what u_str()
///            returned. Setting and format() differ for text that is not acceptable: each says so.
///   Alias:   a source inside the string's own storage is allowed everywhere.
///   Cost:    short text lives in the object. A position in ASCII text costs one memchr() up to there, in
///            other text a walk from the front.
class OxString {
 public:
  /// A position or a count; signed, because -1 has a meaning.
  using Index = std::int64_t;
  /// Whether letter case counts.
  enum ECaseSense { kCaseSensitive = 0, kCaseInsensitive = 1 };

  /// Bytes that are not acceptable UTF-8.
  using InvalidEncoding = InvalidUtf8;
  /// An index past the end in operator[].
  class OutOfRange {};

  class const_iterator;

  OxString() noexcept = default;
  OxString(const OxString& other);
  OxString(OxString&& other) noexcept;
  OxString(std::nullptr_t) noexcept {}  ///< Empty.
  /// Zero-terminated UTF-8.
  OxString(const char* utf8) { set(utf8); }
  OxString(const char* utf8, std::size_t bytes) { set(utf8, bytes); }
  explicit OxString(std::string_view utf8) { set(utf8.data(), utf8.size()); }
  /// Zero-terminated UTF-16 in machine order; null gives an empty string. Throws ::InvalidEncoding.
  OxString(const unsigned short* utf16) { set(utf16); }
  OxString(const unsigned short* utf16, std::size_t units) { set(utf16, units); }
  /// A string of one character (not the digits of a number).
  template <std::integral CodePoint>
  OxString(CodePoint codePoint) {
    set(codePoint);
  }
  ~OxString();
  /// A string of whole characters that are known to be acceptable: counted, not checked.
  static OxString from_valid(std::string_view utf8);

  OxString& operator=(const OxString& other);
  OxString& operator=(OxString&& other) noexcept;
  /// As set().
  OxString& operator=(std::nullptr_t) {
    clear();
    return *this;
  }
  OxString& operator=(const char* utf8) {
    set(utf8);
    return *this;
  }
  OxString& operator=(const unsigned short* utf16) {
    set(utf16);
    return *this;
  }
  template <std::integral CodePoint>
  OxString& operator=(CodePoint codePoint) {
    set(codePoint);
    return *this;
  }

  /// Each leaves the string empty before it throws InvalidEncoding (UTF-8) or ::InvalidEncoding
  /// (UTF-16). Deliberate: overlong forms, surrogates and 4-byte forms above U+10FFFF are accepted.
  OxString& set(const char* utf8);
  OxString& set(const char* utf8, std::size_t bytes);
  OxString& set(const unsigned short* utf16);
  OxString& set(const unsigned short* utf16, std::size_t units);
  OxString& set(std::nullptr_t) { return clear(); }
  template <std::integral CodePoint>
  OxString& set(CodePoint codePoint) {
    return SetCodePoint(static_cast<unsigned long>(codePoint));
  }

  /// printf-style; a null or empty format clears the string, a failing formatter leaves it unchanged and
  /// throws std::bad_alloc if it was out of memory. Output that is not UTF-8 empties the string and throws
  /// InvalidEncoding.
  OxString& format(const char* fmt, ...) __attribute__((format(printf, 2, 3)));
  /// The same, taking a va_list.
  OxString& format_v(const char* fmt, va_list arguments) __attribute__((format(printf, 2, 0)));

  /// Empties the text and frees its storage; the bytes are not wiped.
  OxString& clear();
  /// Zeroes all storage that it owns, spare capacity and UTF-16 copy included, then clears it.
  void secure_clear();
  /// Allocates for `bytes` bytes of UTF-8 in all; appending up to that size does not allocate.
  void reserve(std::size_t bytes);

  std::uint32_t length() const { return length_; }  ///< Code points.
  std::uint32_t size() const { return size_; }      ///< Bytes without the terminator.
  bool empty() const { return length_ == 0; }       ///< Whether there is no code point.
  /// Zero-terminated, never null. Valid until an operation that is not const, reserve() too, or a move of
  /// the string.
  const char* c_str() const { return Data(); }
  /// The UTF-8 bytes, valid as c_str() is.
  std::string_view view() const { return {Data(), size_}; }
  /// True when every character is one byte, so that positions in bytes and in characters agree.
  bool is_ascii() const { return size_ == length_; }

  /// Zero-terminated UTF-16 in machine order, never null: built on first use and kept until the text
  /// changes. Empty when the text cannot be converted; throws std::bad_alloc without the memory for it.
  const unsigned short* u_str() const;
  /// Copies the text and its terminator to `out` and returns the copy's bytes. For an empty string `out` is
  /// empty and the result null. Never throws: on a failure `out` is empty and the result null, too.
  const char* get_utf8(OxBuffer& out) const;
  /// The same for UTF-16, 2 bytes per code unit, without a terminator.
  const char* get_utf16(OxBuffer& out) const;

  /// Deliberate: index 0 gives the first code point; any other index gives the BYTE at that byte
  /// offset, sign-extended, which is the code point only in ASCII text. Throws OutOfRange.
  int operator[](std::size_t index) const;
  /// The first number in the text, other characters before it skipped ("abc12" is 12, "x-5" is -5),
  /// 32-bit with wrap-around; 0 when there is none. Deliberate: a sign begins the number, so a sign
  /// that no digit follows makes it 0 ("- 5", "a-b7").
  int to_int() const;
  /// The number at the front, as atof() reads it in the C locale; 0 when there is none.
  double to_double() const;

  const_iterator begin() const;  ///< At the first character.
  const_iterator end() const;    ///< Past the last character.

  // With a start below 0 nothing is found, unless -1 has a meaning.

  /// Position of the first occurrence of `text` at or after `start`; an empty text is never found.
  template <std::integral Start = int>
  Index find(const OxString& text, Start start = 0) const {
    return FindText(text, static_cast<Index>(start));
  }
  /// Position of the last occurrence that begins at or before `start` (-1: the last character).
  template <std::integral Start = int>
  Index rfind(const OxString& text, Start start = -1) const {
    return FindLastText(text, static_cast<Index>(start));
  }
  /// The first character equal to `codePoint` at or after `start`. Deliberate: a BYTE offset, although
  /// every other search counts code points.
  template <std::integral CodePoint, std::integral Start = int>
  Index find(CodePoint codePoint, Start start = 0) const {
    return FindCodePoint(static_cast<unsigned long>(codePoint), static_cast<Index>(start));
  }
  /// The last character equal to `codePoint` at or before `start` (-1: the last), in code points.
  template <std::integral CodePoint, std::integral Start = int>
  Index rfind(CodePoint codePoint, Start start = -1) const {
    return FindLastCodePoint(static_cast<unsigned long>(codePoint), static_cast<Index>(start));
  }
  bool starts_with(const OxString& text) const;         ///< Deliberate: false for an empty text.
  bool starts_with_nocase(const OxString& text) const;  ///< Deliberate: true for an empty text.
  bool ends_with(const OxString& text) const;           ///< Deliberate: false for an empty text.
  bool ends_with_nocase(const OxString& text) const;    ///< Deliberate: true for an empty text.
  /// Whether the bytes of `text` occur; false for an empty text.
  bool contains(const char* text) const;

  /// The sub-matches of a POSIX extended regular expression, the whole match first, as
  /// Posix::SearchExpression() returns them; empty when it does not match or compile. Deliberate: the
  /// matcher's byte offsets are used as code point positions.
  std::vector<OxString> findRE(const OxString& pattern, ECaseSense caseSense) const;
  /// The pieces between delimiters; an empty string has none, "a," has two.
  template <std::integral CodePoint>
  std::vector<OxString> explode(CodePoint delimiter) const {
    return Explode(static_cast<unsigned long>(delimiter));
  }

  /// -1, 0 or 1 by UTF-16 code units, after simple case folding when asked for. Deliberate: 1 in both
  /// directions when a text cannot become UTF-16.
  int compare(const OxString& other, ECaseSense caseSense = kCaseSensitive) const;
  int compare(const char* utf8, ECaseSense caseSense = kCaseSensitive) const;
  /// By compare(): letter case counts.
  bool operator==(const OxString& other) const { return compare(other) == 0; }
  bool operator==(const char* utf8) const { return compare(utf8) == 0; }
  bool operator<(const OxString& other) const { return compare(other) < 0; }  ///< By compare().
  bool operator>(const OxString& other) const { return compare(other) > 0; }  ///< By compare().

  /// Appends; the text itself is allowed.
  OxString& operator+=(const OxString& text);
  OxString& operator+=(const char* utf8) { return *this += OxString(utf8); }
  template <std::integral CodePoint>
  OxString& operator+=(CodePoint codePoint) {
    return AppendCodePoint(static_cast<unsigned long>(codePoint));
  }
  /// The concatenation of both texts.
  friend OxString operator+(const OxString& a, const OxString& b) {
    OxString sum(a);
    sum += b;
    return sum;
  }
  /// Appends whole characters that are known to be acceptable: they are counted, not checked.
  OxString& append_valid(std::string_view utf8);

  /// Up to `count` characters from `position` (-1: to the end); fewer at the end, none past it or for any
  /// other negative number.
  template <std::integral Position, std::integral Count>
  OxString substr(Position position, Count count) const {
    return Substring(static_cast<Index>(position), static_cast<Index>(count));
  }
  /// Removes characters. Deliberate: a count past the end leaves a length that is wrong by the excess;
  /// callers pass -1 or an exact count.
  template <std::integral Position, std::integral Count>
  OxString& erase(Position position, Count count) {
    return Erase(static_cast<Index>(position), static_cast<Index>(count));
  }
  /// Replaces every character equal to `from`.
  template <std::integral From, std::integral To>
  OxString& replace(From from, To to) {
    return ReplaceCodePoint(static_cast<unsigned long>(from), static_cast<unsigned long>(to));
  }
  /// Replaces every occurrence; the search goes on after each replacement.
  OxString& replace(const OxString& what, const OxString& with);
  OxString& to_upper();  ///< ASCII letters only.
  OxString& to_lower();  ///< ASCII letters only.
  /// Removes white space (see IsWhitespace()) at the front.
  OxString& trim_left();
  OxString& trim_right();  ///< At the end.
  OxString& trim();        ///< At both ends.
  /// Every byte but ASCII letters and digits becomes "%" and two upper-case digits.
  OxString& encode_url();
  /// The reverse. Throws InvalidEncoding for a "%" that fewer than two bytes follow (the text is unchanged)
  /// and for a result that is not UTF-8 (the text is empty). Deliberate: a wrong digit counts as all ones, and
  /// "+" stays.
  OxString& decode_url();

 private:
  static constexpr std::uint32_t kLocalBytes = 14;
  static constexpr std::size_t kTagAt = 15;

  bool IsLocal() const { return storage_[kTagAt] == 0; }
  char* HeapBytes() const;
  std::uint32_t Capacity() const;
  char* Data() { return IsLocal() ? storage_ : HeapBytes(); }
  const char* Data() const { return IsLocal() ? storage_ : HeapBytes(); }
  static std::unique_ptr<char[]> NewStorage(std::uint32_t capacity);
  void AdoptHeap(std::unique_ptr<char[]> bytes, std::uint32_t capacity);
  void ReleaseHeap();
  void Grow(std::uint32_t bytes);
  void SetSize(std::uint32_t size);
  void StealFrom(OxString& other) noexcept;
  void DropCache() { utf16_.reset(); }
  bool Owns(const char* bytes) const;
  OxString& AppendCounted(std::string_view utf8, std::size_t characters);
  void AssignValid(const char* bytes, std::size_t count, std::uint32_t codePoints);
  void RemoveBytes(std::size_t start, std::size_t count);

  void EncodeUtf16(OxBuffer& out) const;

  const char* TextEnd() const;
  const char* FindCharPos(Index index) const;
  static const char* NextCharPos(const char* p);
  const char* PrevCharPos(const char* p) const;
  std::size_t BytesInRange(const char* p, std::uint64_t count) const;

  OxString& SetCodePoint(unsigned long codePoint);
  OxString& AppendCodePoint(unsigned long codePoint);
  const char* FindBytes(const char* from, std::string_view bytes) const;
  Index FindText(const OxString& text, Index start) const;
  Index FindLastText(const OxString& text, Index start) const;
  Index FindCodePoint(unsigned long codePoint, Index start) const;
  Index FindLastCodePoint(unsigned long codePoint, Index start) const;
  std::vector<OxString> Explode(unsigned long delimiter) const;
  OxString Substring(Index position, Index count) const;
  OxString& Erase(Index position, Index count);
  OxString& ReplaceCodePoint(unsigned long from, unsigned long to);

  // Up to 14 bytes and their terminator, or a pointer and a capacity. The last byte says which.
  alignas(8) char storage_[16] = {};
  std::uint32_t size_ = 0;
  std::uint32_t length_ = 0;
  mutable std::unique_ptr<OxBuffer> utf16_;
};

/// Walks the characters of a string, valid until its text changes. All comparisons compare the index alone.
class OxString::const_iterator {
 public:
  /// An iterator without a string, or past the end, is dereferenced.
  class OutOfBounds {};

  const_iterator() = default;
  /// The code point here; throws OutOfBounds past the end.
  unsigned long operator*() const;
  /// Advances by one character; past the end only the index changes.
  const_iterator& operator++();
  const_iterator operator++(int);
  /// Advances by `count` characters; past the end only the index changes.
  const_iterator& operator+=(std::size_t count);
  const_iterator operator+(std::size_t count) const;  ///< operator+=() on a copy.
  bool operator==(const const_iterator& other) const { return index_ == other.index_; }    ///< By index.
  auto operator<=>(const const_iterator& other) const { return index_ <=> other.index_; }  ///< By index.

 private:
  friend class OxString;
  const_iterator(const OxString* text, const char* position, std::uint64_t index)
      : text_(text), position_(position), index_(index) {}

  const OxString* text_ = nullptr;
  const char* position_ = nullptr;
  std::uint64_t index_ = 0;
};

inline char* OxString::HeapBytes() const {
  char* bytes = nullptr;
  std::memcpy(&bytes, storage_, sizeof bytes);
  return bytes;
}

inline std::uint32_t OxString::Capacity() const {
  if (IsLocal()) return kLocalBytes;
  std::uint32_t capacity = 0;
  std::memcpy(&capacity, storage_ + sizeof(char*), sizeof capacity);
  return capacity;
}

inline void OxString::SetSize(std::uint32_t size) {
  size_ = size;
  Data()[size] = 0;
}

// The character after the one at `p`, or null at the end.
inline const char* OxString::NextCharPos(const char* p) {
  const unsigned short length = GetUTF8SequenceLength(static_cast<unsigned char>(*p));
  if (length == 0) throw InvalidEncoding();
  return p[length] == 0 ? nullptr : p + length;
}

inline unsigned long OxString::const_iterator::operator*() const {
  if (position_ == nullptr || index_ > text_->length_) throw OutOfBounds();
  unsigned short length = 0;
  return UTF8CharToUnicode(reinterpret_cast<const unsigned char*>(position_), length);
}

inline OxString::const_iterator& OxString::const_iterator::operator++() {
  ++index_;
  if (position_ != nullptr) position_ = NextCharPos(position_);
  return *this;
}
