#include "Foundation/StringWalk.h"

#include <algorithm>
#include <cstdint>

#include "Posix/Unicode.h"

namespace {

// A byte must continue a character exactly when one of the three bytes before it begins a character that long.
// Without branches, so that the compiler can vectorise it.
unsigned char Offends(unsigned char third, unsigned char second, unsigned char last,
                      unsigned char byte) {
  const bool reached = (last >= 0xC0) | (second >= 0xE0) | (third >= 0xF0);
  const bool continues = (byte & 0xC0U) == 0x80U;
  return static_cast<unsigned char>((reached != continues) | (byte >= 0xF8));
}

// The same for any position from 0 to the length; bytes outside the text count as zeros.
unsigned char OffendsAt(std::string_view utf8, std::size_t place) {
  const auto at = [utf8](std::size_t i) {
    return i < utf8.size() ? static_cast<unsigned char>(utf8[i]) : static_cast<unsigned char>(0);
  };
  return Offends(at(place - 3), at(place - 2), at(place - 1), at(place));
}

}  // namespace

bool StringWalk::IsAscii(std::string_view utf8) {
  return Posix::IsAscii(utf8);
}

// Counted in blocks whose number fits a byte, which compilers turn into wide additions.
std::size_t StringWalk::CountCharacters(std::string_view utf8) {
  constexpr std::size_t kBlock = 128;
  std::size_t characters = 0;
  while (!utf8.empty()) {
    const std::string_view block = utf8.substr(0, kBlock);
    std::uint8_t inBlock = 0;
    for (const char byte : block)
      inBlock = static_cast<std::uint8_t>(inBlock + (IsContinuation(byte) ? 0 : 1));
    characters += inBlock;
    utf8.remove_prefix(block.size());
  }
  return characters;
}

bool StringWalk::Validate(std::string_view utf8, std::size_t& codePoints) {
  codePoints = utf8.size();
  if (IsAscii(utf8)) return true;
  const auto* bytes = reinterpret_cast<const unsigned char*>(utf8.data());
  unsigned char offends = OffendsAt(utf8, utf8.size());
  for (std::size_t i = 0; i < std::min<std::size_t>(utf8.size(), 3); ++i) offends |= OffendsAt(utf8, i);
  for (std::size_t i = 3; i < utf8.size(); ++i) {
    offends |= Offends(bytes[i - 3], bytes[i - 2], bytes[i - 1], bytes[i]);
  }
  codePoints = CountCharacters(utf8);
  return offends == 0;
}

bool StringWalk::IsAcceptable(std::string_view utf8) {
  std::size_t codePoints = 0;
  return Validate(utf8, codePoints);
}
