#include "Signing/OxFileSigner.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

#include "Signing/OxSignature.h"
#include "Signing/SignatureTrailer.h"
#include "Storage/OxFile.h"

namespace {

constexpr std::uint64_t kFileLimit = 0xFFFFFFFF;  // Bytes; of a signed file.

// With a smaller number in front of the magic there is no trailer, with any other there is one, be it damaged.
constexpr std::uint32_t kLeastTrailerLength = 2;

void Feed(OxSignature& signature, std::string_view bytes) {
  signature.UpdateDigest(reinterpret_cast<const unsigned char*>(bytes.data()),
                         static_cast<unsigned int>(bytes.size()));
}

// A file that is cut short meanwhile throws OxFile::FileError.
void FeedContent(OxSignature& signature, OxFile& file, std::uint64_t length) {
  constexpr std::size_t kChunk = std::size_t{256} * 1024;
  const auto buffer = std::make_unique_for_overwrite<std::byte[]>(kChunk);
  for (std::uint64_t position = 0; position < length;) {
    const std::span<std::byte> chunk(buffer.get(), std::min<std::uint64_t>(length - position, kChunk));
    std::size_t got = 0;
    const FileStatus status = file.ReadAt(position, chunk, got);
    if (status != kStatusOk) throw OxFile::FileError(status);
    Feed(signature, {reinterpret_cast<const char*>(chunk.data()), got});
    position += got;
  }
}

// What signing changes at the end of a file, with what it takes to put it back.
struct TailChange {
  Posix::FileInfo signedFile;  // As it was before anything of it was read.
  std::uint64_t contentLength = 0;
  std::uint64_t oldFileLength = 0;
  OxBuffer overwritten;  // The old bytes in the place of the new trailer.
  OxBuffer trailer;

