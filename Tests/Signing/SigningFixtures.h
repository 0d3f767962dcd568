#pragma once

#include <fstream>
#include <iterator>
#include <string>

#include "KeyLoading.h"
#include "Signing/OxCertificate.h"

// The keys and certificates of Tests/Fixtures/Signing.
namespace SigningFixtures {

inline std::string Path(const std::string& name) {
  return OX_SOURCE_DIR "/Tests/Fixtures/Signing/" + name;
}

inline std::string Text(const std::string& name) {
  std::ifstream file(Path(name), std::ios::binary);
  file.exceptions(std::ios::failbit);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline Hux::SmartPtr<OxCertificate> Certificate(const std::string& name) {
  return OxCertificate::Make(OxBuffer(Text(name).c_str()));
}

inline Hux::SmartPtr<OxCertificate> Signer(const std::string& certificate, const std::string& key) {
  const Hux::SmartPtr<OxCertificate> signer = Certificate(certificate);
  signer->SetPrivateKey(ReadPrivateKey(Path(key).c_str(), OxString()).release());
  return signer;
}

}  // namespace SigningFixtures
