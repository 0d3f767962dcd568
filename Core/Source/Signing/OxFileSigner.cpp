#include "Signing/OxFileSigner.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "Files/CryptoLibrary.h"
#include "Files/OxFile.h"
#include "Foundation/VisibleText.h"
#include "Posix/StandardStreams.h"
#include "Posix/StatusLine.h"
#include "Signing/OxSignature.h"
#include "Signing/SignatureTrailer.h"

namespace {

constexpr std::uint64_t kFileLimit = 0xFFFFFFFF;  // Bytes; of a signed file.

// T below 2 means "unsigned"; any larger T is a trailer, perhaps a damaged one.
constexpr std::uint32_t kLeastTrailerLength = 2;

void Feed(OxSignature& signature, std::string_view bytes) {
  signature.UpdateDigest(reinterpret_cast<const unsigned char*>(bytes.data()),
                         static_cast<unsigned int>(bytes.size()));
}

// Throws OxFile::FileError for a file that is truncated meanwhile.
void FeedContent(OxSignature& signature, OxFile& file, std::uint64_t length) {
  constexpr std::size_t kChunk = std::size_t{256} * 1024;
  const auto buffer = std::make_unique_for_overwrite<std::byte[]>(kChunk);
  for (std::uint64_t position = 0; position < length;) {
    const std::span<std::byte> chunk(
        buffer.get(), static_cast<std::size_t>(std::min<std::uint64_t>(length - position, kChunk)));
    std::size_t got = 0;
    const FileStatus status = file.ReadAt(position, chunk, got);
    if (status != kStatusOk) throw OxFile::FileError(status);
    Feed(signature, {reinterpret_cast<const char*>(chunk.data()), got});
    position += got;
  }
}

// What signing changes at the end of a file, and what is needed to restore it.
struct TailChange {
  Posix::FileInfo signedFile;  // Before anything of it was read.
  std::uint64_t contentLength = 0;
  std::uint64_t oldFileLength = 0;
  OxBuffer overwritten;  // The old bytes where the new trailer goes.
  OxBuffer trailer;

  std::uint64_t NewFileLength() const { return contentLength + trailer.length(); }
};

// std::bad_alloc counts as a failed write, so that the old bytes are restored.
bool WriteAt(OxFile& file, std::uint64_t position, const OxBuffer& bytes) {
  try {
    return file.SetPosition(position) == 0 && file.Write(bytes.data(), bytes.length()) == 0;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

// Opens the path if it still names the file whose content was signed.
bool OpenSigned(OxFile& file, const TailChange& change) {
  Posix::FileInfo info;
  return file.Open(OxFile::kWrite) == kStatusOk && file.GetInfo(info) == kStatusOk &&
         info.IsSameObject(change.signedFile);
}

// Truncates through a second open, after close() has confirmed the write.
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
  // A different length or time: the file was changed since it was read.
  Posix::FileInfo now;
  if (file.GetInfo(now) != kStatusOk || !IsUnchanged(change.signedFile, now)) return false;
  const bool isWritten = WriteAt(file, change.contentLength, change.trailer) && file.Close() == 0;
  if (isWritten && Cut(file, change)) return true;
  PutBack(file, change);
  return false;
}

void ReportUnwritten(const OxString& path) {
  const bool isTerminal = Posix::StandardErrorIsTerminal();
  const std::string shown = isTerminal ? VisibleText(path.view()) : std::string(path.view());
  Posix::EraseStatusLine();
  std::fflush(stdout);
  std::fprintf(stderr, "Error: could not write to file '%s'\n", shown.c_str());
}

// Null unless `pem` is, byte for byte, the canonical text of its certificate. PEM readers skip text before and after
// the certificate, so any other text could hold bytes moved out of the content, or bytes that another reader of the
// file would interpret.
Hux::SmartPtr<OxCertificate> ReadCanonicalCertificate(const OxBuffer& pem) {
  try {
    Hux::SmartPtr<OxCertificate> certificate = OxCertificate::Make(pem);
    if (certificate->GetAsPEM().view() == pem.view()) return certificate;
  } catch (const OxCertificate::UnableToSetPEM&) {
    // Not a certificate.
  }
  return nullptr;
}

// The decoder accepts several texts for the same bytes; only the one that the encoder writes is valid.
bool IsCanonicalBase64(const OxBuffer& text) {
  OxBuffer bytes(text);
  if (!bytes.FromBase64()) return false;
  bytes.ToBase64();
  return bytes.view() == text.view();
}

// Refuses 4 GiB and more: lengths in a trailer have 32 bits.
bool OpenToRead(OxFile& file) {
  if (file.Open(OxFile::kRead) != kStatusOk) return false;
  return file.GetLastKnownLength() <= kFileLimit;
}

std::uint64_t ContentLength(OxFile& file, std::uint64_t size) {
  const std::uint32_t oldTrailer = SignatureTrailer::FindLength(file, size).value_or(0);
  // With a T above the file's length there is no trailer.
  return oldTrailer > size ? size : size - oldTrailer;
}

std::int32_t SignFile(const OxString& path, const Hux::SmartPtr<OxCertificate>& certificate) {
  TailChange change;
  OxFile source(path);
  // Locked until the end, so that two processes do not sign one file at the same time.
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
  // A certificate that Verify() would refuse counts as a mismatch.
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
    // Out of memory, or the file cannot be read to its end; nothing was written.
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
