#include "Posix/Encodings.h"

#include "Posix/CodeTable.h"
#include "Posix/IcuConverter.h"
#include "Posix/LegacyEncodings.h"
#include "Posix/Utf8Check.h"

namespace Posix {

namespace {

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
