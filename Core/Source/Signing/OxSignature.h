#pragma once

#include <array>

#include "Foundation/OxBuffer.h"
#include "Foundation/SmartPtr.h"
#include "Signing/CryptoHandles.h"
#include "Signing/OxCertificate.h"

/// One RSA signature over a stream of bytes: SHA-1, PKCS #1 v1.5, with the keys of one certificate.
///   Usage:   UpdateDigest()... -> Sign() or Verify(), any number of times. The first of those finishes the digest;
///            later ones use the same 20 bytes, and UpdateDigest() has no effect any more.
///   Owns:    a reference to the certificate (null: no keys) and the digest.
///   Errors:  false results; nothing throws but std::bad_alloc. With a digest that the library could not
///            compute, both fail.
class OxSignature {
 public:
  /// Signs with the certificate's private key and verifies with its public one.
  explicit OxSignature(Hux::SmartPtr<OxCertificate> certificate);
  OxSignature(const OxSignature&) = delete;
  OxSignature& operator=(const OxSignature&) = delete;
  ~OxSignature();

  /// Adds `n` bytes; returns 1, or 0 when the digest failed or is finished.
  int UpdateDigest(const unsigned char* bytes, unsigned int n);

  /// Sets `out` to the signature and returns whether `out` is not empty. Without a private key `out` is unchanged.
  /// Deliberate: when signing fails, as with keys of more than 4104 bits, `out` has 513 bytes that are not a
  /// signature and the result is true; verify what was signed.
  bool Sign(OxBuffer& out);
  /// Sign(), then encodes `out` as base64, also without a private key.
  bool SignBase64(OxBuffer& out);

  /// Whether `signature` is valid for the bytes added and the certificate's public key.
  bool Verify(const OxBuffer& signature);
  /// Verify() of base64 text. False when its length is not a multiple of 4.
  bool VerifyBase64(const OxBuffer& text);

 private:
  static constexpr std::size_t kDigestBytes = 20;

  bool FinishDigest();

  Hux::SmartPtr<OxCertificate> certificate_;
  Crypto::Ptr<evp_md_ctx_st> context_;
  std::array<unsigned char, kDigestBytes> digest_{};
  bool digestIsValid_ = false;
};
