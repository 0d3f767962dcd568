#include <gtest/gtest.h>

#include "Signing/OxCertificate.h"
#include "Signing/SigningFixtures.h"

namespace {

using SigningFixtures::Text;

Hux::SmartPtr<OxCertificate> Make(const std::string& pem) {
  return OxCertificate::Make(OxBuffer(pem.data(), pem.size()));
}

TEST(OxCertificate, ReadsTheFirstCertificateOfAText) {
  const std::string pem = Text("rsa1024.pem");
  std::string odd = "\n\njunk\n" + pem + Text("valid.pem") + "junk";
  for (std::size_t at = 0; (at = odd.find('\n', at)) != std::string::npos; at += 2) odd.insert(at, "\r");
  EXPECT_EQ(Make(odd)->GetAsPEM().view(), pem);
  std::string encrypted = pem;
  encrypted.insert(encrypted.find('\n'),
                   "\nProc-Type: 4,ENCRYPTED\nDEK-Info: AES-128-CBC,00112233445566778899AABBCCDDEEFF\n");
  EXPECT_THROW(Make(encrypted), OxCertificate::UnableToSetPEM);
  for (std::size_t cut = 0; cut + 1 < pem.size(); ++cut) {  // The last line end may be missing.
    EXPECT_THROW(Make(pem.substr(0, cut)), OxCertificate::UnableToSetPEM) << cut;
  }
}

TEST(OxCertificate, PrivateKeysStayWithTheirCertificate) {
  const auto original = SigningFixtures::Signer("valid.pem", "signer.key");
  const auto copy = OxCertificate::Make(original);
  ASSERT_NE(original->GetPrivateKey(), nullptr);
  EXPECT_EQ(copy->GetPrivateKey(), nullptr);
  EXPECT_EQ(copy->GetAsPEM().view(), original->GetAsPEM().view());
  EXPECT_THROW(original->Set(OxBuffer("none")), OxCertificate::UnableToSetPEM);
  EXPECT_TRUE(original->GetPrivateKey() == nullptr && original->GetPublicKey() == nullptr);
  for (const auto& empty : {original, OxCertificate::Make(original), OxCertificate::Make(nullptr)}) {
    EXPECT_TRUE(empty->GetSigner().empty() && empty->GetAsPEM().empty() &&
                empty->GetFingerprint().empty());
    EXPECT_TRUE(!empty->IsValid() && empty->GetTrust() == 0);
  }
}

}  // namespace
