#include "Signing/OxSignature.h"

#include <cstring>
#include <utility>

#include <openssl/evp.h>
#include <openssl/objects.h>
#include <openssl/rsa.h>

namespace {

constexpr int kSignatureBytes = 513;

unsigned char* Bytes(OxBuffer& buffer) {
  return reinterpret_cast<unsigned char*>(buffer.data());
}

const unsigned char* Bytes(const OxBuffer& buffer) {
  return reinterpret_cast<const unsigned char*>(buffer.data());
}

}  // namespace

OxSignature::OxSignature(Hux::SmartPtr<OxCertificate> certificate)
    : certificate_(std::move(certificate)), context_(EVP_MD_CTX_new()) {
  if (context_ && EVP_DigestInit(context_.get(), EVP_sha1()) != 1) context_.reset();
}

OxSignature::~OxSignature() = default;

int OxSignature::UpdateDigest(const unsigned char* bytes, unsigned int n) {
  // A context that is finished, or was not initialised, must not be updated.
  if (EVP_MD_CTX_get0_md(context_.get()) == nullptr) return 0;
  const int result = EVP_DigestUpdate(context_.get(), bytes, n);
  if (result != 1) context_.reset();
  return result;
}

bool OxSignature::FinishDigest() {
  if (EVP_MD_CTX_get0_md(context_.get()) != nullptr) {
    digestIsValid_ = EVP_DigestFinal(context_.get(), digest_.data(), nullptr) == 1;
  }
  return digestIsValid_;
}

bool OxSignature::Sign(OxBuffer& out) {
  rsa_st* key = certificate_ ? certificate_->GetPrivateKey() : nullptr;
  if (!FinishDigest() || key == nullptr) return out.length() != 0;
  out.SetLength(kSignatureBytes);
  std::memset(out.data(), 0, kSignatureBytes);
  // The signature of a longer key would not fit the buffer.
  if (RSA_size(key) > kSignatureBytes) return true;
  unsigned int length = 0;
  if (RSA_sign(NID_sha1, digest_.data(), kDigestBytes, Bytes(out), &length, key) == 1) {
    out.SetLength(length);
  }
  return out.length() != 0;
}

bool OxSignature::SignBase64(OxBuffer& out) {
  if (Sign(out)) out.ToBase64();
  return out.length() != 0;
}

bool OxSignature::Verify(const OxBuffer& signature) {
  rsa_st* key = certificate_ ? certificate_->GetPublicKey() : nullptr;
  if (!FinishDigest() || key == nullptr) return false;
  return RSA_verify(NID_sha1, digest_.data(), kDigestBytes, Bytes(signature), signature.length(), key) ==
         1;
}

bool OxSignature::VerifyBase64(const OxBuffer& text) {
  OxBuffer signature(text);
  return signature.FromBase64() && Verify(signature);
}
