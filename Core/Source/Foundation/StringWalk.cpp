#include "Foundation/StringWalk.h"

#include <cstdint>

#include "Posix/Utf8Check.h"

bool StringWalk::IsAscii(std::string_view text) {
  return Posix::IsAscii(text);
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
  if (IsAscii(utf8)) {
    codePoints = utf8.size();
    return true;
  }
  codePoints = 0;
  for (std::size_t i = 0; i < utf8.size(); ++codePoints) {
    const unsigned short length = GetUTF8SequenceLength(static_cast<unsigned char>(utf8[i]));
    if (length == 0 || length > utf8.size() - i) return false;
    for (std::size_t k = 1; k < length; ++k) {
      if (!IsContinuation(utf8[i + k])) return false;
    }
    i += length;
  }
  return true;
}
