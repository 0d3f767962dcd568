#include "Signing/OxCertificate.h"

#include <string_view>

#include <openssl/err.h>
#include <openssl/objects.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>

#include "Signing/BuiltInTrust.h"
#include "Signing/OxCertificateStore.h"

namespace {

constexpr std::size_t kFingerprintBytes = 20;
constexpr std::size_t kSignerBytes = 256;  // With the terminator.

// Replaces the library's own callback, which would prompt at the terminal.
int RefusePassPhrase(char* /*buffer*/, int /*size*/, int /*writing*/, void* /*context*/) {
  return -1;
}

bool IsForgiven(int error) {
  return error == X509_V_ERR_CERT_HAS_EXPIRED || error == X509_V_ERR_CRL_NOT_YET_VALID ||
         error == X509_V_ERR_CRL_HAS_EXPIRED || error == X509_V_ERR_UNHANDLED_CRITICAL_EXTENSION;
}

int CertVerifyHook(int ok, x509_store_ctx_st* context) {
  if (ok == 0) return IsForgiven(X509_STORE_CTX_get_error(context)) ? 1 : 0;
  ERR_clear_error();
  return ok;
}

void AddRoot(x509_store_st* store, const OxBuffer& pem) {
  try {
    const OxCertificate root(pem);
    X509_STORE_add_cert(store, root.GetPlatCert());
  } catch (const OxCertificate::UnableToSetPEM&) {
    // A root that does not load is left out; the others still count.
  }
}

Crypto::Ptr<x509_store_st> MakeRootStore() {
  Crypto::Ptr<x509_store_st> store(X509_STORE_new());
  if (!store) return nullptr;
  X509_STORE_set_verify_cb(store.get(), CertVerifyHook);
  for (const OxBuffer& pem : OxCertificateStore::GetRootCerts()) AddRoot(store.get(), pem);
  return store;
}

}  // namespace

OxCertificate::OxCertificate(x509_st* certificate) {
  Set(certificate);
}

OxCertificate::OxCertificate(const OxBuffer& pem) {
  Set(pem);
}

OxCertificate::OxCertificate(const Hux::SmartPtr<OxCertificate>& other) {
  x509_st* source = other ? other->GetPlatCert() : nullptr;
  Set(source != nullptr ? X509_dup(source) : nullptr);
}

OxCertificate::~OxCertificate() {
  FreePlatCert();
}

Hux::SmartPtr<OxCertificate> OxCertificate::Make(x509_st* certificate) {
  return Hux::SmartPtr<OxCertificate>::Adopt(new OxCertificate(certificate));
}

Hux::SmartPtr<OxCertificate> OxCertificate::Make(const OxBuffer& pem) {
  return Hux::SmartPtr<OxCertificate>::Adopt(new OxCertificate(pem));
}

Hux::SmartPtr<OxCertificate> OxCertificate::Make(const Hux::SmartPtr<OxCertificate>& other) {
  return Hux::SmartPtr<OxCertificate>::Adopt(new OxCertificate(other));
}

void OxCertificate::Set(x509_st* certificate) {
  FreePlatCert();
  certificate_.reset(certificate);
  FetchPublicKey();
}

void OxCertificate::Set(const OxBuffer& pem) {
  FreePlatCert();
  const Crypto::Ptr<bio_st> stream = Crypto::OpenMemoryStream(pem.data(), pem.length());
  if (!stream) throw UnableToSetPEM();
  certificate_.reset(PEM_read_bio_X509(stream.get(), nullptr, RefusePassPhrase, nullptr));
  if (!certificate_) throw UnableToSetPEM();
  FetchPublicKey();
}

void OxCertificate::FetchPublicKey() {
  if (!certificate_) return;
  const Crypto::Ptr<evp_pkey_st> key(X509_get_pubkey(certificate_.get()));
  publicKey_ = Crypto::GetRSAKey(key.get());
}

void OxCertificate::FreeKeys() {
  publicKey_.reset();
  privateKey_.reset();
}

void OxCertificate::FreePlatCert() {
  certificate_.reset();
  FreeKeys();
}

void OxCertificate::SetPrivateKey(rsa_st* key) {
  privateKey_.reset(key);
}

OxString OxCertificate::GetSigner() const {
  if (!certificate_) return {};
  X509_NAME* subject = X509_get_subject_name(certificate_.get());
  if (subject == nullptr) return {};
  char text[kSignerBytes];
  const int nid = OBJ_txt2nid("commonName");
  if (X509_NAME_get_text_by_NID(subject, nid, text, sizeof text) < 0) return {};
  return OxString(text);
}

OxBuffer OxCertificate::GetAsPEM() const {
  if (!certificate_) return {};
  const Crypto::Ptr<bio_st> stream(BIO_new(BIO_s_mem()));
  if (!stream || PEM_write_bio_X509(stream.get(), certificate_.get()) != 1) return {};
  char* text = nullptr;
  const long length = BIO_get_mem_data(stream.get(), &text);
  if (text == nullptr || length <= 0) return {};
  return OxBuffer(text, static_cast<std::size_t>(length));
}

OxBuffer OxCertificate::GetFingerprint() const {
  if (!certificate_) return {};
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int length = 0;
  if (X509_digest(certificate_.get(), EVP_sha1(), digest, &length) != 1) return {};
  if (length != kFingerprintBytes) return {};
  return OxBuffer(reinterpret_cast<const char*>(digest), length);
}

unsigned long OxCertificate::GetTrust() const {
  const OxBuffer fingerprint = GetFingerprint();
  for (const BuiltInTrust::ImplicitTrust& entry : BuiltInTrust::kImplicitTrust) {
    const char* expected = reinterpret_cast<const char*>(entry.fingerprint.data());
    // An empty fingerprint is not equal to any entry.
    if (fingerprint.view() == std::string_view(expected, entry.fingerprint.size())) return entry.trust;
  }
  return 0;
}

bool OxCertificate::IsValid() const {
  if (!certificate_) return false;
  const Crypto::Ptr<x509_store_st> store = MakeRootStore();
  const Crypto::Ptr<x509_store_ctx_st> verification(X509_STORE_CTX_new());
  if (!store || !verification) return false;
  if (X509_STORE_CTX_init(verification.get(), store.get(), certificate_.get(), nullptr) != 1) {
    return false;
  }
  // Negative is an internal error of the library: not verified.
  return X509_verify_cert(verification.get()) > 0;
}
