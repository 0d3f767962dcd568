#include <array>
#include <cctype>
#include <filesystem>
#include <fstream>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "Files/OxFile.h"
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

// A signed file as its fields; whatever they hold, Build() gives each its right length.
struct Parts {
  std::string content, signature, certificate, gap;

  static Parts Of(const std::string& file, std::size_t content, std::size_t certificate) {
    const std::size_t signature = file.size() - content - certificate - 20;
    return {file.substr(0, content), file.substr(content + 8, signature),
            file.substr(content + 12 + signature, certificate), ""};
  }
  std::string Build() const {
    const std::string block =
        "ngis" + Number(signature.size()) + signature + Number(certificate.size()) + certificate + gap;
    return content + block + Number(block.size() + 8) + "ngis";
  }
};

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

// None of these changes what is digested, or what a lenient reader of base64 and PEM makes of the texts.
TEST_F(FileSigner, NoOtherFileHasTheSameSignature) {
  const std::string pem = Text("valid.pem");
  std::string content = kContent + '\n';  // A reader of PEM passes over whole lines.
  Parts good = Parts::Of(Signed(valid_, content), content.size(), pem.size());
  const auto Raw = [&] {
    OxBuffer raw(good.signature.data(), good.signature.size());
    raw.FromBase64();
    return std::string(raw.view());
  };
  // A signature that does not begin like base64, so that it could pass for what was decoded already.
  while (std::isalnum(static_cast<unsigned char>(Raw()[0])) || Raw()[0] == '+' || Raw()[0] == '/') {
    content.insert(0, 1, '.');
    good = Parts::Of(Signed(valid_, content), content.size(), pem.size());
  }
  const auto Expect = [this](const Parts& parts, std::int32_t result, std::string_view what) {
    folder_.Write("file", parts.Build());
    EXPECT_EQ(Verify(), result) << what;
    EXPECT_EQ(signer_.view(), result == OxFileSigner::kUnreadable ? "untouched" : "Valid Signer")
        << what;
  };
  Expect(good, OxFileSigner::kSuccess, "nothing changed");
  const std::string digested = content + pem;
  for (std::size_t border = 0; border < digested.size(); ++border) {
    if (border == content.size()) continue;
    Parts moved = good;
    moved.content = digested.substr(0, border);
    moved.certificate = digested.substr(border);
    Expect(moved, OxFileSigner::kUnreadable, "border at " + std::to_string(border));
  }
  for (const std::size_t bytes : {1UL, 4UL, 100000UL}) {
    Parts wide = good;
    wide.gap.assign(bytes, '\0');
    Expect(wide, OxFileSigner::kUnreadable, "a gap before T");
  }
  const std::string spare = good.signature.substr(0, 341);
  for (const std::string& text :
       {Raw() + std::string(86, '!') + "==", spare + static_cast<char>(good.signature[341] + 1) + "==",
        good.signature + "====",
        good.signature.substr(0, 64) + "\n\n\n\n" + good.signature.substr(64)}) {
    Parts other = good;
    other.signature = text;
    Expect(other, OxFileSigner::kMismatch, text);
  }
}

TEST_F(FileSigner, OneByteMoreOrLess) {
  const std::string good = Signed(short_, kContent);
  for (std::size_t i = 0; i <= good.size(); ++i) {
    // A byte like the one before it, like the one there, and others that readers of text pass over.
    for (const char more :
         {i < good.size() ? good[i] : ' ', i > 0 ? good[i - 1] : ' ', '\0', '\n', '='}) {
      folder_.Write("file", good.substr(0, i) + more + good.substr(i));
      const std::int32_t result = Verify();
      EXPECT_TRUE(result != OxFileSigner::kSuccess && result != OxFileSigner::kNotTrusted)
          << "at " << i << " " << static_cast<int>(more);
    }
    if (i == good.size()) continue;
    folder_.Write("file", good.substr(0, i) + good.substr(i + 1));
    const std::int32_t result = Verify();
    EXPECT_TRUE(result != OxFileSigner::kSuccess && result != OxFileSigner::kNotTrusted)
        << "without " << i;
  }
}

