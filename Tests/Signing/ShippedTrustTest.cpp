#include <gtest/gtest.h>

#include "Signing/OxCertificateStore.h"
#include "Signing/SigningFixtures.h"

// These run with the tables of the program that is shipped.
TEST(ShippedTrust, VouchesForWhatItsAuthorityIssuedAndForNobodyElse) {
  const std::vector<OxBuffer> roots = OxCertificateStore::GetRootCerts();
  ASSERT_EQ(roots.size(), 2U);
  EXPECT_TRUE(roots[0].length() == 833 && roots[1].length() == 1707);
  EXPECT_TRUE(OxCertificate(roots[0]).IsValid() && OxCertificate(roots[1]).IsValid());
  const auto issued = SigningFixtures::Certificate("issued-by-root-2.pem");
  EXPECT_TRUE(issued->IsValid() && issued->GetTrust() == 0)
      << "although signer and authority have expired";
  EXPECT_FALSE(SigningFixtures::Certificate("valid.pem")->IsValid());
  for (const char* name : {"implicit-1.pem", "implicit-2.pem", "implicit-3.pem"}) {
    const auto trusted = SigningFixtures::Certificate(std::string("../../../Trust/") + name);
    EXPECT_TRUE(trusted->GetTrust() == 0xFFFFFFFF && !trusted->IsValid()) << name;
  }
}
