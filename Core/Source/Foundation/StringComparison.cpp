#include "Foundation/StringComparison.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <utility>

#include "Foundation/StringWalk.h"
#include "Posix/Randomness.h"
#include "Posix/Unicode.h"

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

// Reads UTF-8 text as UTF-16 code units, without storing them. Surrogates that are stored as separate characters
// form pairs here, as they would in UTF-16.
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

// The length of the common prefix, which need not be compared, minus two characters: the difference can be inside
// one, and the one before it can be the first half of a surrogate pair.
std::size_t CommonBytes(std::string_view a, std::string_view b) {
  const auto* differs = std::mismatch(a.begin(), a.end(), b.begin(), b.end()).first;
  return CharacterBefore(a, CharacterBefore(a, static_cast<std::size_t>(differs - a.begin())));
}

int CompareSizes(std::size_t a, std::size_t b) {
  return (a > b) - (a < b);
}

constexpr std::size_t kWordBytes = sizeof(std::uint64_t);

using HashKey = std::array<std::uint64_t, 2>;

// Drawn once per process.
const HashKey& ProcessKey() {
  static const HashKey key = {Posix::RandomNumber(), Posix::RandomNumber()};
  return key;
}

// SipHash-1-3, fed with up to eight bytes at a time. Without the key nobody can choose texts that collide.
class KeyedHash {
 public:
  // The `count` (1 to 7) low bytes of a number whose other bytes are zero.
  void Add(std::uint64_t bytes, unsigned count) {
    pending_ |= bytes << 8 * pendingBytes_;
    total_ += count;
    pendingBytes_ += count;
    if (pendingBytes_ < 8) return;
    Absorb(pending_);
    pendingBytes_ -= 8;
    // What exceeds the eight bytes. With nothing pending, a whole word leaves no rest.
    pending_ = pendingBytes_ == 0 ? 0 : bytes >> 8 * (count - pendingBytes_);
  }
  // Eight bytes; nothing may be pending.
  void AddWord(std::uint64_t word) {
    total_ += 8;
    Absorb(word);
  }

  std::uint64_t Finish() {
    Absorb(pending_ | std::uint64_t{total_ & 0xFFU} << 56);
    v2_ ^= 0xFF;
    for (int round = 0; round < 3; ++round) Mix();
    return v0_ ^ v1_ ^ v2_ ^ v3_;
  }

 private:
  void Absorb(std::uint64_t word) {
    v3_ ^= word;
    Mix();
    v0_ ^= word;
  }
  void Mix() {
    v0_ += v1_;
    v1_ = std::rotl(v1_, 13) ^ v0_;
    v0_ = std::rotl(v0_, 32);
    v2_ += v3_;
    v3_ = std::rotl(v3_, 16) ^ v2_;
    v0_ += v3_;
    v3_ = std::rotl(v3_, 21) ^ v0_;
    v2_ += v1_;
    v1_ = std::rotl(v1_, 17) ^ v2_;
    v2_ = std::rotl(v2_, 32);
  }

  std::uint64_t v0_ = 0x736F6D6570736575 ^ ProcessKey()[0];
  std::uint64_t v1_ = 0x646F72616E646F6D ^ ProcessKey()[1];
  std::uint64_t v2_ = 0x6C7967656E657261 ^ ProcessKey()[0];
  std::uint64_t v3_ = 0x7465646279746573 ^ ProcessKey()[1];
  std::uint64_t pending_ = 0;
  unsigned pendingBytes_ = 0;
  unsigned total_ = 0;
};

// Eight ASCII characters, the first in the lowest byte, with capital letters made small.
std::uint64_t FoldAsciiWord(const char* characters) {
  constexpr std::uint64_t kEach = 0x0101010101010101;
  std::uint64_t word = 0;
  std::memcpy(&word, characters, sizeof word);
  if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap64(word);
  const std::uint64_t fromA = word + kEach * (0x80 - 'A');
  const std::uint64_t beyondZ = word + kEach * (0x80 - 'Z' - 1);
  return word | ((fromA & ~beyondZ & (kEach * 0x80)) >> 2);
}

}  // namespace

int StringComparison::Utf16(std::string_view a, std::string_view b, bool fold) {
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

int StringComparison::Ascii(std::string_view a, std::string_view b, bool fold) {
  if (!fold) return Sign(a.compare(b));
  const std::size_t common = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < common; ++i) {
    const int difference = FoldAscii(a[i]) - FoldAscii(b[i]);
    if (difference != 0) return Sign(difference);
  }
  return CompareSizes(a.size(), b.size());
}

int CompareNoCase(std::string_view a, std::string_view b) {
  if (StringWalk::IsAscii(a) && StringWalk::IsAscii(b)) return StringComparison::Ascii(a, b, true);
  return StringComparison::Utf16(a, b, true);
}

std::size_t HashNoCase(std::string_view utf8) {
  KeyedHash hash;
  if (StringWalk::IsAscii(utf8)) {
    const char* const end = utf8.data() + utf8.size();
    const bool hasWord = utf8.size() >= kWordBytes;
    for (; utf8.size() >= kWordBytes; utf8.remove_prefix(kWordBytes)) {
      hash.AddWord(FoldAsciiWord(utf8.data()));
    }
    const auto left = static_cast<unsigned>(utf8.size());
    if (hasWord && left > 0) {
      hash.Add(FoldAsciiWord(end - kWordBytes) >> 8 * (kWordBytes - left), left);
    } else {
      for (const char c : utf8) hash.Add(FoldAscii(c), 1);
    }
  } else {
    UnitReader units(utf8, true);
    for (int unit = units.Next(); unit != UnitReader::kEnd; unit = units.Next()) {
      // A marker and two more bytes for characters outside ASCII, so that no two texts feed the same bytes.
      const auto value = static_cast<unsigned>(unit);
      hash.Add(value < 0x80 ? value : 0x80U | value << 8, value < 0x80 ? 1 : 3);
    }
  }
  return static_cast<std::size_t>(hash.Finish());
}
