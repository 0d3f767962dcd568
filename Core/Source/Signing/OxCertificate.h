#pragma once

#include "Foundation/OxBuffer.h"
#include "Foundation/OxString.h"
#include "Foundation/Retainable.h"
#include "Foundation/SmartPtr.h"
#include "Signing/CryptoHandles.h"

/// One X.509 certificate with its RSA keys: the public key in it and, for signing, a private key that the caller
/// sets.
///   Owns:    the certificate object and both keys; returned raw pointers are not to be freed, and are valid until
///            the next Set(), SetPrivateKey() or the end of the object.
///   Errors:  only PEM text throws (UnableToSetPEM), GetSigner() for a name that is not UTF-8, and
///            std::bad_alloc.
///   Threads: one at a time for a certificate and its copies.
/// Call InitialiseCryptoLibrary() first; OxFileSigner does so itself.
class OxCertificate : public Hux::Retainable {
 public:
  /// The text does not contain a readable certificate.
  class UnableToSetPEM {};

  /// Takes ownership; null makes a certificate without an X.509 object.
  explicit OxCertificate(x509_st* certificate);
  /// Throws UnableToSetPEM.
  explicit OxCertificate(const OxBuffer& pem);
  /// A duplicate of the other's X.509 object. The private key is not copied. The result has no X.509
  /// object if the other has none or is null.
  explicit OxCertificate(const Hux::SmartPtr<OxCertificate>& other);
  ~OxCertificate() override;

  /// The constructors above; the smart pointer owns the first reference.
  static Hux::SmartPtr<OxCertificate> Make(x509_st* certificate);
  static Hux::SmartPtr<OxCertificate> Make(const OxBuffer& pem);
  static Hux::SmartPtr<OxCertificate> Make(const Hux::SmartPtr<OxCertificate>& other);

  /// Takes ownership of `certificate` (not the current one). Both keys are released first, so set the private key
  /// after the certificate.
  void Set(x509_st* certificate);
  /// Reads the first certificate of a PEM text; text before and after it is ignored. Throws
  /// UnableToSetPEM, with nothing changed, when there is none. An encrypted one counts as none: nothing prompts
  /// for a pass phrase.
  void Set(const OxBuffer& pem);
  /// Takes ownership of `key` (not the current key) and frees the previous one.
  void SetPrivateKey(rsa_st* key);

  /// Null when the certificate has no key or one that is not RSA.
  rsa_st* GetPublicKey() const { return publicKey_.get(); }
  rsa_st* GetPrivateKey() const { return privateKey_.get(); }  ///< Null until one is set.
  /// The X.509 object of the cryptographic library, or null.
  x509_st* GetPlatCert() const { return certificate_.get(); }

  /// The subject's commonName, at most its first 255 bytes and up to its first zero byte; empty
  /// when there is none. Throws OxString::InvalidEncoding when those bytes are not UTF-8.
  OxString GetSigner() const;
  /// The canonical PEM text with its last line end, without a terminator; empty without a
  /// certificate. It may differ in line breaks from the text that was read.
  OxBuffer GetAsPEM() const;
  /// The 20 bytes of the SHA-1 digest of the DER form; empty on failure.
  OxBuffer GetFingerprint() const;
  /// The trust value of this certificate in the built-in table, 0 for a certificate that is not in it. The chain is
  /// not examined.
  unsigned long GetTrust() const;
  /// Whether the certificate chains to one of the built-in roots now. Deliberate: a certificate of
  /// the chain that has expired, or has an unknown critical extension, is accepted; one that is not yet
  /// valid is not.
  bool IsValid() const;

 private:
  void FetchPublicKey();
  void FreeKeys();
  void FreePlatCert();

  Crypto::Ptr<x509_st> certificate_;
  Crypto::Ptr<rsa_st> publicKey_;
  Crypto::Ptr<rsa_st> privateKey_;
};
