#include "Files/CryptoLibrary.h"

#include <openssl/crypto.h>

bool InitialiseCryptoLibrary() {
  // The older functions read the system's configuration file, which may load other modules.
  return OPENSSL_init_crypto(OPENSSL_INIT_NO_LOAD_CONFIG | OPENSSL_INIT_ADD_ALL_CIPHERS |
                                 OPENSSL_INIT_ADD_ALL_DIGESTS | OPENSSL_INIT_LOAD_CRYPTO_STRINGS,
                             nullptr) == 1;
}
