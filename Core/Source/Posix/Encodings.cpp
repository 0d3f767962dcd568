#include "Posix/Encodings.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "Posix/CodeTable.h"
#include "Posix/IcuConverter.h"
#include "Posix/Unicode.h"

namespace Posix {

namespace {

// Bytes 80 to FF of the desktop platform's table: with the euro sign at DB and the maker's sign, in
// private use, at F0. Written out because it is the last resort of every decoding, which must not fail.
constexpr std::array<char16_t, 128> kMacRomanUpperHalf = {
    0x00C4, 0x00C5, 0x00C7, 0x00C9, 0x00D1, 0x00D6, 0x00DC, 0x00E1, 0x00E0, 0x00E2, 0x00E4, 0x00E3,
    0x00E5, 0x00E7, 0x00E9, 0x00E8, 0x00EA, 0x00EB, 0x00ED, 0x00EC, 0x00EE, 0x00EF, 0x00F1, 0x00F3,
    0x00F2, 0x00F4, 0x00F6, 0x00F5, 0x00FA, 0x00F9, 0x00FB, 0x00FC, 0x2020, 0x00B0, 0x00A2, 0x00A3,
    0x00A7, 0x2022, 0x00B6, 0x00DF, 0x00AE, 0x00A9, 0x2122, 0x00B4, 0x00A8, 0x2260, 0x00C6, 0x00D8,
    0x221E, 0x00B1, 0x2264, 0x2265, 0x00A5, 0x00B5, 0x2202, 0x2211, 0x220F, 0x03C0, 0x222B, 0x00AA,
    0x00BA, 0x03A9, 0x00E6, 0x00F8, 0x00BF, 0x00A1, 0x00AC, 0x221A, 0x0192, 0x2248, 0x2206, 0x00AB,
    0x00BB, 0x2026, 0x00A0, 0x00C0, 0x00C3, 0x00D5, 0x0152, 0x0153, 0x2013, 0x2014, 0x201C, 0x201D,
    0x2018, 0x2019, 0x00F7, 0x25CA, 0x00FF, 0x0178, 0x2044, 0x20AC, 0x2039, 0x203A, 0xFB01, 0xFB02,
    0x2021, 0x00B7, 0x201A, 0x201E, 0x2030, 0x00C2, 0x00CA, 0x00C1, 0x00CB, 0x00C8, 0x00CD, 0x00CE,
    0x00CF, 0x00CC, 0x00D3, 0x00D4, 0xF8FF, 0x00D2, 0x00DA, 0x00DB, 0x00D9, 0x0131, 0x02C6, 0x02DC,
    0x00AF, 0x02D8, 0x02D9, 0x02DA, 0x00B8, 0x02DD, 0x02DB, 0x02C7,
};

struct ConverterName {
  std::uint32_t encoding;
  const char* name;
};

constexpr ConverterName kConverterNames[] = {
    {513, "ISO-8859-1"},       {514, "ISO-8859-2"},       {515, "ISO-8859-3"},
    {516, "ISO-8859-4"},       {517, "ISO-8859-5"},       {518, "ISO-8859-6"},
    {519, "ISO-8859-7"},       {520, "ISO-8859-8"},       {521, "ISO-8859-9"},
    {522, "iso-8859_10-1998"}, {523, "iso-8859_11-2001"}, {525, "ISO-8859-13"},
    {526, "iso-8859_14-1998"}, {527, "ISO-8859-15"},      {kWindowsLatin1, "windows-1252"},
};

struct PairRange {
  unsigned first;  ///< Lead byte * 256 + trail byte.
  unsigned last;
};

// The rows of the character set JIS X 0208 that hold anything, without the vendors' additions.
constexpr PairRange kJapanesePairs[] = {{0x8140, 0x84FC}, {0x889F, 0x9FFC}, {0xE040, 0xEAFC}};

bool IsControl(char16_t character) {
  return character < 0xA0;
}

void AddPairs(const IcuConverter& converter, PairRange range, CodeTable& table) {
  for (unsigned code = range.first; code <= range.last; ++code) {
    const auto lead = static_cast<unsigned char>(code >> 8U);
    const auto trail = static_cast<unsigned char>(code & 0xFFU);
    if (trail < 0x40 || trail == 0x7F || trail > 0xFC) continue;
    const char pair[] = {static_cast<char>(lead), static_cast<char>(trail)};
    const std::optional<char16_t> character = converter.DecodeCell({pair, sizeof pair});
    if (character) table.SetPair(lead, trail, *character);
  }
}

// All 256 bytes, without ICU.
CodeTable MakeMacRoman() {
  CodeTable table;
  unsigned char byte = 0x80;
  for (const char16_t character : kMacRomanUpperHalf) table.SetByte(byte++, character);
  return table;
}

// The single-byte characters of Mac Japanese, without ICU.
CodeTable MakeMacJapaneseBytes() {
  CodeTable table;
  table.SetByte(0x5C, u'\u00A5');
  table.SetByte(0x80, u'\\');
  table.SetByte(0xA0, u'\u00A0');
  for (unsigned byte = 0xA1; byte <= 0xDF; ++byte) {
    table.SetByte(static_cast<unsigned char>(byte), static_cast<char16_t>(u'\uFF61' + (byte - 0xA1)));
  }
  table.SetByte(0xFD, u'\u00A9');
  table.SetByte(0xFE, u'\u2122');
  table.SetByte(0xFF, u'\u2026');
  return table;
}

CodeTable MakeMacJapanese() {
  CodeTable table = MakeMacJapaneseBytes();
  const IcuConverter converter("ibm-943_P130-1999");
  if (!converter.IsOpen()) return table;
  for (const PairRange range : kJapanesePairs) AddPairs(converter, range, table);
  // Where that converter has full-width forms, the desktop platform has the plain signs.
  table.SetPair(0x81, 0x91, u'\u00A2');
  table.SetPair(0x81, 0x92, u'\u00A3');
  table.SetPair(0x81, 0xCA, u'\u00AC');
  return table;
}

// An ISO 8859 part or Windows Latin 1. For any other number, bytes from 80 on are undefined.
CodeTable MakeSingleByte(std::uint32_t encoding) {
  CodeTable table;
  const auto* const known =
      std::find_if(std::begin(kConverterNames), std::end(kConverterNames),
                   [encoding](const ConverterName& entry) { return entry.encoding == encoding; });
  if (known == std::end(kConverterNames)) return table;
  const IcuConverter converter(known->name);
  if (!converter.IsOpen()) return table;
  for (unsigned byte = 0x80; byte <= 0xFF; ++byte) {
    const char text = static_cast<char>(byte);
    const std::optional<char16_t> character = converter.DecodeCell({&text, 1});
    // ICU fills the five holes of Windows Latin 1 with control characters.
    const bool hole = encoding == kWindowsLatin1 && character && IsControl(*character);
    if (character && !hole) table.SetByte(static_cast<unsigned char>(byte), *character);
  }
  return table;
}

using Text = std::optional<std::string_view>;

std::string_view WithoutMark(std::string_view utf8) {
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  if (utf8.starts_with(kMark)) utf8.remove_prefix(kMark.size());
  return utf8;
}

Text DecodeBy(const CodeTable& table, std::string_view bytes, std::string& storage) {
  if (!table.Decode(bytes, storage)) return std::nullopt;
  return storage;
}

Text DecodeBy(const char* converterName, std::string_view bytes, std::string& storage) {
  const IcuConverter converter(converterName);
  if (!converter.IsOpen() || !converter.Decode(bytes, storage)) return std::nullopt;
  return converter.TakesMarks() ? storage : WithoutMark(storage);
}

Text DecodeUtf8(std::string_view bytes) {
  bytes = WithoutMark(bytes);
  if (!IsUtf8(bytes)) return std::nullopt;
  return bytes;
}

Text DecodeMacJapanese(std::string_view bytes, std::string& storage) {
  if (IsAscii(bytes)) return DecodeBy(MakeMacJapaneseBytes(), bytes, storage);
  static const CodeTable table = MakeMacJapanese();
  return DecodeBy(table, bytes, storage);
}

// One byte to a character, and 00 to 7F as in ASCII.
bool ExtendsAscii(std::uint32_t encoding) {
  constexpr std::uint32_t kMissingPart = 512 + 12;
  const bool iso = encoding >= kIsoLatin1 && encoding <= kIsoLatin9 && encoding != kMissingPart;
  return iso || encoding == kMacRoman || encoding == kWindowsLatin1 || encoding == kAscii;
}

bool IsNameSafe(std::string_view name) {
  constexpr std::string_view kAllowed =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._:-+";
  return !name.empty() && name.find_first_not_of(kAllowed) == std::string_view::npos;
}

}  // namespace

Text DecodeNumbered(std::uint32_t encoding, std::string_view bytes, std::string& storage) {
  if (encoding == kUtf8) return DecodeUtf8(bytes);
  if (encoding == kMacJapanese) return DecodeMacJapanese(bytes, storage);
  if (!ExtendsAscii(encoding)) return std::nullopt;
  if (IsAscii(bytes)) return bytes;
  if (encoding == kAscii) return std::nullopt;
  return DecodeBy(encoding == kMacRoman ? MakeMacRoman() : MakeSingleByte(encoding), bytes, storage);
}

Text DecodeUtf16(std::string_view bytes, std::string& storage) {
  return DecodeBy("UTF-16", bytes, storage);
}

Text DecodeNamed(const std::string& charset, std::string_view bytes, std::string& storage) {
  if (!IsNameSafe(charset)) return std::nullopt;
  return DecodeBy(charset.c_str(), bytes, storage);
}

std::string StandardName(const std::string& charset) {
  return IsNameSafe(charset) ? IcuConverter::StandardName(charset) : std::string();
}

}  // namespace Posix
