#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#include "Foundation/OxString.h"
#include "Foundation/StringWalk.h"
#include "Posix/CaseFolding.h"

namespace {

constexpr unsigned long kLastCodePoint = 0x10FFFF;
constexpr unsigned long kFirstSupplementary = 0x10000;
constexpr std::size_t kAllCharacters = std::numeric_limits<std::size_t>::max();

constexpr std::array<unsigned char, 256> kFoldedAscii = [] {
  std::array<unsigned char, 256> folded{};
  for (unsigned i = 0; i < 256; ++i) {
    folded[i] = static_cast<unsigned char>(i >= 'A' && i <= 'Z' ? i - 'A' + 'a' : i);
  }
  return folded;
}();

unsigned char FoldAscii(char c) {
  return kFoldedAscii[static_cast<unsigned char>(c)];
}

bool IsHighSurrogate(unsigned long c) {
  return c >= 0xD800 && c <= 0xDBFF;
}
bool IsLowSurrogate(unsigned long c) {
  return c >= 0xDC00 && c <= 0xDFFF;
}

// Reads UTF-8 text as the UTF-16 code units it would become, without making them. Surrogates that
// were stored as characters of their own meet their partner here, as they would in UTF-16.
class UnitReader {
 public:
  static constexpr int kEnd = -1;

  UnitReader(std::string_view text, std::size_t characters, bool fold)
      : text_(text), left_(characters), fold_(fold) {}

  int Next() {
    if (pendingLow_ != 0) return std::exchange(pendingLow_, 0);
    if (text_.empty() || left_ == 0) return kEnd;
    const unsigned long c =
        fold_ ? Posix::FoldCase(static_cast<char32_t>(NextCharacter())) : NextCharacter();
    if (c < kFirstSupplementary) return static_cast<int>(c);
    pendingLow_ = static_cast<int>(0xDC00 + (c & 0x3FF));
    return static_cast<int>(0xD800 + ((c - kFirstSupplementary) >> 10));
  }

 private:
  unsigned long NextCharacter() {
    const unsigned long c = Take();
    if (!IsHighSurrogate(c) || text_.empty() || left_ == 0) return c;
    const unsigned long partner = StringWalk::Decode(text_.data());
    if (!IsLowSurrogate(partner)) return c;
    Take();
    return ((c - 0xD800) << 10) + partner + 0x2400;
  }

  unsigned long Take() {
    const unsigned long c = StringWalk::Decode(text_.data());
    text_.remove_prefix(StringWalk::SequenceLength(text_.data()));
    --left_;
    return c;
  }

  std::string_view text_;
  std::size_t left_;
  bool fold_;
  int pendingLow_ = 0;
};

// Whether the first `characters` characters are there and none of them is above U+10FFFF.
bool BecomesUtf16(std::string_view text, std::size_t characters) {
  if (characters != kAllCharacters && characters > StringWalk::CountCharacters(text)) return false;
  for (std::size_t i = 0; i < characters && !text.empty(); ++i) {
    if (StringWalk::Decode(text.data()) > kLastCodePoint) return false;
    text.remove_prefix(StringWalk::SequenceLength(text.data()));
  }
  return true;
}

int Sign(int difference) {
  return (difference > 0) - (difference < 0);
}

int CompareUnits(UnitReader a, UnitReader b) {
  for (;;) {
    const int unitA = a.Next();
    const int unitB = b.Next();
    if (unitA != unitB || unitA == UnitReader::kEnd) return Sign(unitA - unitB);
  }
}

int CompareSizes(std::size_t a, std::size_t b) {
  return (a > b) - (a < b);
}

int CompareAscii(std::string_view a, std::string_view b, bool fold) {
  if (!fold) return Sign(a.compare(b));
  const std::size_t common = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < common; ++i) {
    const int difference = FoldAscii(a[i]) - FoldAscii(b[i]);
    if (difference != 0) return Sign(difference);
  }
  return CompareSizes(a.size(), b.size());
}

}  // namespace

int OxString::compare(const OxString& other, ECaseSense caseSense) const {
  if (this == &other || (empty() && other.empty())) return 0;
  const bool fold = caseSense == kCaseInsensitive;
  if (is_ascii() && other.is_ascii()) return CompareAscii(view(), other.view(), fold);
  if (!BecomesUtf16(view(), length_) || !BecomesUtf16(other.view(), other.length_)) return 1;
  return CompareUnits({view(), length_, fold}, {other.view(), other.length_, fold});
}

int OxString::compare(const char* utf8, ECaseSense caseSense) const {
  return compare(OxString(utf8), caseSense);
}

int CompareNoCase(std::string_view a, std::string_view b) {
  if (StringWalk::IsAscii(a) && StringWalk::IsAscii(b)) return CompareAscii(a, b, true);
  if (!BecomesUtf16(a, kAllCharacters) || !BecomesUtf16(b, kAllCharacters)) return 1;
  return CompareUnits({a, kAllCharacters, true}, {b, kAllCharacters, true});
}

std::size_t HashNoCase(std::string_view utf8) {
  constexpr std::size_t kOffset = 0xCBF29CE484222325;
  constexpr std::size_t kPrime = 0x100000001B3;
  std::size_t hash = kOffset;
  if (StringWalk::IsAscii(utf8)) {
    for (const char c : utf8) hash = (hash ^ FoldAscii(c)) * kPrime;
    return hash;
  }
  UnitReader units(utf8, kAllCharacters, true);
  for (int unit = units.Next(); unit != UnitReader::kEnd; unit = units.Next()) {
    hash = (hash ^ static_cast<std::size_t>(unit)) * kPrime;
  }
  return hash;
}

std::size_t HashNoCase(const OxString& text) {
  return HashNoCase(text.view());
}
