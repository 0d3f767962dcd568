#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>

#include "Foundation/OxString.h"
#include "Foundation/Retainable.h"
#include "Foundation/SmartPtr.h"

/// Reads characters out of text, with further text pushed in front of the position on the way.
///   Input:   a chain of segments: the text of SetData(), which is not copied and must outlive the scan,
///            cut in two wherever text is pushed. Reading goes from one to the next without a seam.
///   Lines:   a line feed of the outermost text begins a line, also behind a carriage return; a carriage
///            return alone does not, and neither does anything in pushed text.
///   Failure: a matcher that fails restores the position, and appends nothing to its output.
///   Zeros:   a U+0000 cannot be read: reaching one throws OxString::const_iterator::OutOfBounds.
///   Bytes:   everything compares code points but Match() of a text, which compares bytes: a character in a
///            longer form than it needs, which OxString accepts, matches only the same form there.
class OxScanner {
 private:
  struct Segment;

 public:
  /// How many characters a matcher takes.
  enum MatchKind { kExactlyOne, kOneOrMore, kZeroOrMore };

  /// A place in the input; it keeps pushed text alive for as long as it exists. One that GetPos() did not
  /// give, or gave before there was any input, is no place.
  class Pos {
   public:
    Pos();
    Pos(const Pos& other);
    Pos& operator=(const Pos& other);
    ~Pos();

   private:
    friend class OxScanner;
    const char* at_ = nullptr;
    std::uint32_t line_ = 0;
    Hux::SmartPtr<Segment> segment_;
  };

  OxScanner();  ///< Without input: at its end, at line 0.
  OxScanner(const OxScanner&) = delete;
  OxScanner& operator=(const OxScanner&) = delete;
  virtual ~OxScanner();
  /// Takes one decimal digit.
  virtual bool MatchDigitChar(OxString& out);

  /// Begins to read `text`, whose first line has the number `line`.
  void SetData(const OxString& text, std::uint32_t line);
  /// Puts a copy of `text` in front of the position. Nothing before the first SetData().
  void PushData(const OxString& text);

  /// Whether nothing is left, in pushed text either.
  bool IsEOF() const;
  std::uint32_t GetLine() const { return line_; }  ///< Of the position, as SetData() counts.
  Pos GetPos() const;                              ///< The place that SetPos() goes back to.
  /// Goes back, or forward, to a place of the input that was set last; nothing for no place.
  void SetPos(const Pos& pos);

  /// Advances by one and gives the character that is current then; false, and `out` untouched, when the
  /// position is at the end then.
  bool GetNextChar(std::uint32_t& out);
  /// The character `count` places ahead, 0 being the current one; 0 at the end.
  std::uint32_t PeekAhead(std::size_t count) const;
  /// Whether `text` comes next.
  bool PeekAhead(const OxString& text) const;
  /// Moves by characters, a carriage return and its line feed counting as one; false when the input ends
  /// first. Deliberate: the position is at the end then and not where it was.
  bool Advance(std::size_t count);

  /// Take the text or the character if it comes next. An empty text always does.
  bool Match(const OxString& text);
  bool MatchASCII(const char* characters);  ///< The same for ASCII text, zero-terminated.
  /// One code point, whatever the integer type.
  template <std::integral CodePoint>
  bool Match(CodePoint codePoint) {
    return MatchCodePoint(static_cast<std::uint32_t>(codePoint));
  }

  /// Take characters that `accepts` and append them to `out`; whether there were as many as `kind` asks.
  template <std::predicate<std::uint32_t> Predicate>
  bool Match(Predicate accepts, MatchKind kind, OxString& out) {
    bool any = false;
    std::uint32_t c = 0;
    while (!(any && kind == kExactlyOne) && Current(c) && accepts(c)) {
      AppendCurrent(out);
      any = true;
    }
    return any || kind == kZeroOrMore;
  }
  /// The same with a member function of the scanner's own class.
  template <std::derived_from<OxScanner> Scanner>
  bool Match(bool (Scanner::*accepts)(std::uint32_t) const, MatchKind kind, OxString& out) {
    const auto& self = static_cast<const Scanner&>(*this);
    return Match([&](std::uint32_t c) { return (self.*accepts)(c); }, kind, out);
  }
  /// Decimal digits, by MatchDigitChar().
  bool MatchDigits(MatchKind kind, OxString& out);
  /// One of the characters of `choices`.
  bool MatchOneChoiceChar(const OxString& choices, OxString& out);
  /// As many of them as `kind` asks.
  bool MatchChoice(const OxString& choices, MatchKind kind, OxString& out);

  /// How many pushed texts the position stands in that have not been left yet.
  std::uint32_t Depth() const { return depth_; }
  /// How many bytes are still to be read, pushed text included.
  std::uint64_t BytesLeft() const;

 protected:
  /// The current character; false at the end of the input.
  bool Current(std::uint32_t& c);
  /// Moves over the current character and appends it to `out`.
  void AppendCurrent(OxString& out);
  /// Moves on to the next segment that has text left. False at the end of the input; throws for a zero
  /// inside the text.
  bool NextSegment();

  /// The place within the current segment, as bytes. The text of every segment ends with a zero byte, so
  /// loops need not look at its end.
  const char* at_;
  std::uint32_t line_ = 0;      ///< The number of the line at the place.
  std::uint32_t lineStep_ = 0;  ///< What a line feed adds to the line: 1, or 0 in pushed text.

 private:
  struct Place;

  bool MatchCodePoint(std::uint32_t codePoint);
  bool MatchBytes(const char* bytes, std::size_t count);
  void Enter(const Hux::SmartPtr<Segment>& segment);
  static bool Read(Place& place, std::uint32_t& c);
  // Moves over the current character and gives its bytes.
  std::size_t StepOver();

  std::uint32_t depth_ = 0;
  Hux::SmartPtr<Segment> segment_;
};
