#include "Xml/OxXMLScanner.h"

#include "Foundation/StringWalk.h"

using XMLCharacters::IsByte;

namespace {

// Whether anything was taken.
bool Append(std::string_view taken, OxString& out) {
  out.append_valid(taken);
  return !taken.empty();
}

}  // namespace

bool OxXMLScanner::IsAsciiStringChar(std::uint32_t c) {
  return c == '\t' || (c >= ' ' && c <= '&' && c != '"') || (c >= 0x2A && c <= 0x7E);
}

// ---- Matching

bool OxXMLScanner::MatchWhitespace(MatchKind kind) {
  if (!IsByte(PeekByte(), XMLCharacters::kSpaceByte)) return kind == kZeroOrMore;
  if (kind == kExactlyOne) {
    TakeByte();
  } else {
    SkipWhitespace();
  }
  return true;
}

bool OxXMLScanner::MatchName(OxString& out) {
  std::string spill;
  return Append(TakeName(spill), out);
}

bool OxXMLScanner::MatchNameToken(OxString& out) {
  std::string spill;
  return Append(TakeNameCharacters(spill), out);
}

bool OxXMLScanner::MatchEntityRef(OxString& out) {
  std::string spill;
  return Append(TakeEntityRef(spill), out);
}

bool OxXMLScanner::MatchPERef(OxString& out) {
  std::string spill;
  return Append(TakePERef(spill), out);
}

bool OxXMLScanner::MatchCharRef(OxString& out) {
  std::uint32_t codePoint = 0;
  if (!TakeCharRef(codePoint)) return false;
  out += codePoint;
  return true;
}

bool OxXMLScanner::MatchNumber(OxString& out) {
  return MatchDigits(kOneOrMore, out);
}

bool OxXMLScanner::MatchHexDigit(OxString& out) {
  return Match(&OxXMLScanner::IsHexDigit, kExactlyOne, out);
}

// ---- Runs

std::string_view OxXMLScanner::TakeCharacter(std::uint32_t& codePoint) {
  const char* begin = at_;
  const std::size_t bytes = StringWalk::SequenceLength(begin);
  codePoint = static_cast<std::uint32_t>(StringWalk::Decode(begin));
  if (*begin == '\n') line_ += lineStep_;
  at_ += bytes;
  return {begin, bytes};
}

// Nothing, or a name that ends with its segment or has more than ASCII.
std::string_view OxXMLScanner::TakeRareName(std::string& spill) {
  if (!IsByte(PeekByte(), XMLCharacters::kNameStartByte)) return {};
  return TakeNameCharacters(spill);
}

// The name characters at the position, within its segment.
std::string_view OxXMLScanner::TakeNameRun() {
  const char* begin = at_;
  for (;;) {
    while (IsByte(*at_, XMLCharacters::kNameByte)) ++at_;
    if (at_[0] != '\xC2' || at_[1] != '\xB7') break;
    at_ += 2;
  }
  return {begin, static_cast<std::size_t>(at_ - begin)};
}

// What ends with its segment may go on in the next one, and the segment may be gone by then.
std::string_view OxXMLScanner::TakeNameCharacters(std::string& spill) {
  PeekByte();
  const std::string_view name = TakeNameRun();
  if (*at_ != 0) return name;
  spill.assign(name);
  while (*at_ == 0 && NextSegment()) spill.append(TakeNameRun());
  return spill;
}

std::string_view OxXMLScanner::TakeReference(char opener, std::string& spill) {
  const Pos start = GetPos();
  if (!MatchByte(opener)) return {};
  const std::string_view name = TakeName(spill);
  if (!name.empty() && MatchByte(';')) return name;
  SetPos(start);
  return {};
}

bool OxXMLScanner::TakeCharRef(std::uint32_t& codePoint) {
  const Pos start = GetPos();
  if (!MatchASCII("&#")) return false;
  const std::uint32_t base = MatchByte('x') ? 16 : 10;
  std::uint32_t value = 0;
  bool any = false;
  for (;; any = true, TakeByte()) {
    const std::uint32_t digit = XMLCharacters::GetHexCharValue(static_cast<unsigned char>(PeekByte()));
    if (digit >= base) break;
    value = value * base + digit;
  }
  if (!any || !MatchByte(';')) {
    SetPos(start);
    return false;
  }
  codePoint = value;
  return true;
}

// ---- Expectations

void OxXMLScanner::Fail(OxXMLError::Error kind, const OxString& text) const {
  throw OxXMLError(kind, text, GetLine());
}

void OxXMLScanner::FailSyntax(const OxString& text) const {
  Fail(OxXMLError::kSyntaxError, text);
}

OxString OxXMLScanner::ExpectName(const char* description) {
  SkipWhitespace();
  OxString name;
  if (MatchName(name)) return name;
  FailSyntax(OxString("Expected ") + description);
}

void OxXMLScanner::ExpectWhitespace(const char* after) {
  if (MatchWhitespace(kOneOrMore)) return;
  FailSyntax(OxString("Expected whitespace after ") + after);
}

bool OxXMLScanner::MatchCommentOpener(bool strict) {
  return MatchASCII("!--") || (!strict && MatchASCII("--"));
}
