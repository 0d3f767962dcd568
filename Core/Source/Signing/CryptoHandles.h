#pragma once

#include <cstddef>
#include <memory>

// Forward declarations, so that the cryptographic library's headers are included in sources only.
struct bio_st;
struct evp_md_ctx_st;
struct evp_pkey_st;
struct rsa_st;
struct x509_st;
struct x509_store_ctx_st;
struct x509_store_st;

namespace Crypto {

/// Frees an object of the cryptographic library. Not called for null.
struct Deleter {
  /// Calls the matching X_free().
  void operator()(bio_st* stream) const noexcept;
  void operator()(evp_md_ctx_st* digest) const noexcept;
  void operator()(evp_pkey_st* key) const noexcept;
  void operator()(rsa_st* key) const noexcept;
  void operator()(x509_st* certificate) const noexcept;
  void operator()(x509_store_ctx_st* verification) const noexcept;
  void operator()(x509_store_st* store) const noexcept;
};

/// Owns one object of the cryptographic library, or one reference to a reference-counted one.
template <typename T>
using Ptr = std::unique_ptr<T, Deleter>;

/// A BIO that reads `count` bytes in place; `bytes` must outlive it. Null when `bytes` is null, when `count` is 0 or
/// above 2^31 - 1, or when memory runs out.
Ptr<bio_st> OpenMemoryStream(const char* bytes, std::size_t count);

/// A new reference to the RSA key inside `key`; null when `key` is null or of another type. Deliberate: a key that is
/// restricted to RSA-PSS is of another type.
Ptr<rsa_st> GetRSAKey(evp_pkey_st* key);

}  // namespace Crypto
