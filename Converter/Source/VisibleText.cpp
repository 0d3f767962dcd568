#include "VisibleText.h"

#include <algorithm>
#include <string_view>

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

}  // namespace

OxString VisibleText(const OxString& text) {
  OxString visible;
  visible.reserve(text.size());
  for (std::string_view rest = text.view(); !rest.empty();) {
    unsigned short length = 1;
    const unsigned long codePoint =
        UTF8CharToUnicode(reinterpret_cast<const unsigned char*>(rest.data()), length);
    visible.append_valid(IsInvisible(codePoint) ? "?" : rest.substr(0, length));
    rest.remove_prefix(length);
  }
  return visible;
}
