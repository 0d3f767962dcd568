#include "Foundation/StringWalk.h"

#include <algorithm>

bool StringWalk::IsAscii(std::string_view text) {
  return std::none_of(text.begin(), text.end(), [](char c) { return static_cast<signed char>(c) < 0; });
}

std::size_t StringWalk::CountCharacters(std::string_view utf8) {
  std::size_t characters = 0;
  for (const char byte : utf8) characters += IsContinuation(byte) ? 0 : 1;
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
