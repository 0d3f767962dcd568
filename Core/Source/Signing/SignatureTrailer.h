#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "Foundation/OxBuffer.h"

/// The block at the end of a signed file. Numbers are unsigned, 32 bits, least significant byte first:
///
///   offset   bytes  field
///   0        4      magic: the bytes "ngis"; never examined by a reader
///   4        4      S
///   8        S      signature as base64 text, without line breaks
///   8+S      4      C
///   12+S     C      the signer's certificate as PEM text, with its last line end; at most 1 MiB
///   12+S+C   4      T = 20+S+C, the length of the whole block
///   16+S+C   4      magic again
///
/// The texts are views of the block that was taken apart.
struct SignatureTrailer {
  /// Bytes. Reading PEM text takes several times its length in memory, which a hostile file must not
  /// choose; no real certificate comes near this.
  static constexpr std::size_t kLongestCertificate = std::size_t{1024} * 1024;

  std::string_view signature;    ///< Base64.
  std::string_view certificate;  ///< PEM.

  /// T as it stands in a file of at least 9 bytes that ends in the magic, unchecked; nothing for any
  /// other file.
  static std::optional<std::uint32_t> FindLength(std::string_view file);

  /// Takes a block apart. Nothing when its fields do not fill it exactly, or the certificate is too long.
  /// What the texts hold is the caller's to check.
  static std::optional<SignatureTrailer> Parse(std::string_view block);

  /// The block for two texts; whether the certificate is too long is the caller's to check.
  OxBuffer Build() const;
};
