#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

/// Compares the built-in certificates with their fingerprints at compile time, when the cryptographic library cannot be
/// called. Not for use at run time.
namespace BuiltInTrust {

/// SHA-1 over a certificate's DER form.
using Fingerprint = std::array<unsigned char, 20>;

/// The value of a digit among "A" to "Z", "a" to "z", "0" to "9", "+" and "/", or -1.
consteval int DigitValue(char digit) {
  if (digit >= 'A' && digit <= 'Z') return digit - 'A';
  if (digit >= 'a' && digit <= 'z') return digit - 'a' + 26;
  if (digit >= '0' && digit <= '9') return digit - '0' + 52;
  if (digit == '+') return 62;
  return digit == '/' ? 63 : -1;
}

/// The DER form of the one certificate in `pem`.
consteval std::vector<unsigned char> DecodeCertificate(std::string_view pem) {
  std::vector<unsigned char> der;
  std::uint32_t bits = 0;
  int count = 0;
  const std::string_view body = pem.substr(pem.find('\n'), pem.rfind("\n-----") - pem.find('\n'));
  for (const char c : body) {
    const int value = DigitValue(c);
    if (value < 0) continue;
    bits = (bits << 6U) | static_cast<std::uint32_t>(value);
    count += 6;
    if (count >= 8) {
      count -= 8;
      der.push_back(static_cast<unsigned char>(bits >> static_cast<unsigned>(count)));
    }
  }
  return der;
}

/// One step of SHA-1 over the 64 bytes at `block`.
consteval void AddBlock(std::array<std::uint32_t, 5>& state, const unsigned char* block) {
  std::array<std::uint32_t, 80> words{};
  for (std::size_t i = 0; i < 64; ++i) words[i / 4] = (words[i / 4] << 8U) | block[i];
  for (std::size_t i = 16; i < 80; ++i) {
    words[i] = std::rotl(words[i - 3] ^ words[i - 8] ^ words[i - 14] ^ words[i - 16], 1);
  }
  auto [a, b, c, d, e] = state;
  for (std::size_t i = 0; i < 80; ++i) {
    const std::uint32_t mixed = i < 20   ? ((b & c) | (~b & d)) + 0x5A827999U
                                : i < 40 ? (b ^ c ^ d) + 0x6ED9EBA1U
                                : i < 60 ? ((b & c) | (b & d) | (c & d)) + 0x8F1BBCDCU
                                         : (b ^ c ^ d) + 0xCA62C1D6U;
    const std::uint32_t next = std::rotl(a, 5) + mixed + e + words[i];
    e = d;
    d = c;
    c = std::rotl(b, 30);
    b = a;
    a = next;
  }
  state = {state[0] + a, state[1] + b, state[2] + c, state[3] + d, state[4] + e};
}

/// The SHA-1 fingerprint of the one certificate in `pem`.
consteval Fingerprint CertificateFingerprint(std::string_view pem) {
  std::vector<unsigned char> data = DecodeCertificate(pem);
  const std::uint64_t bits = std::uint64_t{data.size()} * 8;
  data.push_back(0x80);
  while (data.size() % 64 != 56) data.push_back(0);
  for (int shift = 56; shift >= 0; shift -= 8) data.push_back(static_cast<unsigned char>(bits >> shift));
  std::array<std::uint32_t, 5> state = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};
  for (std::size_t i = 0; i < data.size(); i += 64) AddBlock(state, &data[i]);
  Fingerprint digest{};
  for (std::size_t i = 0; i < digest.size(); ++i) {
    digest[i] = static_cast<unsigned char>(state[i / 4] >> (24 - i % 4 * 8));
  }
  return digest;
}

/// Parses a fingerprint: hexadecimal digits with colons between the bytes.
consteval Fingerprint FingerprintOf(std::string_view text) {
  Fingerprint bytes{};
  std::size_t digits = 0;
  for (const char c : text) {
    if (c == ':') continue;
    const int value = c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10;
    bytes.at(digits / 2) = static_cast<unsigned char>(bytes.at(digits / 2) * 16 + value);
    ++digits;
  }
  return bytes;
}

}  // namespace BuiltInTrust
