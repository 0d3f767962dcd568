#include "Signing/SignatureTrailer.h"

#include <span>

#include "Files/OxBinaryData.h"

namespace {

constexpr OxBinaryData::WhichEnd kEnd = OxBinaryData::kLittleEndian;
constexpr std::uint32_t kMagic = 0x7369676E;
constexpr std::size_t kNumberBytes = 4;
constexpr std::size_t kFooterBytes = 2 * kNumberBytes;  // T and the magic behind it.
constexpr std::size_t kBytesBesideTexts = 3 * kNumberBytes + kFooterBytes;

std::uint32_t NumberAt(OxFile& file, std::uint64_t position) {
  return OxBinaryData(ReadBytes(file, position, kNumberBytes)).GetUInt32(kEnd);
}

}  // namespace

OxBuffer ReadBytes(OxFile& file, std::uint64_t position, std::size_t count) {
  OxBuffer bytes;
  bytes.SetLength(count);
  std::size_t got = 0;
  const FileStatus status =
      file.ReadAt(position, std::as_writable_bytes(std::span(bytes.data(), count)), got);
  if (status != kStatusOk) throw OxFile::FileError(status);
  return bytes;
}

std::optional<std::uint32_t> SignatureTrailer::FindLength(OxFile& file, std::uint64_t size) {
  if (size <= kFooterBytes) return std::nullopt;
  const OxBinaryData footer(ReadBytes(file, size - kFooterBytes, kFooterBytes));
  const std::uint32_t length = footer.GetUInt32(kEnd);
  return footer.GetUInt32(kEnd) == kMagic ? std::optional(length) : std::nullopt;
}

// Bytes between the certificate and T would belong neither to the content nor to what is signed.
std::optional<SignatureTrailer> SignatureTrailer::Read(OxFile& file, std::uint64_t start,
                                                       std::uint32_t length) {
  if (length < kBytesBesideTexts) return std::nullopt;
  const std::size_t texts = length - kBytesBesideTexts;
  const std::uint64_t signaturePosition = start + 2 * kNumberBytes;
  const std::uint32_t signatureLength = NumberAt(file, signaturePosition - kNumberBytes);
  if (signatureLength > texts) return std::nullopt;
  const std::uint64_t certificatePosition = signaturePosition + signatureLength + kNumberBytes;
  const std::uint32_t certificateLength = NumberAt(file, certificatePosition - kNumberBytes);
  if (certificateLength != texts - signatureLength) return std::nullopt;
  if (certificateLength > kLongestCertificate) return std::nullopt;
  SignatureTrailer trailer;
  if (signatureLength <= kLongestSignature) {
    trailer.signature = ReadBytes(file, signaturePosition, signatureLength);
  }
  trailer.certificate = ReadBytes(file, certificatePosition, certificateLength);
  return trailer;
}

OxBuffer SignatureTrailer::Build() const {
  OxBinaryData block;
  block.AddUInt32(kMagic, kEnd);
  block.AddUInt32(signature.length(), kEnd);
  block.Append(signature);
  block.AddUInt32(certificate.length(), kEnd);
  block.Append(certificate);
  block.AddUInt32(block.length() + kFooterBytes, kEnd);
  block.AddUInt32(kMagic, kEnd);
  return block.GetBytes(block.length());
}
