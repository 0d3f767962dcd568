// Any bytes, verified: the file is unchanged. The same bytes, signed and verified: the expected codes.

#include "Foundation/OxBuffer.h"
#include "FuzzFolder.h"
#include "Signing/OxCertificate.h"
#include "Signing/OxFileSigner.h"
#include "TrailerKeys.h"

namespace {

std::int32_t Verify(const OxString& path) {
  OxString signer("untouched");
  unsigned long trust = 7;
  const std::int32_t code = OxFileSigner::Verify(path, signer, trust);
  Require(code == 0 || (code <= -1 && code >= -6 && code != -2),
          "the code is one of those that there are");
  Require(code == 0 || trust == 0, "only a verified file is trusted");
  const bool signerKept = code == -1 || code == -3 || code == -4;
  Require(!signerKept || signer == "untouched", "the signer is left alone");
  return code;
}

// The end of a file decides, so most inputs become a trailer behind some content.
std::string WithMagic(FuzzInput& input) {
  std::string bytes(input.Rest());
  if (bytes.size() >= 4) bytes.replace(bytes.size() - 4, 4, "ngis");
  return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const FuzzFolder folder;
  static const Hux::SmartPtr<OxCertificate> certificate = MakeFuzzCertificate();
  FuzzInput input(data, size);
  const bool sign = input.Byte() % 8 == 0;
  const std::string bytes = WithMagic(input);
  folder.Write("file", bytes);
  const OxString path(folder.File("file").c_str());
  Verify(path);
  Require(folder.Read("file") == bytes, "verifying changes nothing");
  if (!sign) return 0;

  const std::int32_t code = OxFileSigner::Sign(path, OxString(), certificate);
  if (bytes.empty()) {
    Require(code == OxFileSigner::kCannotOpen, "an empty file is not signed");
    return 0;
  }
  const std::string once = folder.Read("file");
  Require(code == 0 && Verify(path) == OxFileSigner::kNotTrusted, "a signed file verifies");
  Require(OxFileSigner::Sign(path, OxString(), certificate) == 0, "a signed file is signed again");
  Require(folder.Read("file") == once, "one trailer takes the place of the other");
  return 0;
}
