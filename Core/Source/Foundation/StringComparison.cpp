#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "Foundation/OxString.h"
#include "Foundation/StringWalk.h"
#include "Posix/CaseFolding.h"

namespace {

constexpr unsigned long kFirstSupplementary = 0x10000;

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

unsigned long Fold(unsigned long c) {
  return c < kFoldedAscii.size() / 2 ? kFoldedAscii[c] : Posix::FoldCase(static_cast<char32_t>(c));
}

// Reads UTF-8 text as the UTF-16 code units it would become, without making them. Surrogates that
// were stored as characters of their own meet their partner here, as they would in UTF-16.
class UnitReader {
 public:
  static constexpr int kEnd = -1;

  UnitReader(std::string_view text, bool fold) : text_(text), fold_(fold) {}

  int Next() {
    if (pendingLow_ != 0) return std::exchange(pendingLow_, 0);
    if (text_.empty()) return kEnd;
    const unsigned long c = fold_ ? Fold(NextCharacter()) : NextCharacter();
    if (c < kFirstSupplementary) return static_cast<int>(c);
    pendingLow_ = static_cast<int>(0xDC00 + (c & 0x3FF));
    return static_cast<int>(0xD800 + ((c - kFirstSupplementary) >> 10));
  }

 private:
  unsigned long NextCharacter() {
    const unsigned long c = Take();
    if (!IsHighSurrogate(c) || text_.empty()) return c;
    const unsigned long partner = StringWalk::Decode(text_.data());
    if (!IsLowSurrogate(partner)) return c;
    Take();
    return ((c - 0xD800) << 10) + partner + 0x2400;
  }

  unsigned long Take() {
    const unsigned long c = StringWalk::Decode(text_.data());
    text_.remove_prefix(StringWalk::SequenceLength(text_.data()));
    return c;
  }

  std::string_view text_;
  bool fold_;
  int pendingLow_ = 0;
};

// Whether any character is above U+10FFFF, the last that UTF-16 can hold.
bool HoldsBeyondUtf16(std::string_view text) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
  unsigned char found = 0;
  for (std::size_t i = 1; i < text.size(); ++i) {
    found |=
        static_cast<unsigned char>((bytes[i - 1] > 0xF4) | ((bytes[i - 1] == 0xF4) & (bytes[i] > 0x8F)));
  }
  return found != 0;
}

// What becomes UTF-16 of a text that says how long it is: nothing when it is shorter.
std::optional<std::string_view> Characters(std::string_view text, std::size_t count) {
  if (count == StringWalk::CountCharacters(text)) return text;
  std::size_t bytes = 0;
  for (; count > 0 && bytes < text.size(); --count) bytes += StringWalk::SequenceLength(&text[bytes]);
  if (count > 0) return std::nullopt;
  return text.substr(0, bytes);
}

int Sign(int difference) {
  return (difference > 0) - (difference < 0);
}

std::size_t CharacterBefore(std::string_view text, std::size_t place) {
  while (place > 0) {
    --place;
    if (!StringWalk::IsContinuation(text[place])) break;
  }
  return place;
}

// The bytes that need no comparison because both texts begin with them. Two characters stay: the
// difference can lie inside one, and before it a surrogate can wait for its partner.
std::size_t CommonBytes(std::string_view a, std::string_view b) {
  const auto* differs = std::mismatch(a.begin(), a.end(), b.begin(), b.end()).first;
  return CharacterBefore(a, CharacterBefore(a, static_cast<std::size_t>(differs - a.begin())));
}

int CompareUtf16(std::string_view a, std::string_view b, bool fold) {
  if (HoldsBeyondUtf16(a) || HoldsBeyondUtf16(b)) return 1;
  const std::size_t common = CommonBytes(a, b);
  UnitReader unitsA(a.substr(common), fold);
  UnitReader unitsB(b.substr(common), fold);
  for (;;) {
    const int unitA = unitsA.Next();
    const int unitB = unitsB.Next();
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
  const auto mine = Characters(view(), length_);
  const auto others = Characters(other.view(), other.length_);
  return mine && others ? CompareUtf16(*mine, *others, fold) : 1;
}

int OxString::compare(const char* utf8, ECaseSense caseSense) const {
  const std::string_view text(utf8 == nullptr ? "" : utf8);
  if (is_ascii() && StringWalk::IsAscii(text)) {
    return CompareAscii(view(), text, caseSense == kCaseInsensitive);
  }
  return compare(OxString(text), caseSense);
}

int CompareNoCase(std::string_view a, std::string_view b) {
  if (StringWalk::IsAscii(a) && StringWalk::IsAscii(b)) return CompareAscii(a, b, true);
  return CompareUtf16(a, b, true);
}

std::size_t HashNoCase(std::string_view utf8) {
  constexpr std::size_t kOffset = 0xCBF29CE484222325;
  constexpr std::size_t kPrime = 0x100000001B3;
  std::size_t hash = kOffset;
  if (StringWalk::IsAscii(utf8)) {
    for (const char c : utf8) hash = (hash ^ FoldAscii(c)) * kPrime;
    return hash;
  }
  UnitReader units(utf8, true);
  for (int unit = units.Next(); unit != UnitReader::kEnd; unit = units.Next()) {
    hash = (hash ^ static_cast<std::size_t>(unit)) * kPrime;
  }
  return hash;
}

std::size_t HashNoCase(const OxString& text) {
  return HashNoCase(text.view());
}
