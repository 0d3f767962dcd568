// Any bytes, verified: the file is unchanged. The same bytes, signed and verified: the expected codes. A file that
// was signed, edited: nothing but itself verifies.

#include <array>

#include "Foundation/OxBuffer.h"
#include "FuzzFolder.h"
#include "Signing/OxCertificate.h"
#include "Signing/OxFileSigner.h"
#include "TrailerKeys.h"

namespace {

constexpr std::size_t kNumberBytes = 4;

// Folder, keys and path, the same for all inputs.
struct Bench {
  FuzzFolder folder;
  Hux::SmartPtr<OxCertificate> certificate = MakeFuzzCertificate();
  OxString path{folder.File("file").c_str()};
};

const Bench& TheBench() {
  static const Bench bench;
  return bench;
}

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

// Only the end of a file matters, so most inputs become a trailer after some content.
std::string WithMagic(FuzzInput& input) {
  std::string bytes(input.Rest());
  if (bytes.size() >= 4) bytes.replace(bytes.size() - 4, 4, "ngis");
  return bytes;
}

void VerifyAndSign(FuzzInput& input, bool sign) {
  const auto& [folder, certificate, path] = TheBench();
  const std::string bytes = WithMagic(input);
  folder.Write("file", bytes);
  Verify(path);
  Require(folder.Read("file") == bytes, "verifying changes nothing");
  if (!sign) return;

  const std::int32_t code = OxFileSigner::Sign(path, OxString(), certificate);
  if (bytes.empty()) {
    Require(code == OxFileSigner::kCannotOpen, "an empty file is not signed");
    return;
  }
  const std::string once = folder.Read("file");
  Require(code == 0 && Verify(path) == OxFileSigner::kNotTrusted, "a signed file verifies");
  Require(OxFileSigner::Sign(path, OxString(), certificate) == 0, "a signed file is signed again");
  Require(folder.Read("file") == once, "one trailer takes the place of the other");
}

std::string Decoded(const std::string& base64) {
  OxBuffer bytes(base64.data(), base64.size());
  bytes.FromBase64();
  return std::string(bytes.view());
}

// A signed file in pieces. Edits need not keep the lengths in it right.
struct SignedFile {
  enum Field { kContent, kSignature, kCertificate, kGap, kFieldCount };

  std::array<std::string, kFieldCount> fields;

  std::string Build() const;
};

std::string Number(std::size_t number) {
  std::string bytes;
  for (std::size_t i = 0; i < kNumberBytes; ++i, number >>= 8) bytes += static_cast<char>(number & 0xFF);
  return bytes;
}

std::string SignedFile::Build() const {
  const std::string block = "ngis" + Number(fields[kSignature].size()) + fields[kSignature] +
                            Number(fields[kCertificate].size()) + fields[kCertificate] + fields[kGap];
  return fields[kContent] + block + Number(block.size() + 2 * kNumberBytes) + "ngis";
}

// The content ends with a line end, which PEM needs before a certificate, and the decoded signature begins with a byte
// that is not ASCII, so no base64: lenient readers could be misled only then.
SignedFile MakeSignedFile() {
  const auto& [folder, certificate, path] = TheBench();
  const std::size_t pem = certificate->GetAsPEM().length();
  for (std::string content = "content\n";; content.insert(0, 1, '.')) {
    folder.Write("file", content);
    Require(OxFileSigner::Sign(path, OxString(), certificate) == 0, "the fuzzer signs");
    const std::string file = folder.Read("file");
    const std::size_t at = content.size() + 2 * kNumberBytes, end = file.size() - 2 * kNumberBytes - pem;
    const SignedFile made{
        {content, file.substr(at, end - kNumberBytes - at), file.substr(end, pem), ""}};
    Require(made.Build() == file, "the fuzzer can take a signed file apart");
    if ((Decoded(made.fields[SignedFile::kSignature])[0] & 0x80) != 0) return made;
  }
}

void EditText(FuzzInput& input, std::string& text) {
  const std::size_t at = input.Below(static_cast<unsigned>(text.size()) + 1);
  const std::size_t erased = input.Byte() % 8;
  text.replace(at, erased, input.Text());
}

// Moves bytes across the border between two fields.
void MoveBorder(std::string& left, std::string& right, std::size_t border) {
  const std::string both = left + right;
  left = both.substr(0, border);
  right = both.substr(border);
}

void EditField(FuzzInput& input, SignedFile& file) {
  std::string& content = file.fields[SignedFile::kContent];
  std::string& signature = file.fields[SignedFile::kSignature];
  std::string& certificate = file.fields[SignedFile::kCertificate];
  switch (input.Byte() % 4) {
    case 0:
      MoveBorder(content, certificate,
                 input.Below(static_cast<unsigned>(content.size() + certificate.size()) + 1));
      break;
    case 1:
      signature.replace(0, Decoded(signature).size(), Decoded(signature));
      break;
    default:
      EditText(input, file.fields[input.Byte() % SignedFile::kFieldCount]);
  }
}

void EditSigned(FuzzInput& input, bool keepsLengths) {
  static const SignedFile good = MakeSignedFile();
  static const std::string original = good.Build();
  SignedFile file = good;
  std::string bytes = original;
  for (int edits = 0; edits < 8 && !input.empty(); ++edits) {
    keepsLengths ? EditField(input, file) : EditText(input, bytes);
  }
  if (keepsLengths) bytes = file.Build();
  const auto& [folder, certificate, path] = TheBench();
  folder.Write("file", bytes);
  const std::int32_t code = Verify(path);
  const std::size_t magic = good.fields[SignedFile::kContent].size();
  if (bytes.size() == original.size()) bytes.replace(magic, kNumberBytes, "ngis");
  Require((code == 0 || code == OxFileSigner::kNotTrusted) == (bytes == original),
          "a signed file verifies, and no other");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput input(data, size);
  const unsigned mode = input.Byte() % 8;
  if (mode >= 4) {
    EditSigned(input, mode >= 6);
  } else {
    VerifyAndSign(input, mode == 0);
  }
  return 0;
}
