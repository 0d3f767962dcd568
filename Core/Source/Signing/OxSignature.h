#pragma once

#include <array>

#include "Foundation/OxBuffer.h"
#include "Foundation/SmartPtr.h"
#include "Signing/CryptoHandles.h"
#include "Signing/OxCertificate.h"

/// One RSA signature over a stream of bytes: SHA-1, PKCS #1 v1.5, with the keys of one certificate.
///   Shape:   UpdateDigest()... -> Sign() or Verify(), any number of times. The first of those ends the
///            digest, and every later one uses the same 20 bytes; UpdateDigest() then adds nothing.
///   Owns:    a reference to the certificate (null acts as one without keys) and the digest.
///   Errors:  false results; nothing throws but std::bad_alloc. A digest that the library could not
///            compute neither signs nor verifies.
class OxSignature {
 public:
  /// Signs with the certificate's private key and verifies with its public one.
  explicit OxSignature(Hux::SmartPtr<OxCertificate> certificate);
  OxSignature(const OxSignature&) = delete;
  OxSignature& operator=(const OxSignature&) = delete;
  ~OxSignature();

  /// Adds `n` bytes; 1 on success, 0 when the digest failed or has ended.
  int UpdateDigest(const unsigned char* bytes, unsigned int n);

  /// Sets `out` to the signature's bytes and returns whether `out` holds anything. Without a
  /// private key `out` is left alone. Deliberate: when signing itself fails, `out` keeps 513 bytes
  /// that are no signature and the result is true; callers verify what they have just signed. Keys
  /// of more than 4104 bits fail in this way.
  bool Sign(OxBuffer& out);
  /// The same, and then turns what `out` holds into base64 text, also where there was no private key.
  bool SignBase64(OxBuffer& out);

  /// Whether the certificate's public key accepts `signature` for the bytes fed in.
  bool Verify(const OxBuffer& signature);
  /// The same for base64 text. False when its length is no multiple of 4.
  bool VerifyBase64(const OxBuffer& text);

 private:
  static constexpr std::size_t kDigestBytes = 20;

  bool FinishDigest();

  Hux::SmartPtr<OxCertificate> certificate_;
  CryptoPtr<evp_md_ctx_st> context_;
  std::array<unsigned char, kDigestBytes> digest_{};
  bool digestIsValid_ = false;
};
