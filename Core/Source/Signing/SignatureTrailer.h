#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "Files/OxFile.h"
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
/// Only these fields are read, and none that is longer than Sign() could write. A failed read throws
/// OxFile::FileError.
struct SignatureTrailer {
  /// Bytes. Parsing PEM takes several times its length in memory, so a hostile file must not choose it; real
  /// certificates are far smaller.
  static constexpr std::size_t kLongestCertificate = std::size_t{1024} * 1024;
  /// Characters; the longest that the cryptographic library can make has 2732.
  static constexpr std::size_t kLongestSignature = 4096;

  OxBuffer signature;    ///< Base64; empty if that in the file is longer than kLongestSignature.
  OxBuffer certificate;  ///< PEM.

  /// T, unchecked, of a file of `size` bytes; nullopt when it has fewer than 9 bytes or does not end in the magic.
  static std::optional<std::uint32_t> FindLength(OxFile& file, std::uint64_t size);

  /// Parses the block of `length` bytes at `start`, which must be inside the file. Nullopt when its fields do not
  /// fill it exactly, or the certificate is too long. The texts themselves are not checked.
  static std::optional<SignatureTrailer> Read(OxFile& file, std::uint64_t start, std::uint32_t length);

  /// The block for both texts, whose lengths are not checked.
  OxBuffer Build() const;
};

/// Reads `count` bytes at `position`. Throws OxFile::FileError when the file has fewer.
OxBuffer ReadBytes(OxFile& file, std::uint64_t position, std::size_t count);
