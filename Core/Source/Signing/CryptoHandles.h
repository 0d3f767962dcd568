#pragma once

#include <cstddef>
#include <memory>

// The cryptographic library's own types, named but not described: its headers stay in the sources.
struct bio_st;
struct evp_md_ctx_st;
struct evp_pkey_st;
struct rsa_st;
struct x509_st;
struct x509_store_ctx_st;
struct x509_store_st;

/// Gives an object back to the cryptographic library. Null is never passed.
struct CryptoDeleter {
  /// By the library's function for its kind.
  void operator()(bio_st* stream) const noexcept;
  void operator()(evp_md_ctx_st* digest) const noexcept;
  void operator()(evp_pkey_st* key) const noexcept;
  void operator()(rsa_st* key) const noexcept;
  void operator()(x509_st* certificate) const noexcept;
  void operator()(x509_store_ctx_st* verification) const noexcept;
  void operator()(x509_store_st* store) const noexcept;
};

/// Owns one object of the cryptographic library, or one reference to an object that it counts.
template <typename T>
using CryptoPtr = std::unique_ptr<T, CryptoDeleter>;

/// Prepares the library for the whole process, once: all ciphers, digests and error texts, and no
/// configuration file, now or later. It has to come before any other use of the library.
void InitialiseCryptoLibrary();

/// A stream that reads `count` bytes in place; `bytes` must outlive it. Null when `bytes` is null,
/// when `count` is 0 or above 2^31 - 1, or when there is no memory.
CryptoPtr<bio_st> OpenMemoryStream(const char* bytes, std::size_t count);

/// A reference of its own to the RSA key inside `key`; null when `key` is null or holds a key of
/// another kind. Deliberate: a key that is restricted to the PSS scheme is another kind.
CryptoPtr<rsa_st> GetRSAKey(evp_pkey_st* key);