  std::uint64_t NewFileLength() const { return contentLength + trailer.length(); }
};

// Out of memory is one more way to fail, so that what was written until then is put back.
bool WriteAt(OxFile& file, std::uint64_t position, const OxBuffer& bytes) {
  try {
    return file.SetPosition(position) == 0 && file.Write(bytes.data(), bytes.length()) == 0;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

// Opens what the path names if that still is the file that was signed.
bool OpenSigned(OxFile& file, const TailChange& change) {
  Posix::FileInfo info;
  return file.Open(OxFile::kWrite) == kStatusOk && file.GetInfo(info) == kStatusOk &&
         info.IsSameObject(change.signedFile);
}

// Cutting has an opening of its own: by then the closing has told that the trailer was written.
bool Cut(OxFile& file, const TailChange& change) {
  if (change.NewFileLength() >= change.oldFileLength) return true;
  return OpenSigned(file, change) && file.SetEOF(change.NewFileLength()) == 0;
}

void PutBack(OxFile& file, const TailChange& change) {
  if (!OpenSigned(file, change)) return;
  WriteAt(file, change.contentLength, change.overwritten);
  file.SetEOF(change.oldFileLength);
}

bool IsUnchanged(const Posix::FileInfo& before, const Posix::FileInfo& now) {
  return now.size == before.size && now.modified == before.modified &&
         now.modifiedFraction == before.modifiedFraction;
}

bool ApplyChange(const OxString& path, const TailChange& change) {
  OxFile file(path);
  if (!OpenSigned(file, change)) return false;
  // Another length or time means that somebody has changed the file since it was read.
  Posix::FileInfo now;
  if (file.GetInfo(now) != kStatusOk || !IsUnchanged(change.signedFile, now)) return false;
  const bool isWritten = WriteAt(file, change.contentLength, change.trailer) && file.Close() == 0;
  if (isWritten && Cut(file, change)) return true;
  PutBack(file, change);
  return false;
}

void ReportUnwritten(const OxString& path) {
  std::fflush(stdout);
  std::fprintf(stderr, "Error: could not write to file '%s'\n", path.c_str());
}

// Null unless `pem` is, byte for byte, the text of the certificate that it holds. Reading PEM passes over what
// stands around a certificate, so that any other text could hold bytes of the content, or bytes that mean
// something to another reader of the file.
Hux::SmartPtr<OxCertificate> ReadCanonicalCertificate(const OxBuffer& pem) {
  try {
    Hux::SmartPtr<OxCertificate> certificate = OxCertificate::Make(pem);
    if (certificate->GetAsPEM().view() == pem.view()) return certificate;
  } catch (const OxCertificate::UnableToSetPEM&) {
    // Nothing to take for a certificate.
  }
  return nullptr;
}

// Decoding base64 takes more than the one text that encoding writes, and so more than one file.
bool IsCanonicalBase64(const OxBuffer& text) {
  OxBuffer bytes(text);
  if (!bytes.FromBase64()) return false;
  bytes.ToBase64();
  return bytes.view() == text.view();
}

// One of 4 GiB or more is refused, since the lengths in a trailer have 32 bits.
bool OpenToRead(OxFile& file) {
  if (file.Open(OxFile::kRead) != kStatusOk) return false;
  return file.GetLastKnownLength() <= kFileLimit;
}

std::uint64_t ContentLength(OxFile& file, std::uint64_t size) {
  const std::uint32_t oldTrailer = SignatureTrailer::FindLength(file, size).value_or(0);
  // A length beyond the file's is no trailer's.
  return oldTrailer > size ? size : size - oldTrailer;
}

std::int32_t SignFile(const OxString& path, const Hux::SmartPtr<OxCertificate>& certificate) {
  TailChange change;
  OxFile source(path);
  // Locked until the end, so that two runs do not sign one file at the same time.
  const bool isReady = OpenToRead(source) && source.Lock() == kStatusOk &&
                       source.GetInfo(change.signedFile) == kStatusOk && change.signedFile.size > 0;
  if (!isReady) return OxFileSigner::kCannotOpen;
  change.oldFileLength = change.signedFile.size;
  change.contentLength = ContentLength(source, change.oldFileLength);
  SignatureTrailer trailer;
  if (certificate) trailer.certificate = certificate->GetAsPEM();
  OxSignature signature(certificate);
  FeedContent(signature, source, change.contentLength);
  Feed(signature, trailer.certificate.view());
  signature.SignBase64(trailer.signature);
  // A certificate that no reader would take counts as one that the signature does not fit.
  const bool isReadable = trailer.certificate.length() <= SignatureTrailer::kLongestCertificate &&
                          ReadCanonicalCertificate(trailer.certificate);
  if (!isReadable || !signature.VerifyBase64(trailer.signature)) return OxFileSigner::kKeyMismatch;

  change.trailer = trailer.Build();
  if (change.NewFileLength() > kFileLimit) return OxFileSigner::kCannotOpen;
  const std::uint64_t overwritten =
      std::min<std::uint64_t>(change.oldFileLength - change.contentLength, change.trailer.length());
  change.overwritten = ReadBytes(source, change.contentLength, overwritten);
  if (!ApplyChange(path, change)) ReportUnwritten(path);
  return OxFileSigner::kSuccess;
}

std::int32_t CheckTrailer(OxFile& file, std::uint64_t contentLength, const SignatureTrailer& trailer,
                          OxString& signer, unsigned long& trust) {
  const Hux::SmartPtr<OxCertificate> certificate = ReadCanonicalCertificate(trailer.certificate);
  if (!certificate) return OxFileSigner::kUnreadable;
  OxSignature signature(certificate);
  FeedContent(signature, file, contentLength);
  Feed(signature, trailer.certificate.view());
  signer = certificate->GetSigner();
  if (!IsCanonicalBase64(trailer.signature) || !signature.VerifyBase64(trailer.signature)) {
    return OxFileSigner::kMismatch;
  }
  if (!certificate->IsValid()) return OxFileSigner::kNotTrusted;
  trust = certificate->GetTrust();
  return OxFileSigner::kSuccess;
}

std::int32_t VerifyFile(const OxString& path, OxString& signer, unsigned long& trust) {
  OxFile file(path);
  if (!OpenToRead(file)) return OxFileSigner::kCannotOpen;
  const std::uint64_t size = file.GetLastKnownLength();
  const std::optional<std::uint32_t> length = SignatureTrailer::FindLength(file, size);
  if (!length || *length < kLeastTrailerLength) return OxFileSigner::kNoSignature;
  if (*length > size) return OxFileSigner::kUnreadable;
  const std::uint64_t start = size - *length;
  const std::optional<SignatureTrailer> trailer = SignatureTrailer::Read(file, start, *length);
  if (!trailer) return OxFileSigner::kUnreadable;
  return CheckTrailer(file, start, *trailer, signer, trust);
}

}  // namespace

void OxFileSigner::LazyInit() {
  [[maybe_unused]] static const bool isInitialised = (InitialiseCryptoLibrary(), true);
}

std::int32_t OxFileSigner::Sign(const OxString& path, const OxString& /*ignored*/,
                                const Hux::SmartPtr<OxCertificate>& certificate) {
  try {
    LazyInit();
    return SignFile(path, certificate);
  } catch (...) {
    // Out of memory, or a file that cannot be read to its end; nothing was written.
    return kCannotOpen;
  }
}

std::int32_t OxFileSigner::Verify(const OxString& path, OxString& signer, unsigned long& trust) {
  trust = 0;
  try {
    LazyInit();
    OxString name;
    const std::int32_t result = VerifyFile(path, name, trust);
    if (result == kSuccess || result == kMismatch || result == kNotTrusted) signer = std::move(name);
    return result;
  } catch (...) {
    return kUnreadable;
  }
}