// Whatever the certificate's file looked like, and whatever trailer the file had.
TEST_F(FileSigner, WhatIsSignedVerifies) {
  const std::string pem = Text("valid.pem");
  const auto Lines = [&](std::size_t width, const std::string& end) {
    std::string body, text = "-----BEGIN CERTIFICATE-----" + end;
    for (const char c : pem.substr(28, pem.size() - 28 - 26)) body += c == '\n' ? "" : std::string(1, c);
    for (std::size_t at = 0; at < body.size(); at += width) text += body.substr(at, width) + end;
    return text + "-----END CERTIFICATE-----";
  };
  std::string old = pem;
  old.insert(old.find("END ") + 4, "X509 ").insert(old.find("BEGIN ") + 6, "X509 ");
  const std::string expected = Signed(valid_, kContent);
  for (const std::string& text :
       {pem, "junk\n" + pem + "junk", Lines(64, "\r\n"), Lines(76, "\n"), Lines(20, " \n"), old}) {
    const auto certificate = OxCertificate::Make(OxBuffer(text.data(), text.size()));
    certificate->SetPrivateKey(
        ReadPrivateKey(SigningFixtures::Path("signer.key").c_str(), OxString()).release());
    EXPECT_TRUE(Signed(certificate, kContent) == expected) << text;
  }
  // Torn and forged trailers whose end is there, and lengths at the edges.
  const std::string end = expected.substr(kContent.size() + 300);
  for (const std::string& file :
       {expected, kContent + end, end, "x" + Number(9) + "ngis", "x" + Number(8) + "ngis",
        kContent + Number(0) + "ngis", kContent + Number(1) + "ngis"}) {
    for (const auto& signer : {valid_, short_, long_}) {
      Signed(signer, file);
      const std::int32_t result = Verify();
      EXPECT_EQ(result, signer == valid_ ? OxFileSigner::kSuccess : OxFileSigner::kNotTrusted) << file;
    }
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

// Puts another file into the place of one when that is opened for the `opening`-th time, or first to be written.
class Swap : public Posix::FileOps {
 public:
  Swap(std::string path, std::string other, int opening)
      : path_(std::move(path)), other_(std::move(other)), opening_(opening) {}

  int Open(Posix::Place place, unsigned flags) override {
    const bool isWritten = opening_ == 0 && (flags & Posix::kOpenToWrite) != 0;
    if (place.path == path_ && (isWritten || ++openings_ == opening_))
      std::filesystem::rename(other_, path_);
    return FileOps::Open(place, flags);
  }

 private:
  std::string path_, other_;
  int opening_, openings_ = 0;
  Posix::ScopedFileOps inPlace_{this};
};

TEST_F(FileSigner, AFileThatIsSwappedMeanwhileIsNeitherVerifiedNorWritten) {
  const std::string good = Signed(valid_, kContent);
  const std::string other(kContent.size(), 'x');
  folder_.Write("file", other + good.substr(kContent.size()));
  folder_.Write("other", kContent);
  {
    const Swap swap(folder_.Path("file"), folder_.Path("other"), 2);
    EXPECT_EQ(Verify(), OxFileSigner::kMismatch) << "content of one file, trailer of another";
  }
  folder_.Write("file", kContent);
  folder_.Write("other", other);
  testing::internal::CaptureStderr();
  {
    const Swap swap(folder_.Path("file"), folder_.Path("other"), 0);
    EXPECT_EQ(OxFileSigner::Sign(path_, OxString(), valid_), OxFileSigner::kSuccess);
  }
  EXPECT_FALSE(testing::internal::GetCapturedStderr().empty());
  EXPECT_EQ(folder_.Read("file"), other);
}

// Writes over a byte when a file is opened to be written, and sets the time back to the second.
class Change : public Posix::FileOps {
 public:
  explicit Change(std::string path) : path_(std::move(path)) {}

  int Open(Posix::Place place, unsigned flags) override {
    if ((flags & Posix::kOpenToWrite) != 0) {
      std::ofstream(path_, std::ios::in | std::ios::binary).put('x');
      const timespec times[2] = {{.tv_sec = 1, .tv_nsec = 0}, {.tv_sec = 1, .tv_nsec = 1}};
      ::utimensat(AT_FDCWD, path_.c_str(), times, 0);
    }
    return FileOps::Open(place, flags);
  }

 private:
  std::string path_;
  Posix::ScopedFileOps inPlace_{this};
};

TEST_F(FileSigner, AFileThatIsChangedMeanwhileIsNotWritten) {
  const timespec times[2] = {{.tv_sec = 1, .tv_nsec = 0}, {.tv_sec = 1, .tv_nsec = 0}};
  ::utimensat(AT_FDCWD, folder_.Write("file", kContent).c_str(), times, 0);
  const Change change(folder_.Path("file"));
  testing::internal::CaptureStderr();
  EXPECT_EQ(OxFileSigner::Sign(path_, OxString(), valid_), OxFileSigner::kSuccess);
  EXPECT_FALSE(testing::internal::GetCapturedStderr().empty());
  EXPECT_EQ(folder_.Read("file"), 'x' + kContent.substr(1));
}

TEST_F(FileSigner, AFileThatIsCutMeanwhileIsNeitherVerifiedNorWritten) {
  const std::string good = Signed(valid_, kContent);
  const Support::FaultyFileOps longer({.extraLength = 7});
  EXPECT_EQ(Verify(), OxFileSigner::kUnreadable);
  EXPECT_EQ(OxFileSigner::Sign(path_, OxString(), valid_), OxFileSigner::kCannotOpen);
  EXPECT_EQ(folder_.Read("file"), good);
}

TEST_F(FileSigner, AFileThatAnotherRunSignsIsNotOpened) {
  folder_.Write("file", kContent);
  OxFile file(path_);
  ASSERT_EQ(file.Open(OxFile::kRead), kStatusOk);
  ASSERT_EQ(file.Lock(), kStatusOk);
  EXPECT_EQ(OxFileSigner::Sign(path_, OxString(), valid_), OxFileSigner::kCannotOpen);
  EXPECT_EQ(folder_.Read("file"), kContent);
}

}  // namespace
