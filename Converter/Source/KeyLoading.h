#pragma once

#include "Foundation/OxPath.h"
#include "Foundation/OxString.h"
#include "Foundation/SmartPtr.h"
#include "Signing/CryptoHandles.h"
#include "Signing/OxCertificate.h"

/// Reads the private key of a signing run from a PEM file: the first key in the file, traditional
/// or PKCS #8, encrypted or not. Null when there is none, when it is not RSA, or when `passPhrase`
/// does not open it; only a file that cannot be read gives a line on standard error of its own.
///   Secrets: an empty pass phrase is none, and nobody is ever asked for one. At most its first 1024
///            bytes are used. The file's bytes are wiped; copies of the pass phrase are left on the
///            stack below the caller, who wipes them (RunOptions::ForgetPassPhrase).
/// InitialiseCryptoLibrary() comes first.
Crypto::Ptr<rsa_st> ReadPrivateKey(const OxString& keyFile, const OxString& passPhrase);

/// Reads the signer's certificate from a PEM file. Null, with a line on standard error, when the
/// file cannot be read or holds no certificate. Deliberate: those two lines have no line end; null
/// without a line when what follows the last dot of the whole path is neither empty nor "pem";
/// `passPhrase` is not used.
Hux::SmartPtr<OxCertificate> ReadCertificateFromFile(const OxPath& certFile, const OxString& passPhrase);
