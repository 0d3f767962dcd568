#include "Posix/Utf8Check.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Posix {

namespace {

// The length of the front of `bytes`, in whole blocks, that is ASCII.
std::size_t AsciiBlocks(std::string_view bytes) {
  constexpr std::uint64_t kHighBits = 0x8080808080808080U;
  std::array<std::uint64_t, 4> block;
  std::size_t length = 0;
  while (bytes.size() - length >= sizeof block) {
    std::memcpy(block.data(), bytes.data() + length, sizeof block);
    if (((block[0] | block[1] | block[2] | block[3]) & kHighBits) != 0) break;
    length += sizeof block;
  }
  return length;
}

bool IsAsciiByte(char byte) {
  return (static_cast<unsigned char>(byte) & 0x80U) == 0;
}

std::size_t AsciiLength(std::string_view bytes) {
  std::size_t length = AsciiBlocks(bytes);
  while (length < bytes.size() && IsAsciiByte(bytes[length])) ++length;
  return length;
}

constexpr bool IsBetween(unsigned char byte, unsigned char lowest, unsigned char highest) {
  return byte >= lowest && byte <= highest;
}

bool IsContinuation(unsigned char byte) {
  return IsBetween(byte, 0x80, 0xBF);
}

// The second byte of three: E0 must not begin an overlong form, nor ED a surrogate.
bool IsSecondOfThree(unsigned char lead, unsigned char byte) {
  return IsBetween(byte, lead == 0xE0 ? 0xA0 : 0x80, lead == 0xED ? 0x9F : 0xBF);
}

// The second byte of four: F0 must not begin an overlong form, nor F4 a number above U+10FFFF.
bool IsSecondOfFour(unsigned char lead, unsigned char byte) {
  return IsBetween(byte, lead == 0xF0 ? 0x90 : 0x80, lead == 0xF4 ? 0x8F : 0xBF);
}

// The length of the character beyond ASCII in front of `size` bytes, or 0 when there is none.
std::size_t CharacterLength(const unsigned char* p, std::size_t size) {
  const unsigned char lead = p[0];
  if (IsBetween(lead, 0xE0, 0xEF)) {
    return size >= 3 && IsSecondOfThree(lead, p[1]) && IsContinuation(p[2]) ? 3 : 0;
  }
  if (IsBetween(lead, 0xC2, 0xDF)) return size >= 2 && IsContinuation(p[1]) ? 2 : 0;
  if (IsBetween(lead, 0xF0, 0xF4)) {
    const bool whole = size >= 4 && IsSecondOfFour(lead, p[1]);
    return whole && IsContinuation(p[2]) && IsContinuation(p[3]) ? 4 : 0;
  }
  return 0;
}

}  // namespace

bool IsAscii(std::string_view bytes) {
  return AsciiLength(bytes) == bytes.size();
}

bool IsUtf8(std::string_view bytes) {
  const auto* const data = reinterpret_cast<const unsigned char*>(bytes.data());
  std::size_t at = 0;
  while (at < bytes.size()) {
    if (data[at] < 0x80) {
      at += AsciiLength(bytes.substr(at));
      continue;
    }
    const std::size_t length = CharacterLength(data + at, bytes.size() - at);
    if (length == 0) return false;
    at += length;
  }
  return true;
}

}  // namespace Posix
