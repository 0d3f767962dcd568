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
#include "Storage/OxMappedFile.h"

namespace {

constexpr std::uint64_t kFileLimit = 0xFFFFFFFF;  // Bytes; what can be mapped to be verified.

// The longest signature that a key of the library can make has 2732 characters; the text of a longer one is
// not worth a copy.
constexpr std::size_t kLongestSignatureText = 4096;

// With a smaller number in front of the magic there is no trailer, with any other there is one, be it damaged.
constexpr std::uint32_t kLeastTrailerLength = 2;

OxBuffer Copy(std::string_view bytes) {
  return OxBuffer(bytes.data(), bytes.size());
}

void Feed(OxSignature& signature, std::string_view bytes) {
  signature.UpdateDigest(reinterpret_cast<const unsigned char*>(bytes.data()),
                         static_cast<unsigned int>(bytes.size()));
}

// The content is read, not looked at in the mapping: taking a mapping in page by page costs more than a
// copy that stays in the cache, and a file that is cut short meanwhile is a failure, not the process's end.
bool FeedContent(OxSignature& signature, OxFile& file, std::uint64_t length) {
  constexpr std::size_t kChunk = std::size_t{256} * 1024;
  const auto buffer = std::make_unique_for_overwrite<std::byte[]>(kChunk);
  for (std::uint64_t position = 0; position < length;) {
    const std::span<std::byte> chunk(buffer.get(), std::min<std::uint64_t>(length - position, kChunk));
    std::size_t got = 0;
    if (file.ReadAt(position, chunk, got) != kStatusOk) return false;
    Feed(signature, {reinterpret_cast<const char*>(chunk.data()), got});
    position += got;
  }
  return true;
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

bool ApplyChange(const OxString& path, const TailChange& change) {
  OxFile file(path);
  if (!OpenSigned(file, change)) return false;
  // Another length or time means that somebody has changed the file since it was read.
  Posix::FileInfo now;
  if (file.GetInfo(now) != kStatusOk || now.modified != change.signedFile.modified) return false;
  if (now.size != change.oldFileLength) return false;
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
Hux::SmartPtr<OxCertificate> ReadCanonicalCertificate(std::string_view pem) {
  try {
    Hux::SmartPtr<OxCertificate> certificate = OxCertificate::Make(Copy(pem));
    if (certificate->GetAsPEM().view() == pem) return certificate;
  } catch (const OxCertificate::UnableToSetPEM&) {
    // Nothing to take for a certificate.
  }
  return nullptr;
}

// Decoding base64 takes more than the one text that encoding writes, and so more than one file.
bool IsCanonicalBase64(std::string_view text) {
  OxBuffer bytes = Copy(text);
  if (!bytes.FromBase64()) return false;
  bytes.ToBase64();
  return bytes.view() == text;
}

std::string_view ContentToSign(std::string_view file) {
  const std::uint32_t oldTrailer = SignatureTrailer::FindLength(file).value_or(0);
  // A length beyond the file's is no trailer's.
  return oldTrailer > file.size() ? file : file.substr(0, file.size() - oldTrailer);
}

std::int32_t SignFile(const OxString& path, const Hux::SmartPtr<OxCertificate>& certificate) {
  TailChange change;
  OxFile source(path);
  OxMappedFile mapping;
  // Locked until the end, so that two runs do not sign one file at the same time.
  const bool isReady = source.Open(OxFile::kRead) == kStatusOk && source.Lock() == kStatusOk &&
                       source.GetInfo(change.signedFile) == kStatusOk && mapping.Open(source);
  if (!isReady) return OxFileSigner::kCannotOpen;
  const std::string_view file = mapping.view();
  const std::string_view content = ContentToSign(file);
  const OxBuffer pem = certificate ? certificate->GetAsPEM() : OxBuffer();
  OxSignature signature(certificate);
  if (!FeedContent(signature, source, content.size())) return OxFileSigner::kCannotOpen;
  Feed(signature, pem.view());
  OxBuffer text;
  signature.SignBase64(text);
  // A certificate that no reader would take counts as one that the signature does not fit.
  const bool isReadable =
      pem.length() <= SignatureTrailer::kLongestCertificate && ReadCanonicalCertificate(pem.view());
  if (!isReadable || !signature.VerifyBase64(text)) return OxFileSigner::kKeyMismatch;

  change.contentLength = content.size();
  change.oldFileLength = file.size();
  change.trailer = SignatureTrailer{text.view(), pem.view()}.Build();
  if (change.NewFileLength() > kFileLimit) return OxFileSigner::kCannotOpen;
  change.overwritten = Copy(file.substr(content.size(), change.trailer.length()));
  mapping.Close();
  if (!ApplyChange(path, change)) ReportUnwritten(path);
  return OxFileSigner::kSuccess;
}

// What is compared and what is hashed are one copy, whatever somebody writes into the mapped file meanwhile.
std::int32_t CheckTrailer(OxFile& file, std::uint64_t contentLength, const SignatureTrailer& trailer,
                          OxString& signer, unsigned long& trust) {
  const OxBuffer pem = Copy(trailer.certificate);
  const Hux::SmartPtr<OxCertificate> certificate = ReadCanonicalCertificate(pem.view());
  if (!certificate) return OxFileSigner::kUnreadable;
  OxSignature signature(certificate);
  if (!FeedContent(signature, file, contentLength)) return OxFileSigner::kUnreadable;
  Feed(signature, pem.view());
  signer = certificate->GetSigner();
  if (trailer.signature.size() > kLongestSignatureText) return OxFileSigner::kMismatch;
  const OxBuffer text = Copy(trailer.signature);
  if (!IsCanonicalBase64(text.view()) || !signature.VerifyBase64(text)) return OxFileSigner::kMismatch;
  if (!certificate->IsValid()) return OxFileSigner::kNotTrusted;
  trust = certificate->GetTrust();
  return OxFileSigner::kSuccess;
}

std::int32_t VerifyFile(const OxString& path, OxString& signer, unsigned long& trust) {
  OxFile source(path);
  OxMappedFile mapping;
  if (source.Open(OxFile::kRead) != kStatusOk) return OxFileSigner::kCannotOpen;
  if (source.GetLastKnownLength() == 0) return OxFileSigner::kNoSignature;
  if (!mapping.Open(source)) return OxFileSigner::kCannotOpen;
  const std::string_view file = mapping.view();
  const std::optional<std::uint32_t> length = SignatureTrailer::FindLength(file);
  if (!length || *length < kLeastTrailerLength) return OxFileSigner::kNoSignature;
  if (*length > file.size()) return OxFileSigner::kUnreadable;
  const std::size_t start = file.size() - *length;
  const std::optional<SignatureTrailer> trailer = SignatureTrailer::Parse(file.substr(start));
  if (!trailer) return OxFileSigner::kUnreadable;
  return CheckTrailer(source, start, *trailer, signer, trust);
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
    // Out of memory, before anything was written.
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
