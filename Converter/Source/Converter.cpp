#include "Converter.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "BundlePlan.h"
#include "CommandLine.h"
#include "Console.h"
#include "Files/CryptoLibrary.h"
#include "Files/FileIdentity.h"
#include "Files/OxFileUtils.h"
#include "Flattening.h"
#include "Foundation/VisibleText.h"
#include "KeyLoading.h"
#include "Listing.h"
#include "OutputPath.h"
#include "PathExpansion.h"
#include "Posix/LazyLibrary.h"
#include "Posix/MemoryImages.h"
#include "Progress.h"
#include "Signing/CryptoHandles.h"
#include "Signing/OxFileSigner.h"
#include "Unflattening.h"
#include "Utilities/TextDecoding.h"

namespace {

enum ExitStatus { kExitSuccess = 0, kExitFailure = 1 };

constexpr const char* sConverterVersion = "1.1";
constexpr int kBuildNumber = 12;

constexpr const char* kUsage =
    "Usage: Converter [-v] [-list] [-flat | -unflat] [-sign -key host.key -cert certfile "
    "[-p foo | -pf passfile]] [-verify] file-or-bundle [-o output-dir]";

void PrintBanner() {
  // Deliberate: the letter e behind the version.
  Console::PrintFormatted("Plover Widget Converter v%se (build %d)\n", sConverterVersion, kBuildNumber);
}

bool ReadPassPhraseFile(RunOptions& options) {
  unsigned int encoding = kWobEncodingUnknown;
  if (!WobReadTextFile(options.passPhraseFile, encoding, options.passPhrase)) {
    Console::Error("Error: Unable to read password from '%s'\n", options.passPhraseFile.c_str());
    return false;
  }
  options.passPhrase.trim();
  return true;
}

// The certificate with its private key, or null after the line that says why.
Hux::SmartPtr<OxCertificate> PrepareSigning(RunOptions& options) {
  InitialiseCryptoLibrary();
  if (options.privateKey.empty()) Console::Error("Error: No private key specified with -sign option\n");
  if (options.certificate.native_string().empty()) {
    Console::Error("Error: No certificate file specified with -sign option\n");
    return nullptr;
  }
  if (!options.passPhrase.empty() && !options.passPhraseFile.empty()) {
    Console::Error("Error: Can't specify a password and a passfile at the same time.\n");
    return nullptr;
  }
  if (!options.passPhraseFile.empty() && !ReadPassPhraseFile(options)) return nullptr;
  Hux::SmartPtr<OxCertificate> certificate = ReadCertificateFromFile(options.certificate, OxString());
  if (!certificate) return nullptr;
  Crypto::Ptr<rsa_st> key = ReadPrivateKey(options.privateKey, options.passPhrase);
  options.ForgetPassPhrase();
  if (!key) {
    Console::Error("Error: Unable to read or extract private key.\n");
    return nullptr;
  }
  certificate->SetPrivateKey(key.release());
  return certificate;
}

// Finds the input and output of flattening or unflattening. Where flattening would write over a file, the
// bundle is walked first; `plan` receives what that found. False, after one line on standard error, when
// the jobs must not run.
bool PreparePaths(RunOptions& options, std::optional<BundlePlan>& plan) {
  const std::optional<OxPath> output = ResolveOutputPath(options.input, options.output);
  if (!output) return false;
  options.output = *output;
  if (!options.flatten || !Identify(options.output.native_string())) return true;
  plan = PlanContents(options.input, options.output);
  if (plan->reachesArchive) ReportOutputIsInput();
  return !plan->reachesArchive;
}

void Flatten(RunOptions& options, std::optional<BundlePlan> plan) {
  const Progress progress("Flattening", Progress::Counted::kWritten);
  if (!FlattenBundle(options.input, options.output, false, options.verbose, std::move(plan))) {
    Console::Error("Error: FlattenBundle failed\n");
  }
  options.input = options.output;
}

void Unflatten(RunOptions& options) {
  const Progress progress("Unflattening", Progress::Counted::kWritten);
  if (!UnflattenFile(options.input, options.output, options.verbose)) {
    Console::Error("Error: UnflattenBundle failed\n");
  }
  options.input = options.output;
}

void ReportUnreadable(const OxString& file) {
  Console::Error("Error: Unable to read file '%s'\n", file.c_str());
}

bool Sign(const OxString& file, const Hux::SmartPtr<OxCertificate>& certificate) {
  const Progress progress("Signing", Progress::Counted::kRead);
  Progress::ExpectAllOf(file);
  const std::int32_t result = OxFileSigner::Sign(file, OxString(), certificate);
  if (result == OxFileSigner::kKeyMismatch) {
    Console::Error("Error: Private key and certificate public key do not match.\n");
    return false;
  }
  if (result == OxFileSigner::kCannotOpen) ReportUnreadable(file);
  return true;
}

void Verify(const OxString& file) {
  OxString signer;
  unsigned long trust = 0;
  const Progress progress("Verifying", Progress::Counted::kRead);
  Progress::ExpectAllOf(file);
  const std::int32_t result = OxFileSigner::Verify(file, signer, trust);
  const std::string name = VisibleText(signer.view());
  switch (result) {
    case OxFileSigner::kSuccess:
      Console::PrintFormatted("File signature is present and verified. Signer: '%s' Trusted: %d\n",
                              name.c_str(), trust != 0 ? 1 : 0);
      break;
    case OxFileSigner::kNotTrusted:
      Console::PrintFormatted(
          "Signature is valid, however certificate authenticity could not be verified. Signer: '%s'\n",
          name.c_str());
      break;
    case OxFileSigner::kMismatch:
      Console::PrintFormatted("Signature not verified! File integrity uncertain. Signer: '%s'\n",
                              name.c_str());
      break;
    case OxFileSigner::kNoSignature:
      Console::Print("File has no signature.\n");
      break;
    case OxFileSigner::kCannotOpen:
      ReportUnreadable(file);
      break;
    default:  // Deliberate: an unreadable trailer is passed over in silence.
      break;
  }
}

ExitStatus RunJobs(RunOptions& options, std::optional<BundlePlan> plan,
                   const Hux::SmartPtr<OxCertificate>& certificate) {
  if (options.flatten) Flatten(options, std::move(plan));
  if (options.unflatten) Unflatten(options);
  const OxString& file = options.input.native_string();
  if (options.sign) return Sign(file, certificate) ? kExitSuccess : kExitFailure;
  // Deliberate: a run that signs never verifies.
  if (options.verify) Verify(file);
  return kExitSuccess;
}

ExitStatus Run(std::span<char*> arguments) {
  // Before an argument is read: the pass phrase may stand in front of "-sign".
  if (std::ranges::find(arguments, std::string_view("-sign")) != arguments.end())
    Posix::ForbidMemoryImages();
  RunOptions options;
  ParseArguments(arguments, options);
  if (options.verbose) PrintBanner();
  if (options.input.native_string().empty()) return kExitFailure;
  options.input = ExpandPath(options.input);
  if (options.list) {
    ListFileContents(options.input, options.verbose);
    return kExitSuccess;
  }
  std::optional<BundlePlan> plan;
  const bool hasOutput = options.flatten || options.unflatten;
  if (hasOutput && !PreparePaths(options, plan)) return kExitFailure;
  Hux::SmartPtr<OxCertificate> certificate;
  if (options.sign && !(certificate = PrepareSigning(options))) return kExitFailure;
  options.ForgetPassPhrase();
  return RunJobs(options, std::move(plan), certificate);
}

ExitStatus RunOrExplain(std::span<char*> arguments) {
  try {
    return Run(arguments);
  } catch (const OxString::InvalidEncoding&) {
    Console::Error("Error: an argument is not valid UTF-8\n");
  } catch (const Posix::LibraryNotLoaded&) {
    // Reported where it was needed.
  } catch (const std::exception& failure) {
    Console::Error("Error: %s\n", failure.what());
  } catch (...) {
    Console::Error("Error: the run failed for an unknown reason\n");
  }
  return kExitFailure;
}

}  // namespace

int RunConverter(int argc, char* argv[]) {
  if (argc <= 1) {
    Console::Error("%s\n", kUsage);
    return kExitSuccess;
  }
  const ExitStatus status =
      RunOrExplain(std::span<char*>(argv, static_cast<std::size_t>(argc)).subspan(1));
  Console::Finish();
  return status;
}
