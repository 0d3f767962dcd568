#pragma once

#include "Foundation/OxBuffer.h"
#include "Foundation/OxString.h"
#include "Foundation/Retainable.h"
#include "Foundation/SmartPtr.h"
#include "Signing/CryptoHandles.h"

/// One X.509 certificate with the RSA keys that go with it: the public key that it holds and, for
/// signing, a private key that the caller hands in.
///   Owns:    the certificate object and both keys; raw pointers given out are borrowed and live until
///            the next Set(), SetPrivateKey() or the end of the object.
///   Errors:  only PEM text throws (UnableToSetPEM), and GetSigner() for a name that is no UTF-8; and
///            std::bad_alloc.
///   Threads: one for each certificate and its copies.
/// InitialiseCryptoLibrary() comes first; the file signer calls it for its own callers.
class OxCertificate : public Hux::Retainable {
 public:
  /// The text holds no certificate that can be read.
  class UnableToSetPEM {};

  /// Takes ownership; null makes a certificate without an X.509 object.
  explicit OxCertificate(x509_st* certificate);
  /// Throws UnableToSetPEM.
  explicit OxCertificate(const OxBuffer& pem);
  /// A duplicate of the other's X.509 object. The private key is not copied. Another without an
  /// X.509 object, or null, gives a certificate without one.
  explicit OxCertificate(const Hux::SmartPtr<OxCertificate>& other);
  ~OxCertificate() override;

  /// The matching constructors, in a smart pointer that holds the first reference.
  static Hux::SmartPtr<OxCertificate> Make(x509_st* certificate);
  static Hux::SmartPtr<OxCertificate> Make(const OxBuffer& pem);
  static Hux::SmartPtr<OxCertificate> Make(const Hux::SmartPtr<OxCertificate>& other);

  /// Takes ownership of another certificate, not of this object's own. Both keys are dropped first, so a
  /// private key is set after the certificate.
  void Set(x509_st* certificate);
  /// Reads the first certificate of a PEM text; what stands around it is ignored. Throws
  /// UnableToSetPEM, with nothing set, when there is none. Encrypted text counts as none: nobody is
  /// ever asked for a pass phrase.
  void Set(const OxBuffer& pem);
  /// Takes ownership of `key`, which is another one, and frees the one set before.
  void SetPrivateKey(rsa_st* key);

  /// Null when the certificate has no key or one that is not RSA.
  rsa_st* GetPublicKey() const { return publicKey_.get(); }
  rsa_st* GetPrivateKey() const { return privateKey_.get(); }  ///< Null until one is set.
  /// The X.509 object of the cryptographic library, or null.
  x509_st* GetPlatCert() const { return certificate_.get(); }

  /// The subject's commonName, at most its first 255 bytes and up to its first zero byte; empty
  /// when there is none. Throws OxString::InvalidEncoding when those bytes are no UTF-8.
  OxString GetSigner() const;
  /// The canonical PEM text with its last line end, without a terminator; empty without a
  /// certificate. It may differ in line breaks from the text that was read.
  OxBuffer GetAsPEM() const;
  /// The 20 bytes of the SHA-1 digest of the DER form; empty when it cannot be had.
  OxBuffer GetFingerprint() const;
  /// The trust value that the built-in table holds for this very certificate, 0 for any other. No
  /// chain is looked at.
  unsigned long GetTrust() const;
  /// Whether the certificate chains to one of the built-in roots now. Deliberate: a certificate of
  /// the chain that has expired, or that holds a critical extension nobody knows, is forgiven; one
  /// that is not yet valid is not.
  bool IsValid() const;

 private:
  void FetchPublicKey();
  void FreeKeys();
  void FreePlatCert();

  CryptoPtr<x509_st> certificate_;
  CryptoPtr<rsa_st> publicKey_;
  CryptoPtr<rsa_st> privateKey_;
};
