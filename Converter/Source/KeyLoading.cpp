#include "KeyLoading.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include <openssl/pem.h>

#include "Console.h"
#include "Files/OxFileUtils.h"
#include "Foundation/OxBuffer.h"

namespace {

// The bytes of a key file, wiped on every way out.
struct KeyFile {
  OxBuffer bytes;
  KeyFile() = default;
  KeyFile(const KeyFile&) = delete;
  KeyFile& operator=(const KeyFile&) = delete;
  ~KeyFile() { bytes.SecureClear(); }
};

// Whether a line of a PEM text, with its line end, begins a private key. Blanks at its end do not count.
bool BeginsKey(std::string_view line) {
  const auto isInk = [](char c) { return static_cast<unsigned char>(c) > ' '; };
  const auto end = std::ranges::find_if(line.rbegin(), line.rend(), isInk).base();
  const std::string_view ink(line.begin(), end);
  return ink.starts_with("-----BEGIN ") && ink.ends_with("PRIVATE KEY-----");
}

// The first private key of a PEM text and no other; empty without one. The library by itself would pass
// over a key that it cannot read and take the next.
std::string_view FirstKey(std::string_view pem) {
  while (!pem.empty()) {
    const std::size_t line = std::min(pem.find('\n'), pem.size() - 1) + 1;
    if (BeginsKey(pem.substr(0, line))) {
      return pem.substr(0, pem.find('\n', pem.find("\n-----END ") + 1));
    }
    pem.remove_prefix(line);
  }
  return {};
}

// Stands in for the library's own callback, which would ask at the terminal when there is no pass phrase.
// Without one the answer is a failure and not the empty phrase, which would open a key that has it.
int GivePassPhrase(char* buffer, int size, int /*writing*/, void* context) {
  const OxString& passPhrase = *static_cast<const OxString*>(context);
  if (passPhrase.size() == 0 || size <= 0) return -1;
  const std::size_t count = std::min(static_cast<std::size_t>(size), std::size_t{passPhrase.size()});
  std::memcpy(buffer, passPhrase.c_str(), count);
  return static_cast<int>(count);
}

}  // namespace

Crypto::Ptr<rsa_st> ReadPrivateKey(const OxString& keyFile, const OxString& passPhrase) {
  KeyFile file;
  if (!WobReadBinaryFile(keyFile, file.bytes)) {
    Console::Error("Error: Can't read private key file\n");
    return nullptr;
  }
  const std::string_view pem = FirstKey(file.bytes.view());
  const Crypto::Ptr<bio_st> stream = Crypto::OpenMemoryStream(pem.data(), pem.size());
  if (!stream) return nullptr;
  void* phrase = const_cast<OxString*>(&passPhrase);
  const Crypto::Ptr<evp_pkey_st> key(
      PEM_read_bio_PrivateKey(stream.get(), nullptr, GivePassPhrase, phrase));
  return Crypto::GetRSAKey(key.get());
}

Hux::SmartPtr<OxCertificate> ReadCertificateFromFile(const OxPath& certFile,
                                                     const OxString& /*passPhrase*/) {
  OxBuffer pem;
  if (!WobReadBinaryFile(certFile.native_string(), pem)) {
    Console::Error("Error: Unable to read certificate file '%s'.", certFile.native_string().c_str());
    return nullptr;
  }
  const OxString extension = certFile.extension();
  if (!extension.empty() && extension.compare("pem", OxString::kCaseInsensitive) != 0) return nullptr;
  try {
    return OxCertificate::Make(pem);
  } catch (const OxCertificate::UnableToSetPEM&) {
    Console::Error("Error: '%s' was not a valid PEM file.", certFile.native_string().c_str());
    return nullptr;
  }
}
