#include "Posix/Unicode.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include <unicode/uchar.h>
#include <unicode/utf8.h>

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

}  // namespace

bool IsAscii(std::string_view bytes) {
  return AsciiLength(bytes) == bytes.size();
}

bool IsUtf8(std::string_view bytes) {
  const auto* const data = reinterpret_cast<const std::uint8_t*>(bytes.data());
  std::size_t at = 0;
  while (at < bytes.size()) {
    if (data[at] < 0x80) {
      at += AsciiLength(bytes.substr(at));
      continue;
    }
    UChar32 codePoint = 0;
    U8_NEXT(data, at, bytes.size(), codePoint);
    if (codePoint < 0) return false;
  }
  return true;
}

char32_t FoldCase(char32_t codePoint) {
  if (codePoint > UCHAR_MAX_VALUE) return codePoint;
  return static_cast<char32_t>(u_foldCase(static_cast<UChar32>(codePoint), U_FOLD_CASE_DEFAULT));
}

}  // namespace Posix
