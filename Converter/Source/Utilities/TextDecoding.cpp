#include "Utilities/TextDecoding.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include "Foundation/SecureZeroMemory.h"
#include "Posix/Encodings.h"
#include "Utilities/DeclarationSearch.h"
#include "Utilities/EncodingNames.h"

namespace {

std::atomic<unsigned int> g_wobFileEncoding = kWobEncodingUnknown;

// Memory for decoded text, wiped before it is freed: the text may be a pass phrase. Set its size once; a string that
// grows leaves copies in freed memory.
class WipedText {
 public:
  WipedText() = default;
  WipedText(const WipedText&) = delete;
  WipedText& operator=(const WipedText&) = delete;
  ~WipedText() {
    text_.resize(text_.capacity());
    SecureZeroMemory(text_.data(), text_.size());
  }

  std::string& storage() { return text_; }  // The memory itself.

 private:
  std::string text_;
};

std::size_t CountUtf16Units(std::string_view utf8) {
  std::size_t units = 0;
  for (const char c : utf8) {
    const auto byte = static_cast<unsigned char>(c);
    const bool continuation = (byte & 0xC0U) == 0x80U;
    units += (continuation ? 0U : 1U) + (byte >= 0xF0U ? 1U : 0U);
  }
  return units;
}

void CopyInto(std::string_view text, std::string& storage) {
  if (text.data() != storage.data()) storage.assign(text);
}

// Repairs of known artefacts in decoded UTF-8. Each returns the repaired text: `text` itself when nothing needs
// repair, else text in `storage`, which must be empty or begin with `text`.

// Every yen sign becomes a backslash.
std::string_view WithoutYenSigns(std::string_view text, std::string& storage) {
  constexpr std::string_view kYenSign = "\xC2\xA5";
  if (text.find(kYenSign) == std::string_view::npos) return text;
  CopyInto(text, storage);
  std::size_t out = 0;
  for (std::size_t i = 0; i < storage.size(); ++i) {
    const bool yen = storage.compare(i, kYenSign.size(), kYenSign) == 0;
    storage[out++] = yen ? '\\' : storage[i];
    if (yen) ++i;
  }
  storage.resize(out);
  return storage;
}

// When the text has more UTF-16 units than it has bytes before its first zero byte, says so on standard
// output, and every zero becomes a space.
std::string_view WithoutZeros(std::string_view text, std::string& storage) {
  const std::size_t beforeZero = text.find('\0');
  if (beforeZero == std::string_view::npos) return text;
  const std::size_t units = CountUtf16Units(text);
  if (units <= beforeZero) return text;
  std::printf("Encoded string needs fixing (length %zu, strlen %zu)", units, beforeZero);
  CopyInto(text, storage);
  std::replace(storage.begin(), storage.end(), '\0', ' ');
  return storage;
}

using Text = std::optional<std::string_view>;

bool HasUtf16Mark(std::string_view bytes) {
  const auto isHalf = [](char c) { return c == '\xFE' || c == '\xFF'; };
  return bytes.size() >= 2 && isHalf(bytes[0]) && isHalf(bytes[1]);
}

bool HasUtf8Mark(std::string_view bytes) {
  return bytes.size() >= 2 && bytes[0] == '\xEF';
}

unsigned int DeclaredIn(std::string_view text) {
  const std::optional<std::string_view> name = FindDeclaredEncoding(text);
  return name ? DeclaredEncodingNumber(*name) : kWobEncodingUnknown;
}

// Tries `encoding` and then the fallbacks; sets it to the one that was tried last.
Text DecodeInTurn(std::string_view bytes, unsigned int& encoding, std::string& storage) {
  Text text = Posix::DecodeNumbered(encoding, bytes, storage);
  for (const unsigned int next : {Posix::kUtf8, Posix::kMacJapanese, Posix::kSystemEncoding}) {
    if (text) break;
    if (encoding == next) continue;
    encoding = next;
    text = Posix::DecodeNumbered(encoding, bytes, storage);
  }
  return text;
}

Text DecodeUnmarked(std::string_view bytes, unsigned int& encoding, std::string& storage) {
  const unsigned int declared = DeclaredIn(bytes);
  if (declared != kWobEncodingUnknown) encoding = declared;
  if (encoding == kWobEncodingUnknown) encoding = Posix::kSystemEncoding;
  Text text = DecodeInTurn(bytes, encoding, storage);
  if (text && encoding == Posix::kMacJapanese) text = WithoutYenSigns(*text, storage);
  return text;
}

Text DecodeDetecting(std::string_view bytes, unsigned int& encoding, std::string& storage) {
  const bool utf16 = HasUtf16Mark(bytes);
  if (!utf16 && !HasUtf8Mark(bytes)) return DecodeUnmarked(bytes, encoding, storage);
  encoding = kWobEncodingUnknown;
  return utf16 ? Posix::DecodeUtf16(bytes, storage)
               : Posix::DecodeNumbered(Posix::kUtf8, bytes, storage);
}

// Reached only after a byte-order mark, since Mac Roman accepts all bytes; hence 'unknown' in the message.
OxString ReadLossily(std::string_view bytes) {
  std::printf("Could not load using encoding 'unknown'; falling back to lossy ASCII");
  WipedText storage;
  return OxString::from_valid(
      Posix::DecodeNumbered(Posix::kSystemEncoding, bytes, storage.storage()).value());
}

}  // namespace

OxString WobHandleCharacterEncodings(const OxBuffer& bytes, unsigned int& encoding) {
  if (bytes.empty()) return {};
  WipedText storage;
  const Text text = DecodeDetecting(bytes.view(), encoding, storage.storage());
  if (!text) return ReadLossily(bytes.view());
  return OxString::from_valid(WithoutZeros(*text, storage.storage()));
}

unsigned int WobCheckForExplicitEncoding(const char* text) {
  if (text == nullptr) {
    std::printf("WobCheckForExplicitEncoding: got nil input");
    return kWobEncodingUnknown;
  }
  return DeclaredIn(text);
}

unsigned int WobCheckForExplicitEncoding(const OxString& text) {
  return DeclaredIn(text.view());
}

int WobConvertToUTF8(unsigned int encoding, const char* bytes, unsigned long length, OxString& text) {
  WipedText storage;
  const Text decoded = Posix::DecodeNumbered(encoding, {bytes, length}, storage.storage());
  if (decoded) text = OxString::from_valid(*decoded);
  return 1;
}

OxString WobDecodeUsingCharset(const OxBuffer& bytes, const OxString& charset) {
  WipedText storage;
  const std::string name(charset.view());
  std::optional<unsigned int> number = FindEncodingNumber(name);
  if (!number) number = FindEncodingNumber(Posix::StandardName(name));
  const Text text = number ? Posix::DecodeNumbered(*number, bytes.view(), storage.storage())
                           : Posix::DecodeNamed(name, bytes.view(), storage.storage());
  return text ? OxString::from_valid(*text) : OxString();
}

unsigned int WobGetWobFileEncoding() {
  return g_wobFileEncoding;
}

void WobSetWobFileEncoding(unsigned int encoding) {
  g_wobFileEncoding = encoding;
}
