#include "Signing/SignatureTrailer.h"

#include "Storage/OxBinaryData.h"

namespace {

constexpr std::uint32_t kMagic = 0x7369676E;
constexpr std::size_t kNumberBytes = 4;
constexpr std::size_t kFooterBytes = 2 * kNumberBytes;  // T and the magic behind it.

std::uint32_t NumberAt(std::string_view bytes, std::size_t position) {
  std::uint32_t number = 0;
  for (std::size_t i = kNumberBytes; i-- > 0;) {
    number = number << 8 | static_cast<unsigned char>(bytes[position + i]);
  }
  return number;
}

// Takes a number, and then as many bytes as it says, off the front.
std::optional<std::string_view> TakeText(std::string_view& rest) {
  if (rest.size() < kNumberBytes) return std::nullopt;
  const std::uint32_t length = NumberAt(rest, 0);
  rest.remove_prefix(kNumberBytes);
  if (rest.size() < length) return std::nullopt;
  const std::string_view text = rest.substr(0, length);
  rest.remove_prefix(length);
  return text;
}

}  // namespace

std::optional<std::uint32_t> SignatureTrailer::FindLength(std::string_view file) {
  if (file.size() <= kFooterBytes) return std::nullopt;
  const std::string_view footer = file.substr(file.size() - kFooterBytes);
  if (NumberAt(footer, kNumberBytes) != kMagic) return std::nullopt;
  return NumberAt(footer, 0);
}

std::optional<SignatureTrailer> SignatureTrailer::Parse(std::string_view block) {
  if (block.size() < kNumberBytes) return std::nullopt;
  std::string_view rest = block.substr(kNumberBytes);
  const std::optional<std::string_view> signature = TakeText(rest);
  if (!signature) return std::nullopt;
  const std::optional<std::string_view> certificate = TakeText(rest);
  if (!certificate || certificate->size() > kLongestCertificate) return std::nullopt;
  // Bytes between the certificate and T would belong neither to the content nor to what is signed.
  if (rest.size() != kFooterBytes) return std::nullopt;
  return SignatureTrailer{*signature, *certificate};
}

OxBuffer SignatureTrailer::Build() const {
  constexpr OxBinaryData::WhichEnd kEnd = OxBinaryData::kLittleEndian;
  OxBinaryData block;
  block.AddUInt32(kMagic, kEnd);
  block.AddUInt32(signature.size(), kEnd);
  block.Append(signature.data(), signature.size());
  block.AddUInt32(certificate.size(), kEnd);
  block.Append(certificate.data(), certificate.size());
  block.AddUInt32(block.length() + kFooterBytes, kEnd);
  block.AddUInt32(kMagic, kEnd);
  return block.GetBytes(block.length());
}
