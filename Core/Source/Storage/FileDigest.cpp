#include <array>

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include "Storage/OxFileUtils.h"
#include "Storage/OxMappedFile.h"

namespace {

constexpr std::uint64_t kWithoutConfiguration =
    OPENSSL_INIT_NO_LOAD_CONFIG | OPENSSL_INIT_ADD_ALL_CIPHERS | OPENSSL_INIT_ADD_ALL_DIGESTS |
    OPENSSL_INIT_LOAD_CRYPTO_STRINGS;

}  // namespace

OxString OxFileUtils::GetMD5ForFile(const OxPath& path) {
  OxMappedFile file;
  if (!WobPathLooksValid(path.native_string()) || !file.Open(path.native_string())) return {};
  if (OPENSSL_init_crypto(kWithoutConfiguration, nullptr) != 1) return {};
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
  unsigned int length = 0;
  const int done =
      EVP_Digest(file.GetAddress(), file.GetSize(), digest.data(), &length, EVP_md5(), nullptr);
  if (done != 1) return {};
  const OxBuffer hex = OxBuffer(reinterpret_cast<const char*>(digest.data()), length).ConvertToHex();
  OxString text(hex.view());
  return text.to_lower();
}
