#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

/// The certificates that a program trusts: tables that are made from a folder of certificates when the project is
/// configured. This library only declares them; each program links the target that defines its tables.
namespace BuiltInTrust {

/// One certificate that is trusted by its fingerprint.
struct ImplicitTrust {
  std::array<unsigned char, 20> fingerprint;  ///< SHA-1 of the whole DER certificate.
  std::uint32_t trust;                        ///< What OxCertificate::GetTrust() returns for it.
};

/// Certificates that are trusted by their fingerprint, in the order in which they are compared.
extern const std::array<ImplicitTrust, 3> kImplicitTrust;

/// The root certificates as PEM text without the last line end, in the order of the folder's list.
extern const std::span<const std::string_view> sCerts;

}  // namespace BuiltInTrust
