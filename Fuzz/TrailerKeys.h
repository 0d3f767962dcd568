#pragma once

#include <memory>

#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include "Files/CryptoLibrary.h"
#include "FuzzInput.h"
#include "Signing/CryptoHandles.h"
#include "Signing/OxCertificate.h"

/// A new self-signed certificate with its private key.
inline Hux::SmartPtr<OxCertificate> MakeFuzzCertificate() {
  InitialiseCryptoLibrary();
  const Crypto::Ptr<evp_pkey_st> key(EVP_RSA_gen(1024));
  Crypto::Ptr<x509_st> certificate(X509_new());
  X509_NAME* name = X509_get_subject_name(certificate.get());
  X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("Fuzz"),
                             -1, -1, 0);
  X509_set_issuer_name(certificate.get(), name);
  X509_gmtime_adj(X509_getm_notBefore(certificate.get()), 0);
  X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 1000000);
  X509_set_pubkey(certificate.get(), key.get());
  Require(X509_sign(certificate.get(), key.get(), EVP_sha1()) > 0, "the fuzzer has a certificate");
  Hux::SmartPtr<OxCertificate> result = OxCertificate::Make(certificate.release());
  result->SetPrivateKey(Crypto::GetRSAKey(key.get()).release());
  return result;
}
