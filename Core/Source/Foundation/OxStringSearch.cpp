#include <algorithm>
#include <cstring>

#include "Foundation/OxString.h"
#include "Foundation/StringWalk.h"
#include "Posix/RegularExpression.h"

// A match can begin at a character only: the first byte of acceptable text never continues another
// character, so a search by bytes finds what a search by characters would.
OxString::Index OxString::FindText(const OxString& text, Index start) const {
  if (start < 0 || start >= length_ || text.empty()) return -1;
  const char* from = FindCharPos(start);
  if (from == nullptr) return -1;
  const auto left = static_cast<std::size_t>(Data() + size_ - from);
  const auto* found = static_cast<const char*>(memmem(from, left, text.Data(), text.size_));
  if (found == nullptr) return -1;
  const std::string_view before(from, static_cast<std::size_t>(found - from));
  if (before.find('\0') != std::string_view::npos) return -1;
  return start + static_cast<Index>(StringWalk::CountCharacters(before));
}

OxString::Index OxString::FindLastText(const OxString& text, Index start) const {
  if (start == -1) start = Index{length_} - 1;
  if (start < 0 || start >= length_ || text.empty() || text.size_ > size_) return -1;
  for (const char* p = FindCharPos(start); p != nullptr; p = PrevCharPos(p), --start) {
    const auto left = static_cast<std::size_t>(Data() + size_ - p);
    if (text.size_ <= left && std::memcmp(p, text.Data(), text.size_) == 0) return start;
  }
  return -1;
}

OxString::Index OxString::FindCodePoint(unsigned long codePoint, Index start) const {
  if (start < 0 || start >= length_) return -1;
  for (const char* p = FindCharPos(start); p != nullptr; p = NextCharPos(p)) {
    if (StringWalk::Decode(p) == codePoint) return p - Data();
  }
  return -1;
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
  return !text.empty() && view().starts_with(text.view()) && text.length_ <= length_;
}

bool OxString::starts_with_nocase(const OxString& text) const {
  return substr(0, text.length_).compare(text, kCaseInsensitive) == 0;
}

bool OxString::ends_with(const OxString& text) const {
  const Index found = FindLastText(text, -1);
  return found != -1 && found == Index{length_} - Index{text.length_};
}

bool OxString::ends_with_nocase(const OxString& text) const {
  if (text.length_ > length_) return false;
  if (is_ascii() && text.is_ascii()) {
    return CompareNoCase(view().substr(size_ - text.size_), text.view()) == 0;
  }
  return substr(length_ - text.length_, text.length_).compare(text, kCaseInsensitive) == 0;
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
  if (size_ == 0) return pieces;
  const char* pieceStart = Data();
  const char* p = Data();
  const char* end = TextEnd();
  const auto push = [&](const char* pieceEnd) {
    OxString piece;
    piece.append_valid({pieceStart, static_cast<std::size_t>(pieceEnd - pieceStart)});
    pieces.push_back(std::move(piece));
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
