#include <array>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "Signing/OxFileSigner.h"
#include "Signing/SigningFixtures.h"
#include "Support/DocumentDump.h"
#include "Support/FaultyFileOps.h"
#include "Support/TemporaryFolder.h"

namespace {

using SigningFixtures::Signer;
using SigningFixtures::Text;

const std::string kContent = "The content of a file.";

std::string Number(std::size_t number) {
  std::string bytes;
  for (int i = 0; i < 4; ++i, number >>= 8) bytes += static_cast<char>(number & 0xFF);
  return bytes;
}

class FileSigner : public testing::Test {
 protected:
  std::string Signed(const Hux::SmartPtr<OxCertificate>& certificate, const std::string& content) {
    folder_.Write("file", content);
    EXPECT_EQ(OxFileSigner::Sign(path_, OxString("ignored"), certificate), OxFileSigner::kSuccess);
    return folder_.Read("file");
  }
  std::int32_t Verify() {
    signer_ = "untouched";
    return OxFileSigner::Verify(path_, signer_, trust_);
  }

  Support::TemporaryFolder folder_;
  OxString path_{folder_.Path("file").c_str()};
  OxString signer_;
  unsigned long trust_ = 0;
  Hux::SmartPtr<OxCertificate> valid_ = Signer("valid.pem", "signer.key");
  Hux::SmartPtr<OxCertificate> short_ = Signer("rsa1024.pem", "rsa1024.key");
  Hux::SmartPtr<OxCertificate> long_ = Signer("rsa4096.pem", "rsa4096.key");
};

TEST_F(FileSigner, TheDocumentsDumpIsWhatSigningAppends) {
  EXPECT_EQ(Signed(short_, "hello\n"), "hello\n" + Support::DocumentDump("signature-format.md", 1));
}

TEST_F(FileSigner, EveryChangeAndEveryCutIsNoticed) {
  const std::string good = Signed(valid_, kContent);
  const std::size_t magic = kContent.size(), signature = magic + 8, certificate = signature + 344 + 4;
  std::fstream file(folder_.Path("file"), std::ios::binary | std::ios::in | std::ios::out);
  for (std::size_t damage = 0; damage < 3 * good.size(); ++damage) {
    const std::size_t i = damage / 3;
    const int change = std::array{0x01, 0x11, 0x80}[damage % 3];
    file.seekp(static_cast<std::streamoff>(i)).put(static_cast<char>(good[i] ^ change)).flush();
    const std::int32_t result = Verify();
    file.seekp(static_cast<std::streamoff>(i)).put(good[i]).flush();
    const bool isContent = i < magic, isUnread = !isContent && i < magic + 4;  // The first magic.
    const bool isSignature = i >= signature && i < certificate - 4;
    if (i == certificate - 4 - 3) continue;  // The last character before "==" has four bits to spare.
    EXPECT_EQ(result == OxFileSigner::kSuccess, isUnread) << i;
    if (isContent || isSignature) {
      EXPECT_TRUE(result == OxFileSigner::kMismatch && signer_ == "Valid Signer") << i;
    }
  }
  for (std::size_t cut = good.size(); cut-- > 0;) {
    std::filesystem::resize_file(folder_.Path("file"), cut);
    const std::int32_t result =
        cut == magic + 4 ? OxFileSigner::kUnreadable : OxFileSigner::kNoSignature;
    EXPECT_EQ(Verify(), result) << cut;
  }
}

TEST_F(FileSigner, TrailersThatLie) {
  const std::string pem = Text("valid.pem"), end = "ngis";
  const auto Block = [](std::size_t s, const std::string& signature, std::size_t c,
                        const std::string& text) {
    const std::string block = "????" + Number(s) + signature + Number(c) + text;
    return kContent + block + Number(block.size() + 8) + "ngis";
  };
  const struct {
    std::string file;
    std::int32_t result;
  } kCases[] = {
      {"", -3},
      {"xxxxngis", -3},
      {"x" + Number(9) + end, -4},
      {kContent + Number(0) + end, -3},
      {kContent + Number(1) + end, -3},
      {kContent + Number(2) + end, -4},
      {kContent + Number(19) + end, -4},
      {kContent + Number(0xFFFFFFFF) + end, -4},
      {Block(0, "", 0, ""), -4},
      {Block(0xFFFFFFFF, "", 0, ""), -4},
      {Block(0, "", 0xFFFFFFFF, pem), -4},
      {Block(4, "AAAA", 13, "no PEM at all"), -4},
      {Block(4, "AAAA", Text("latin1.pem").size(), Text("latin1.pem")), -4},
      {Block(4, "AAAA", pem.size() + 1048576, pem + std::string(1048576, '\n')), -4},
      {Block(0, "", pem.size(), pem), -5},
      {Block(344, std::string(344, '!'), pem.size(), pem), -5},
      {Block(9000, std::string(9000, 'A'), pem.size(), pem), -5},
      {Block(4, "AAAA", Text("ec.pem").size(), Text("ec.pem")), -5},
  };
  for (const auto& row : kCases) {
    folder_.Write("file", row.file);
    EXPECT_EQ(Verify(), row.result) << "row " << &row - kCases;
    EXPECT_EQ(signer_ == "untouched", row.result != OxFileSigner::kMismatch) << "row " << &row - kCases;
  }
  // To the signer, a length beyond the file belongs to the content; any other is taken as it stands.
  const std::string beyond = kContent + Number(0xFFFFFFFF) + end;
  EXPECT_EQ(Signed(valid_, beyond).rfind(beyond + "ngis", 0), 0U);
  EXPECT_EQ(Signed(valid_, kContent + Number(12) + end).rfind(kContent.substr(0, 18) + "ngis", 0), 0U);
}

TEST_F(FileSigner, WhatCannotBeSigned) {
  folder_.MakeFolder("folder");
  ASSERT_EQ(mkfifo(folder_.Path("fifo").c_str(), 0600), 0);
  for (const char* name : {"folder", "fifo", "missing"}) {
    const OxString path(folder_.Path(name).c_str());
    EXPECT_EQ(OxFileSigner::Verify(path, signer_, trust_), OxFileSigner::kCannotOpen) << name;
    EXPECT_EQ(OxFileSigner::Sign(path, OxString(), valid_), OxFileSigner::kCannotOpen) << name;
  }
  const std::string before = Signed(valid_, kContent);
  for (const auto& unable :
       {Signer("valid.pem", "rsa1024.key"), Signer("ec.pem", "signer.key"),
        SigningFixtures::Certificate("valid.pem"), Hux::SmartPtr<OxCertificate>()}) {
    EXPECT_EQ(OxFileSigner::Sign(path_, OxString(), unable), OxFileSigner::kKeyMismatch);
    EXPECT_TRUE(folder_.Read("file") == before);
  }
}

// Signs anew over no trailer, a shorter and a longer one, and fails each call to the disk in turn.
TEST_F(FileSigner, AFailureAnywhereLeavesTheOldEnd) {
  for (const std::string& before : {kContent, Signed(short_, kContent), Signed(long_, kContent)}) {
    const std::string after = Signed(valid_, before);
    EXPECT_TRUE(after == Signed(valid_, kContent)) << "one trailer";
    int failures = 0;
    for (int n = 1, goesOn = 1; goesOn; ++n) {
      folder_.Write("file", before);
      Support::FaultPlan plan;
      plan.failCall = n;
      plan.mostBytes = 700;
      testing::internal::CaptureStderr();
      Support::FaultyFileOps faults(plan);
      const std::int32_t result = OxFileSigner::Sign(path_, OxString(), valid_);
      const bool isUnwritten = testing::internal::GetCapturedStderr() ==
                               "Error: could not write to file '" + folder_.Path("file") + "'\n";
      const bool isSigned = result == OxFileSigner::kSuccess && !isUnwritten;
      EXPECT_TRUE(folder_.Read("file") == (isSigned ? after : before)) << "call " << n;
      failures += isUnwritten;
      goesOn = faults.Fired();
    }
    EXPECT_GT(failures, 3) << "opening, asking, two writes";
  }
}

}  // namespace
