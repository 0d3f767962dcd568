#include <algorithm>
#include <cstring>
#include <string>

#include "Foundation/OxString.h"
#include "Foundation/StringWalk.h"
#include "Posix/RegularExpression.h"

// The first occurrence at or after `from`, and before the next zero byte, or null. No character contains a byte
// that could begin another, so a search by bytes finds what a search by characters would.
const char* OxString::FindBytes(const char* from, std::string_view bytes) const {
  const auto left = static_cast<std::size_t>(Data() + size_ - from);
  const auto* found = static_cast<const char*>(memmem(from, left, bytes.data(), bytes.size()));
  if (found == nullptr) return nullptr;
  return std::memchr(from, 0, static_cast<std::size_t>(found - from) + 1) == nullptr ? found : nullptr;
}

OxString::Index OxString::FindText(const OxString& text, Index start) const {
  if (start < 0 || start >= length_ || text.empty()) return -1;
  const char* from = FindCharPos(start);
  const char* found = from == nullptr ? nullptr : FindBytes(from, text.view());
  if (found == nullptr) return -1;
  const std::string_view passed(from, static_cast<std::size_t>(found - from));
  return start + static_cast<Index>(StringWalk::CountCharacters(passed));
}

OxString::Index OxString::FindLastText(const OxString& text, Index start) const {
  if (start == -1) start = Index{length_} - 1;
  if (start < 0 || start >= length_ || text.empty()) return -1;
  const char* from = FindCharPos(start);
  if (from == nullptr) return -1;
  const std::string_view passed(Data(), static_cast<std::size_t>(from - Data()));
  const std::size_t found = view().rfind(text.view(), passed.size());
  if (found == std::string_view::npos) return -1;
  return start - static_cast<Index>(StringWalk::CountCharacters(passed.substr(found)));
}

OxString::Index OxString::FindCodePoint(unsigned long codePoint, Index start) const {
  constexpr unsigned long kFirstNonAscii = 0x80;
  if (start < 0 || start >= length_) return -1;
  const char* p = FindCharPos(start);
  if (p != nullptr && is_ascii()) {
    const char byte = static_cast<char>(codePoint);
    p = codePoint < kFirstNonAscii ? FindBytes(p, {&byte, 1}) : nullptr;
    return p == nullptr ? -1 : p - Data();
  }
  while (p != nullptr && StringWalk::Decode(p) != codePoint) p = NextCharPos(p);
  return p == nullptr ? -1 : p - Data();
}

OxString::Index OxString::FindLastCodePoint(unsigned long codePoint, Index start) const {
  if (start == -1) start = Index{length_} - 1;
  if (start < 0 || start >= length_) return -1;
  for (const char* p = FindCharPos(start); p != nullptr; p = PrevCharPos(p), --start) {
    if (StringWalk::Decode(p) == codePoint) return start;
  }
  return -1;
}

bool OxString::starts_with(const OxString& text) const {
  return !empty() && !text.empty() && *Data() != 0 && view().starts_with(text.view());
}

bool OxString::starts_with_nocase(const OxString& text) const {
  return substr(0, text.length_).compare(text, kCaseInsensitive) == 0;
}

bool OxString::ends_with(const OxString& text) const {
  return text.length_ <= length_ && substr(length_ - text.length_, -1).rfind(text) == 0;
}

bool OxString::ends_with_nocase(const OxString& text) const {
  return text.length_ <= length_ &&
         substr(length_ - text.length_, text.length_).compare(text, kCaseInsensitive) == 0;
}

bool OxString::contains(const char* text) const {
  return FindText(OxString(text), 0) != -1;
}

std::vector<OxString> OxString::findRE(const OxString& pattern, ECaseSense caseSense) const {
  const std::vector<Posix::Match> matches =
      Posix::SearchExpression(std::string(pattern.view()), c_str(), caseSense == kCaseInsensitive);
  std::vector<OxString> pieces;
  pieces.reserve(matches.size());
  for (const Posix::Match& match : matches) {
    const auto start = static_cast<Index>(match.start);
    const Index end = std::min(static_cast<Index>(match.end), Index{length_});
    pieces.push_back(start < end ? substr(start, end - start) : OxString());
  }
  return pieces;
}

std::vector<OxString> OxString::Explode(unsigned long delimiter) const {
  std::vector<OxString> pieces;
  if (empty()) return pieces;
  const char* pieceStart = Data();
  const char* p = Data();
  const char* end = TextEnd();
  const auto push = [&](const char* pieceEnd) {
    pieces.push_back(from_valid({pieceStart, static_cast<std::size_t>(pieceEnd - pieceStart)}));
  };
  while (p < end) {
    const char* next = p + StringWalk::SequenceLength(p);
    if (StringWalk::Decode(p) == delimiter) {
      push(p);
      pieceStart = next;
    }
    p = next;
  }
  push(p);
  return pieces;
}
