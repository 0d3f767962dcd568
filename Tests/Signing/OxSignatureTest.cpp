#include <gtest/gtest.h>
#include <openssl/bn.h>
#include <openssl/rsa.h>

#include "Signing/OxSignature.h"
#include "Signing/SigningFixtures.h"

namespace {

// That signatures are right, and wrong for other bytes, the tests of the file signer show.
TEST(OxSignature, NeedsKeysThatItCanUse) {
  const auto certificate = SigningFixtures::Certificate("valid.pem");
  OxSignature signature(certificate);
  OxBuffer out;
  EXPECT_FALSE(signature.SignBase64(out));
  EXPECT_TRUE(out.empty()) << "not even padding";
  const unsigned char late = 0;
  EXPECT_EQ(signature.UpdateDigest(&late, 1), 0) << "the digest has ended";

  BIGNUM *modulus = BN_new(), *exponent = BN_new();
  ASSERT_TRUE(BN_set_bit(modulus, 8 * 513) && BN_set_bit(modulus, 0) && BN_set_word(exponent, RSA_F4));
  certificate->SetPrivateKey(RSA_new());
  ASSERT_TRUE(RSA_set0_key(certificate->GetPrivateKey(), modulus, exponent, BN_dup(exponent)));
  EXPECT_TRUE(signature.Sign(out)) << "a key of 514 bytes";
  EXPECT_TRUE(out.view() == std::string(513, '\0') && !signature.Verify(out));
}

}  // namespace
