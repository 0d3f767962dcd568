#pragma once

#include <cstdint>

#include "Foundation/OxString.h"
#include "Foundation/SmartPtr.h"
#include "Signing/OxCertificate.h"

/// Signs a file in place by a trailer at its end, and verifies such a trailer. The file stays valid for every reader
/// of its format that ignores trailing bytes.
///   Example: OxFileSigner::Verify("Clock.widget", signer, trust) returns kSuccess and sets `signer` to "Ann Author".
///   Results: the codes below; nothing throws.
///   Limits:  a signed file has less than 4 GiB.
class OxFileSigner {
 public:
  /// What Sign() and Verify() return; -2 is not used.
  enum Result : std::int32_t {
    kSuccess = 0,
    kCannotOpen = -1,   ///< Not there, not a regular file, not readable, or too long.
    kNoSignature = -3,  ///< Verify: the file has no trailer.
    kUnreadable = -4,   ///< Verify: the trailer cannot be parsed, or verifying it failed.
    kMismatch = -5,     ///< Verify: the signature does not belong to this content and certificate.
    kNotTrusted = -6,   ///< Verify: it matches, but the certificate does not chain to a built-in root.
    kKeyMismatch = -7,  ///< Sign: the signature made does not fit the certificate (see Sign()).
  };

  /// InitialiseCryptoLibrary(), once in a process. Sign() and Verify() begin with it.
  static void LazyInit();

  /// Signs the file at `path`, replacing the trailer that it may have. `ignored` is ignored; the
  /// private key is that of the certificate object. Returns kSuccess, kCannotOpen (also for an empty file, and where
  /// content and trailer come to 4 GiB) or kKeyMismatch: the private key is missing, is not the
  /// certificate's own or has more than 4104 bits, or the certificate's key is not RSA or its text longer
  /// than a trailer may hold. In the latter two cases the file is unchanged.
  /// Only the trailer is written; the content is not rewritten. Deliberate: kSuccess also when the trailer
  /// cannot be written; one line on standard error reports it, and the old end of the file is written back, as far
  /// as possible.
  static std::int32_t Sign(const OxString& path, const OxString& ignored,
                           const Hux::SmartPtr<OxCertificate>& certificate);

  /// Checks the trailer of the file at `path`, which is only read. Only what Sign() writes for some content
  /// is accepted, to the byte: kUnreadable when the fields do not fill the trailer exactly or the certificate's text
  /// is not what OxCertificate::GetAsPEM() returns for it, kMismatch when the signature's text is not the base64
  /// of what it decodes to. So no other file than the signed one verifies, but for the four bytes of the
  /// leading magic, which are not examined. `signer` receives the commonName
  /// for kSuccess, kMismatch and kNotTrusted and is unchanged otherwise; `trust` receives the
  /// certificate's trust value for kSuccess and 0 otherwise.
  static std::int32_t Verify(const OxString& path, OxString& signer, unsigned long& trust);
};
