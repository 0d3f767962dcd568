#include "Signing/OxCertificateStore.h"

#include <string_view>

#include "Signing/BuiltInTrust.h"

std::vector<OxBuffer> OxCertificateStore::GetRootCerts() {
  std::vector<OxBuffer> roots;
  roots.reserve(BuiltInTrust::sCerts.size());
  for (const std::string_view pem : BuiltInTrust::sCerts) roots.emplace_back(pem.data(), pem.size());
  return roots;
}
