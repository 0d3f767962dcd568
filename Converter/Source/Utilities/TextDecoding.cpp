#include "Utilities/TextDecoding.h"

#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include "Posix/Encodings.h"
#include "Utilities/DeclarationSearch.h"
#include "Utilities/EncodingNames.h"
#include "Utilities/TextRepairs.h"
#include "Utilities/WipedText.h"

namespace {

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
