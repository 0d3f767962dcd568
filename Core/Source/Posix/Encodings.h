#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Posix {

// The numbers by which the desktop platform's text-encoding services know an encoding.
constexpr std::uint32_t kMacRoman = 0;
constexpr std::uint32_t kMacJapanese = 1;
constexpr std::uint32_t kIsoLatin1 = 513;  ///< ISO 8859-1; part n is 512 + n, and there is no part 12.
constexpr std::uint32_t kIsoLatin9 = 527;  ///< ISO 8859-15, the last of them.
constexpr std::uint32_t kWindowsLatin1 = 1280;
constexpr std::uint32_t kAscii = 1536;
constexpr std::uint32_t kUtf8 = 0x08000100;

/// The encoding assumed for text that declares none. Independent of the locale, so that a file reads
/// the same on every machine; any bytes are valid in it.
constexpr std::uint32_t kSystemEncoding = kMacRoman;

// Each decoder returns the UTF-8 form of `bytes`, or nullopt when they are not valid in the encoding.
//   Example: DecodeNumbered(kIsoLatin1, "\xE9", storage) returns "\xC3\xA9" ("e" with an acute accent).
//   Result:  points into `bytes` where they are that form already, else into `storage`, which must be
//            empty. Its size is set before the text is written, so that no copy of a secret stays
//            in freed memory.
//   Strict:  undefined bytes, truncated characters, and in UTF-8 overlong forms, surrogates and numbers
//            above U+10FFFF are invalid. Zero bytes are text.
//   Cost:    linear. By number, ASCII and UTF-8 are checked and never copied, and load none of ICU's tables;
//            only Mac Japanese, in which byte 5C is not a backslash, is always copied.

/// Returns nullopt for an unknown number. A leading UTF-8 byte-order mark is not part of the text.
///   Mac Japanese has no vendor characters (rows 85 to 88 below 889F, and EB to FC); byte 5C is the yen
///   sign.
std::optional<std::string_view> DecodeNumbered(std::uint32_t encoding, std::string_view bytes,
                                               std::string& storage);

/// UTF-16 whose first two bytes are its byte-order mark, which is not part of the text. Without one
/// (FE FE and FF FF are not marks) the text is big-endian from the first byte on.
std::optional<std::string_view> DecodeUtf16(std::string_view bytes, std::string& storage);

/// A character set by its IANA name or another that ICU knows, made of letters, digits and "._:-+"
/// only. A leading byte-order mark is not part of the text. Returns nullopt for an unknown name.
std::optional<std::string_view> DecodeNamed(const std::string& charset, std::string_view bytes,
                                            std::string& storage);

/// The IANA name of the character set for which `charset` is an alias in ICU; empty for an unknown one.
std::string StandardName(const std::string& charset);

}  // namespace Posix
