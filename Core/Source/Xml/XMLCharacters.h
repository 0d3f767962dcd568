#pragma once

#include <array>
#include <cstdint>

/// The character classes of XML as this system has them: for names deliberately much narrower than
/// XML 1.0, only ASCII letters count as letters. Characters are code points; productions are those of
/// XML 1.0, fourth edition.
namespace XMLCharacters {

/// Char, production 2 of XML 1.0.
constexpr bool IsChar(std::uint32_t c) {
  return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) ||
         (c >= 0xE000 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0x10FFFF);
}
/// S, production 3: one character of it.
constexpr bool IsWhitespace(std::uint32_t c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}
/// Narrower than production 88: ASCII digits only.
constexpr bool IsDigit(std::uint32_t c) {
  return c >= '0' && c <= '9';
}
/// In either case, as in production 66.
constexpr bool IsHexDigit(std::uint32_t c) {
  return IsDigit(c) || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}
/// All ones for a character that is no hexadecimal digit.
constexpr std::uint32_t GetHexCharValue(std::uint32_t c) {
  if (IsDigit(c)) return c - '0';
  if (!IsHexDigit(c)) return 0xFFFFFFFF;
  return (c | 0x20U) - 'a' + 10;
}
/// Narrower than production 85: ASCII letters only.
constexpr bool IsBaseChar(std::uint32_t c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}
/// Production 86; nothing here.
constexpr bool IsIdeographic(std::uint32_t) {
  return false;
}
/// Production 87; nothing here.
constexpr bool IsCombiningChar(std::uint32_t) {
  return false;
}
/// Of production 89 the middle dot alone.
constexpr bool IsExtender(std::uint32_t c) {
  return c == 0xB7;
}
/// Production 84.
constexpr bool IsLetter(std::uint32_t c) {
  return IsBaseChar(c) || IsIdeographic(c);
}
/// As IsNameStart() but without the colon, which separates a prefix.
constexpr bool IsNCNameStart(std::uint32_t c) {
  return IsLetter(c) || c == '_';
}
/// As IsNameChar() but without the colon.
constexpr bool IsNCNameChar(std::uint32_t c) {
  return IsLetter(c) || IsDigit(c) || c == '.' || c == '-' || c == '_' || IsCombiningChar(c) ||
         IsExtender(c);
}
/// The first character of a name, production 5.
constexpr bool IsNameStart(std::uint32_t c) {
  return IsNCNameStart(c) || c == ':';
}
/// Any further one, production 4.
constexpr bool IsNameChar(std::uint32_t c) {
  return IsNCNameChar(c) || c == ':';
}
/// What a public identifier may hold.
constexpr bool IsPubIDChar(std::uint32_t c) {
  constexpr char kOthers[] = " \r\n-'()+,./:=?;!*#@$_%";
  if (IsBaseChar(c) || IsDigit(c)) return true;
  for (const char other : kOthers) {
    if (other != 0 && c == static_cast<unsigned char>(other)) return true;
  }
  return false;
}

/// What a byte of UTF-8 text can mean to the loops that scan whole runs, one look-up per byte.
enum ByteClass : std::uint32_t {
  kNameStartByte = 1 << 0,
  kNameByte = 1 << 1,  ///< Of ASCII name characters; U+00B7 is the one that is longer.
  kSpaceByte = 1 << 2,
  kEndByte = 1 << 3,  ///< Zero: the end of a text, or a zero inside it.
  kLessByte = 1 << 4,
  kAmpersandByte = 1 << 5,
  kQuoteByte = 1 << 6,
  kApostropheByte = 1 << 7,
  kTabOrBreakByte = 1 << 8,  ///< White space other than the space.
  kHyphenByte = 1 << 9,
  kBracketByte = 1 << 10,  ///< "]"
  kQuestionByte = 1 << 11,
  kSuspectByte = 1 << 12,  ///< May begin a character that IsChar() refuses.
  kSlashByte = 1 << 13,
  kGreaterByte = 1 << 14,
  kPercentByte = 1 << 15,
  kFeedByte = 1 << 16,  ///< Begins a line.
};

/// Every ByteClass of one byte, from 0 to 255.
constexpr std::uint32_t ClassifyByte(std::uint32_t byte) {
  std::uint32_t classes = 0;
  const auto set = [&classes](bool holds, ByteClass which) {
    if (holds) classes |= which;
  };
  const bool ascii = byte < 0x80;
  set(ascii && IsNameStart(byte), kNameStartByte);
  set(ascii && IsNameChar(byte), kNameByte);
  set(IsWhitespace(byte), kSpaceByte);
  set(byte == 0, kEndByte);
  set(byte == '<', kLessByte);
  set(byte == '&', kAmpersandByte);
  set(byte == '"', kQuoteByte);
  set(byte == '\'', kApostropheByte);
  set(IsWhitespace(byte) && byte != ' ', kTabOrBreakByte);
  set(byte == '-', kHyphenByte);
  set(byte == ']', kBracketByte);
  set(byte == '?', kQuestionByte);
  set(byte == '/', kSlashByte);
  set(byte == '>', kGreaterByte);
  set(byte == '%', kPercentByte);
  set(byte == '\n', kFeedByte);
  // Controls; surrogates and U+FFFE, U+FFFF; above U+10FFFF; forms longer than a character needs.
  set(ascii && !IsChar(byte), kSuspectByte);
  set(byte == 0xED || byte == 0xEF || byte >= 0xF4, kSuspectByte);
  set(byte == 0xC0 || byte == 0xE0 || byte == 0xF0, kSuspectByte);
  return classes;
}

/// ClassifyByte() of every byte.
inline constexpr std::array<std::uint32_t, 256> kByteClasses = []() {
  std::array<std::uint32_t, 256> classes{};
  for (std::uint32_t byte = 0; byte < classes.size(); ++byte) classes[byte] = ClassifyByte(byte);
  return classes;
}();

/// The class of a quote or an apostrophe.
constexpr ByteClass QuoteClass(char quote) {
  return quote == '"' ? kQuoteByte : kApostropheByte;
}

/// Whether the byte is of one of the classes, which may be several.
inline bool IsByte(char byte, unsigned classes) {
  return (kByteClasses[static_cast<unsigned char>(byte)] & classes) != 0;
}

}  // namespace XMLCharacters
