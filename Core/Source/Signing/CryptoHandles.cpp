#include "Signing/CryptoHandles.h"

#include <climits>

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>

namespace Crypto {

void Deleter::operator()(bio_st* stream) const noexcept {
  BIO_free(stream);
}
void Deleter::operator()(evp_md_ctx_st* digest) const noexcept {
  EVP_MD_CTX_free(digest);
}
void Deleter::operator()(evp_pkey_st* key) const noexcept {
  EVP_PKEY_free(key);
}
void Deleter::operator()(rsa_st* key) const noexcept {
  RSA_free(key);
}
void Deleter::operator()(x509_st* certificate) const noexcept {
  X509_free(certificate);
}
void Deleter::operator()(x509_store_ctx_st* verification) const noexcept {
  X509_STORE_CTX_free(verification);
}
void Deleter::operator()(x509_store_st* store) const noexcept {
  X509_STORE_free(store);
}

Ptr<bio_st> OpenMemoryStream(const char* bytes, std::size_t count) {
  // To the library a negative count means "up to the first zero byte".
  if (bytes == nullptr || count == 0 || count > INT_MAX) return nullptr;
  return Ptr<bio_st>(BIO_new_mem_buf(bytes, static_cast<int>(count)));
}

Ptr<rsa_st> GetRSAKey(evp_pkey_st* key) {
  if (key == nullptr || EVP_PKEY_get_base_id(key) != EVP_PKEY_RSA) return nullptr;
  return Ptr<rsa_st>(EVP_PKEY_get1_RSA(key));
}

}  // namespace Crypto
