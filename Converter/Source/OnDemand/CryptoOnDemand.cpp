#include "OnDemand/OnDemand.h"

// Hidden, so that the library itself, once loaded, calls its own functions and never a stub.
#pragma GCC visibility push(hidden)
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/objects.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>
#pragma GCC visibility pop

namespace {

// The library's own name, whose number its headers know.
constinit Posix::LazyLibrary g_library("libcrypto.so." OX_EXPANDED_TEXT_OF(OPENSSL_SHLIB_VERSION));

}  // namespace

// In the order of the alphabet: every function that the program calls, and no other.
OX_ON_DEMAND(g_library, long, BIO_ctrl, (BIO * bio, int command, long number, void* pointer),
             (bio, command, number, pointer))
OX_ON_DEMAND(g_library, int, BIO_free, (BIO * bio), (bio))
OX_ON_DEMAND(g_library, BIO*, BIO_new, (const BIO_METHOD* method), (method))
OX_ON_DEMAND(g_library, BIO*, BIO_new_mem_buf, (const void* bytes, int length), (bytes, length))
OX_ON_DEMAND(g_library, const BIO_METHOD*, BIO_s_mem, (), ())
OX_ON_DEMAND(g_library, void, ERR_clear_error, (), ())
OX_ON_DEMAND(g_library, int, EVP_Digest,
             (const void* data, size_t count, unsigned char* digest, unsigned int* size,
              const EVP_MD* type, ENGINE* engine),
             (data, count, digest, size, type, engine))
OX_ON_DEMAND(g_library, int, EVP_DigestFinal,
             (EVP_MD_CTX * context, unsigned char* digest, unsigned int* size), (context, digest, size))
OX_ON_DEMAND(g_library, int, EVP_DigestInit, (EVP_MD_CTX * context, const EVP_MD* type), (context, type))
OX_ON_DEMAND(g_library, int, EVP_DigestUpdate, (EVP_MD_CTX * context, const void* data, size_t count),
             (context, data, count))
OX_ON_DEMAND(g_library, void, EVP_MD_CTX_free, (EVP_MD_CTX * context), (context))
OX_ON_DEMAND(g_library, const EVP_MD*, EVP_MD_CTX_get0_md, (const EVP_MD_CTX* context), (context))
OX_ON_DEMAND(g_library, EVP_MD_CTX*, EVP_MD_CTX_new, (), ())
OX_ON_DEMAND(g_library, void, EVP_PKEY_free, (EVP_PKEY * key), (key))
OX_ON_DEMAND(g_library, rsa_st*, EVP_PKEY_get1_RSA, (EVP_PKEY * key), (key))
OX_ON_DEMAND(g_library, int, EVP_PKEY_get_base_id, (const EVP_PKEY* key), (key))
OX_ON_DEMAND(g_library, const EVP_MD*, EVP_md5, (), ())
OX_ON_DEMAND(g_library, const EVP_MD*, EVP_sha1, (), ())
OX_ON_DEMAND(g_library, int, OBJ_txt2nid, (const char* text), (text))
OX_ON_DEMAND(g_library, int, OPENSSL_init_crypto,
             (uint64_t options, const OPENSSL_INIT_SETTINGS* settings), (options, settings))
OX_ON_DEMAND(g_library, EVP_PKEY*, PEM_read_bio_PrivateKey,
             (BIO * bio, EVP_PKEY** key, pem_password_cb* callback, void* context),
             (bio, key, callback, context))
OX_ON_DEMAND(g_library, X509*, PEM_read_bio_X509,
             (BIO * bio, X509** certificate, pem_password_cb* callback, void* context),
             (bio, certificate, callback, context))
OX_ON_DEMAND(g_library, int, PEM_write_bio_X509, (BIO * bio, const X509* certificate),
             (bio, certificate))
OX_ON_DEMAND(g_library, void, RSA_free, (RSA * key), (key))
OX_ON_DEMAND(g_library, int, RSA_sign,
             (int type, const unsigned char* digest, unsigned int digestSize, unsigned char* signature,
              unsigned int* size, RSA* key),
             (type, digest, digestSize, signature, size, key))
OX_ON_DEMAND(g_library, int, RSA_size, (const RSA* key), (key))
OX_ON_DEMAND(g_library, int, RSA_verify,
             (int type, const unsigned char* digest, unsigned int digestSize,
              const unsigned char* signature, unsigned int size, RSA* key),
             (type, digest, digestSize, signature, size, key))
OX_ON_DEMAND(g_library, int, X509_NAME_get_text_by_NID,
             (const X509_NAME* name, int nid, char* buffer, int length), (name, nid, buffer, length))
OX_ON_DEMAND(g_library, void, X509_STORE_CTX_free, (X509_STORE_CTX * context), (context))
OX_ON_DEMAND(g_library, int, X509_STORE_CTX_get_error, (const X509_STORE_CTX* context), (context))
OX_ON_DEMAND(g_library, int, X509_STORE_CTX_init,
             (X509_STORE_CTX * context, X509_STORE* store, X509* target, stack_st_X509* untrusted),
             (context, store, target, untrusted))
OX_ON_DEMAND(g_library, X509_STORE_CTX*, X509_STORE_CTX_new, (), ())
OX_ON_DEMAND(g_library, int, X509_STORE_add_cert, (X509_STORE * store, X509* certificate),
             (store, certificate))
OX_ON_DEMAND(g_library, void, X509_STORE_free, (X509_STORE * store), (store))
OX_ON_DEMAND(g_library, X509_STORE*, X509_STORE_new, (), ())
OX_ON_DEMAND(g_library, void, X509_STORE_set_verify_cb,
             (X509_STORE * store, X509_STORE_CTX_verify_cb callback), (store, callback))
OX_ON_DEMAND(g_library, int, X509_digest,
             (const X509* certificate, const EVP_MD* type, unsigned char* digest, unsigned int* size),
             (certificate, type, digest, size))
OX_ON_DEMAND(g_library, X509*, X509_dup, (const X509* certificate), (certificate))
OX_ON_DEMAND(g_library, void, X509_free, (X509 * certificate), (certificate))
OX_ON_DEMAND(g_library, EVP_PKEY*, X509_get_pubkey, (X509 * certificate), (certificate))
OX_ON_DEMAND(g_library, X509_NAME*, X509_get_subject_name, (const X509* certificate), (certificate))
OX_ON_DEMAND(g_library, int, X509_verify_cert, (X509_STORE_CTX * context), (context))
