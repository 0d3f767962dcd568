#include "Foundation/VisibleText.h"

#include <algorithm>
#include <cstddef>

#include "Foundation/StringWalk.h"
#include "Foundation/UnicodeConversion.h"

namespace {

struct CodePointRange {
  unsigned long first;
  unsigned long last;
};

constexpr CodePointRange kInvisible[] = {
    {0x00, 0x1F},      // C0 controls
    {0x7F, 0x9F},      // DEL and the C1 controls
    {0x061C, 0x061C},  // Arabic letter mark
    {0x200E, 0x200F},  // left-to-right and right-to-left mark
    {0x2028, 0x202E},  // line and paragraph separator, bidirectional embeddings and overrides
    {0x2066, 0x2069},  // bidirectional isolates
};

bool IsInvisible(unsigned long codePoint) {
  return std::ranges::any_of(kInvisible, [codePoint](const CodePointRange& range) {
    return codePoint >= range.first && codePoint <= range.last;
  });
}

// The character that `text` begins with; empty where it begins with none.
std::string_view FirstCharacter(std::string_view text) {
  const std::size_t length = GetUTF8SequenceLength(static_cast<unsigned char>(text.front()));
  if (length == 0 || length > text.size()) return {};
  const std::string_view character = text.substr(0, length);
  const bool isWhole = std::ranges::all_of(character.substr(1), StringWalk::IsContinuation);
  return isWhole ? character : std::string_view();
}

bool IsVisible(std::string_view character) {
  if (character.empty()) return false;
  unsigned short length = 0;
  return !IsInvisible(
      UTF8CharToUnicode(reinterpret_cast<const unsigned char*>(character.data()), length));
}

}  // namespace

std::string VisibleText(std::string_view text) {
  std::string visible;
  visible.reserve(text.size());
  while (!text.empty()) {
    const std::string_view character = FirstCharacter(text);
    visible += IsVisible(character) ? character : "?";
    text.remove_prefix(std::max<std::size_t>(character.size(), 1));
  }
  return visible;
}
