// Runs while the project is configured: turns a folder of certificates into the source file of the
// built-in trust tables, or says on standard error what is wrong with the folder.
//   usage: trust_table FOLDER OUTPUT

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

namespace {

namespace fs = std::filesystem;

constexpr const char* kListName = "fingerprints.txt";
constexpr std::size_t kImplicitCount = 3;
constexpr std::size_t kFingerprintBytes = 20;

struct Deleter {
  void operator()(BIO* stream) const { BIO_free(stream); }
  void operator()(X509* certificate) const { X509_free(certificate); }
};
using StreamPtr = std::unique_ptr<BIO, Deleter>;
using CertificatePtr = std::unique_ptr<X509, Deleter>;

struct ListedRoot {
  std::string name;
  std::string fingerprint;
};

[[noreturn]] void Fail(const std::string& message) {
  throw std::runtime_error(message);
}

int RefusePassPhrase(char*, int, int, void*) {
  return -1;
}

CertificatePtr LoadCertificate(const fs::path& file) {
  const StreamPtr stream(BIO_new_file(file.c_str(), "r"));
  if (!stream) Fail(file.filename().string() + ": the file cannot be read");
  CertificatePtr certificate(PEM_read_bio_X509(stream.get(), nullptr, RefusePassPhrase, nullptr));
  if (!certificate) Fail(file.filename().string() + ": the file holds no PEM certificate");
  const CertificatePtr second(PEM_read_bio_X509(stream.get(), nullptr, RefusePassPhrase, nullptr));
  if (second) Fail(file.filename().string() + ": the file holds more than one certificate");
  return certificate;
}

std::vector<unsigned char> Fingerprint(X509* certificate) {
  std::vector<unsigned char> digest(EVP_MAX_MD_SIZE);
  unsigned int length = 0;
  if (X509_digest(certificate, EVP_sha1(), digest.data(), &length) != 1 || length != kFingerprintBytes) {
    Fail("SHA-1 cannot be computed");
  }
  digest.resize(length);
  return digest;
}

// Each byte as two digits behind `prefix`, with `separator` between them.
std::string ToDigits(const std::vector<unsigned char>& bytes, const char* prefix,
                     const char* separator) {
  std::string digits;
  for (const unsigned char byte : bytes) {
    char pair[3];
    std::snprintf(pair, sizeof pair, "%02X", static_cast<unsigned>(byte));
    if (!digits.empty()) digits += separator;
    digits += std::string(prefix) + pair;
  }
  return digits;
}

std::string ToText(X509* certificate) {
  const StreamPtr stream(BIO_new(BIO_s_mem()));
  if (!stream || PEM_write_bio_X509(stream.get(), certificate) != 1) Fail("PEM text cannot be written");
  char* bytes = nullptr;
  const long length = BIO_get_mem_data(stream.get(), &bytes);
  return std::string(bytes, static_cast<std::size_t>(length));
}

std::vector<ListedRoot> ReadList(const fs::path& folder) {
  std::ifstream file(folder / kListName);
  if (!file) Fail(std::string(kListName) + " cannot be read");
  std::vector<ListedRoot> roots;
  for (std::string line; std::getline(file, line);) {
    std::istringstream fields(line);
    ListedRoot root;
    if (!(fields >> root.fingerprint) || root.fingerprint.front() == '#') continue;
    if (!(fields >> root.name)) Fail(std::string(kListName) + ": a line without a file name: " + line);
    std::transform(root.fingerprint.begin(), root.fingerprint.end(), root.fingerprint.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    roots.push_back(root);
  }
  if (roots.empty()) Fail(std::string(kListName) + " lists no root");
  return roots;
}

bool IsImplicit(const std::string& name) {
  return name.rfind("implicit-", 0) == 0;
}

// The names of the implicitly trusted certificates. Every other certificate has to be a listed root, so
// that none lies in the folder without a meaning.
std::vector<std::string> FindImplicit(const fs::path& folder, const std::vector<ListedRoot>& roots) {
  std::set<std::string> listed;
  for (const ListedRoot& root : roots) {
    if (IsImplicit(root.name)) Fail(root.name + " is listed as a root but named as implicitly trusted");
    if (!listed.insert(root.name).second) Fail(root.name + " is listed twice");
  }
  std::vector<std::string> implicit;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    const std::string name = entry.path().filename().string();
    if (entry.path().extension() != ".pem" || listed.contains(name)) continue;
    if (!IsImplicit(name)) {
      Fail(name + " is neither listed in " + kListName + " nor named implicit-*.pem");
    }
    implicit.push_back(name);
  }
  std::sort(implicit.begin(), implicit.end());
  if (implicit.size() != kImplicitCount) {
    Fail("exactly three implicitly trusted certificates (implicit-*.pem) are needed, but there are " +
         std::to_string(implicit.size()));
  }
  return implicit;
}

// The text as string literals, one a line, without its last line end.
std::string QuoteLines(const std::string& text) {
  std::istringstream lines(text);
  std::string quoted;
  for (std::string line; std::getline(lines, line);) {
    if (!quoted.empty()) quoted += "\\n\"\n";
    quoted += "    \"" + line;
  }
  return quoted + "\"";
}

void WriteRoots(const fs::path& folder, const std::vector<ListedRoot>& roots, std::ostream& out) {
  out << "constexpr std::string_view kRoots[] = {\n";
  for (const ListedRoot& root : roots) {
    const CertificatePtr certificate = LoadCertificate(folder / root.name);
    const std::string actual = ToDigits(Fingerprint(certificate.get()), "", ":");
    if (actual != root.fingerprint) {
      Fail(root.name + " has the SHA-1 fingerprint\n  " + actual + "\nbut " + kListName +
           " expects\n  " + root.fingerprint);
    }
    out << "    // " << root.name << "\n" << QuoteLines(ToText(certificate.get())) << ",\n";
  }
  out << "};\n\n";
}

void WriteImplicit(const fs::path& folder, const std::vector<std::string>& names, std::ostream& out) {
  out << "const std::array<ImplicitTrust, " << names.size() << "> kImplicitTrust = {{\n";
  for (const std::string& name : names) {
    const CertificatePtr certificate = LoadCertificate(folder / name);
    out << "    // " << name << "\n    {{" << ToDigits(Fingerprint(certificate.get()), "0x", ", ")
        << "},\n     0xFFFFFFFF},\n";
  }
  out << "}};\n\n";
}

std::string MakeTables(const fs::path& folder) {
  const std::vector<ListedRoot> roots = ReadList(folder);
  const std::vector<std::string> implicit = FindImplicit(folder, roots);
  std::ostringstream out;
  out << "// Made from the trust folder when the project was configured; changes here are lost.\n"
         "#include \"Signing/BuiltInTrust.h\"\n\nnamespace BuiltInTrust {\n\nnamespace {\n\n";
  WriteRoots(folder, roots, out);
  out << "}  // namespace\n\n";
  WriteImplicit(folder, implicit, out);
  out << "const std::span<const std::string_view> sCerts = kRoots;\n\n}  // namespace BuiltInTrust\n";
  return out.str();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  try {
    const std::string tables = MakeTables(argv[1]);
    std::ofstream output(argv[2], std::ios::binary);
    output << tables;
    if (!output.flush()) Fail(std::string(argv[2]) + " cannot be written");
  } catch (const std::exception& error) {
    std::cerr << error.what() << "\n";
    return 1;
  }
  return 0;
}
