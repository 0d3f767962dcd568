#pragma once

#include <cstdint>

#include "Foundation/OxString.h"
#include "Foundation/SmartPtr.h"
#include "Signing/OxCertificate.h"

/// Signs a file in place by a trailer at its end, and checks such a trailer. The file stays valid
/// for every reader of its own format that ignores trailing bytes.
///   Results: the codes below; nothing throws.
///   Limits:  a signed file has less than 4 GiB.
class OxFileSigner {
 public:
  /// What Sign() and Verify() return; -2 is not used.
  enum Result : std::int32_t {
    kSuccess = 0,
    kCannotOpen = -1,   ///< Not there, not a regular file, not readable, or too long.
    kNoSignature = -3,  ///< Verify: the file has no trailer.
    kUnreadable = -4,   ///< Verify: the trailer cannot be taken apart, or checking it failed.
    kMismatch = -5,     ///< Verify: the signature does not belong to this content and certificate.
    kNotTrusted = -6,   ///< Verify: the signature matches, but no built-in root vouches for the signer.
    kKeyMismatch = -7,  ///< Sign: the signature made does not fit the certificate (see Sign()).
  };

  /// InitialiseCryptoLibrary(), once in a process. Sign() and Verify() begin with it.
  static void LazyInit();

  /// Signs the file at `path`, replacing the trailer that it may have. `ignored` is ignored; the
  /// certificate carries the private key. Returns kSuccess, kCannotOpen (also for an empty file, and where
  /// content and trailer come to 4 GiB) or kKeyMismatch: the private key is missing, is not the
  /// certificate's own or has more than 4104 bits, or the certificate's key is not RSA or its text longer
  /// than a trailer may hold. In the latter two cases the file is unchanged.
  /// Only the trailer is written; the content's bytes are never touched. Deliberate: a trailer that
  /// cannot be written gives kSuccess too; one line on standard error says so, and the end of the
  /// file is put back as it was, as far as that can be written.
  static std::int32_t Sign(const OxString& path, const OxString& ignored,
                           const Hux::SmartPtr<OxCertificate>& certificate);

  /// Checks the trailer of the file at `path`, which is only read. Only what Sign() writes for some content
  /// counts, to the byte: kUnreadable when the fields do not fill the trailer exactly or the certificate's text
  /// is not what OxCertificate::GetAsPEM() returns for it, kMismatch when the signature's text is not the base64
  /// of what it decodes to. So no other file than the signed one verifies, but for the four bytes of the
  /// leading magic, which are not examined. `signer` receives the commonName
  /// for kSuccess, kMismatch and kNotTrusted and is left alone otherwise; `trust` receives the
  /// certificate's trust value for kSuccess and 0 otherwise.
  static std::int32_t Verify(const OxString& path, OxString& signer, unsigned long& trust);
};
