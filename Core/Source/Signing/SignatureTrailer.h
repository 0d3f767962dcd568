#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "Foundation/OxBuffer.h"
#include "Storage/OxFile.h"

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
/// Nothing but these fields is read, and none that is longer than any that Sign() writes. What cannot be read
/// throws OxFile::FileError.
struct SignatureTrailer {
  /// Bytes. Reading PEM text takes several times its length in memory, which a hostile file must not
  /// choose; no real certificate comes near this.
  static constexpr std::size_t kLongestCertificate = std::size_t{1024} * 1024;
  /// Characters; the longest that a key of the library can make has 2732.
  static constexpr std::size_t kLongestSignature = 4096;

  OxBuffer signature;    ///< Base64; empty where the file's is longer than kLongestSignature.
  OxBuffer certificate;  ///< PEM.

  /// T as it stands in a file of at least 9 bytes that ends in the magic, unchecked; nothing for any
  /// other file. `size` is the file's length.
  static std::optional<std::uint32_t> FindLength(OxFile& file, std::uint64_t size);

  /// Takes the block of `length` bytes apart that begins at `start` and lies in the file. Nothing when its
  /// fields do not fill it exactly, or the certificate is too long. What the texts hold is the caller's to
  /// check.
  static std::optional<SignatureTrailer> Read(OxFile& file, std::uint64_t start, std::uint32_t length);

  /// The block for two texts; whether they are too long is the caller's to check.
  OxBuffer Build() const;
};

/// The bytes of a file from `position`. Throws OxFile::FileError when they are not all there.
OxBuffer ReadBytes(OxFile& file, std::uint64_t position, std::size_t count);
