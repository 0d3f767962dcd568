#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "Xml/OxScanner.h"
#include "Xml/OxXMLError.h"
#include "Xml/XMLCharacters.h"

/// The lexical rules of XML: white space, names and references, and, for the parser's hot loops, runs of
/// bytes. Only the shortest form of a character counts as markup. Matchers fail as those of OxScanner do.
class OxXMLScanner : public OxScanner {
 public:
  bool MatchWhitespace(MatchKind kind);  ///< Takes what XMLCharacters::IsWhitespace() accepts.
  /// Takes a name and appends it to `out`, as the matchers below append what they take.
  bool MatchName(OxString& out);
  /// One or more name characters.
  bool MatchNameToken(OxString& out);
  /// "&name;"; `out` gets the name.
  bool MatchEntityRef(OxString& out);
  /// "%name;"; `out` gets the name.
  bool MatchPERef(OxString& out);
  /// "&#65;" or "&#x41;" (with a small x); `out` gets the character. Deliberate: the value is taken modulo
  /// 2^32 and not checked.
  bool MatchCharRef(OxString& out);
  /// One or more decimal digits.
  bool MatchNumber(OxString& out);
  bool MatchHexDigit(OxString& out);  ///< Exactly one.

  /// The four characters of XML.
  static bool IsWhitespace(std::uint32_t c) { return XMLCharacters::IsWhitespace(c); }
  /// Deliberate: the form feed counts, although XML does not allow it.
  static bool IsNewline(std::uint32_t c) { return c == 0xA || c == 0xD || c == 0xC; }
  static bool IsDigit(std::uint32_t c) { return XMLCharacters::IsDigit(c); }        ///< 0 to 9.
  static bool IsHexDigit(std::uint32_t c) { return XMLCharacters::IsHexDigit(c); }  ///< In either case.
  /// Tab, space, and what is printable but for the quote, the apostrophe and parentheses.
  static bool IsAsciiStringChar(std::uint32_t c);
  static bool IsNonAsciiChar(std::uint32_t c) { return c >= 0x80 && c <= 0x10FFFF; }  ///< All but ASCII.

  // ---- Runs. A view that is returned is part of the input and lasts as long as the segment is read.

  /// The next byte, or 0 at the end of the input.
  char PeekByte() {
    if (*at_ == 0 && !NextSegment()) return 0;
    return *at_;
  }
  /// Whether the position is at this byte; false at the end of a segment.
  bool AtByte(char byte) const { return *at_ == byte; }
  /// Takes an ASCII character other than a line feed if it is the next one.
  bool MatchByte(char byte) {
    if (PeekByte() != byte) return false;
    ++at_;
    return true;
  }
  /// Takes white space, as much as there is.
  void SkipWhitespace() {
    while (XMLCharacters::IsByte(*at_, XMLCharacters::kSpaceByte) || (*at_ == 0 && NextSegment())) {
      const char* at = at_;
      std::uint32_t feeds = 0;
      for (; XMLCharacters::IsByte(*at, XMLCharacters::kSpaceByte); ++at) feeds += *at == '\n' ? 1U : 0U;
      line_ += feeds * lineStep_;
      at_ = at;
      if (*at != 0) return;
    }
  }
  /// Takes the bytes up to the first of `stops` (of XMLCharacters::ByteClass) or to the end of the
  /// segment, where PeekByte() goes on.
  std::string_view TakeRun(unsigned stops) {
    const char* begin = at_;
    const char* at = begin;
    for (stops |= XMLCharacters::kEndByte;;) {
      while (!XMLCharacters::IsByte(*at, stops | XMLCharacters::kFeedByte)) ++at;
      if (*at != '\n' || XMLCharacters::IsByte('\n', stops)) break;
      line_ += lineStep_;
      ++at;
    }
    at_ = at;
    return {begin, static_cast<std::size_t>(at - begin)};
  }
  /// Takes the byte at the position, which is there.
  void TakeByte() {
    if (*at_ == '\n') line_ += lineStep_;
    ++at_;
  }
  /// Takes the whole character at the position, which is there.
  std::string_view TakeCharacter(std::uint32_t& codePoint);
  /// Takes a name, or nothing and gives an empty view. `spill` holds a name that ends with its segment, which
  /// is gone then: such a view lasts until `spill` changes.
  std::string_view TakeName(std::string& spill) {
    const char* at = at_;
    if (!XMLCharacters::IsByte(*at, XMLCharacters::kNameStartByte)) return TakeRareName(spill);
    do ++at;
    while (XMLCharacters::IsByte(*at, XMLCharacters::kNameByte));
    if (*at == 0 || *at == '\xC2') return TakeRareName(spill);
    const char* begin = std::exchange(at_, at);
    return {begin, static_cast<std::size_t>(at - begin)};
  }
  /// Takes a reference and gives the name in it, or nothing and an empty view.
  std::string_view TakeEntityRef(std::string& spill) { return TakeReference('&', spill); }
  /// The same with "%".
  std::string_view TakePERef(std::string& spill) { return TakeReference('%', spill); }
  /// Takes a character reference and gives its value.
  bool TakeCharRef(std::uint32_t& codePoint);

  // ---- What a parser expects. These throw OxXMLError with the line of the position.

  /// Throws that error, at the line of the position.
  [[noreturn]] void Fail(OxXMLError::Error kind, const OxString& text = OxString()) const;
  [[noreturn]] void FailSyntax(const OxString& text) const;  ///< kSyntaxError.
  OxString ExpectName(const char* description);              ///< Behind white space, or "Expected ...".
  void ExpectWhitespace(const char* after);                  ///< Or "Expected whitespace after ...".
  /// What follows the "<" of a comment; lenient takes "--", too.
  bool MatchCommentOpener(bool strict);

 private:
  std::string_view TakeRareName(std::string& spill);
  std::string_view TakeNameRun();
  std::string_view TakeNameCharacters(std::string& spill);
  std::string_view TakeReference(char opener, std::string& spill);
};
