#include "Utilities/DeclarationSearch.h"

#include <algorithm>
#include <cstddef>

namespace {

constexpr std::size_t kNone = std::string_view::npos;

using Name = std::optional<std::string_view>;

/// The name at the front of the text after a "=", empty when there is none.
using TakeName = std::string_view (*)(std::string_view);

std::string_view TakeQuoted(std::string_view text) {
  constexpr std::string_view kQuotes = "\"'";
  if (text.empty() || kQuotes.find(text.front()) == kNone) return {};
  text.remove_prefix(1);
  return text.substr(0, text.find_first_of(kQuotes));
}

std::string_view TakeBare(std::string_view text) {
  return text.substr(0, text.find_first_of(" >"));
}

std::string_view TakeToken(std::string_view text) {
  return text.substr(0, text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                                               "0123456789_-"));
}

char LowerCase(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool StartsWith(std::string_view text, std::string_view lowerCase) {
  return text.size() >= lowerCase.size() &&
         std::equal(lowerCase.begin(), lowerCase.end(), text.begin(),
                    [](char wanted, char c) { return wanted == LowerCase(c); });
}

bool EndsWith(std::string_view text, std::string_view lowerCase) {
  return text.size() >= lowerCase.size() &&
         StartsWith(text.substr(text.size() - lowerCase.size()), lowerCase);
}

/// Searches for declarations of one kind, given the places where one may begin, in order.
class Search {
 public:
  Search(std::string_view opener, std::string_view key, TakeName takePreferred, TakeName takeOther)
      : opener_(opener), key_(key), takePreferred_(takePreferred), takeOther_(takeOther) {}

  /// `rest` is the text from position `at` on. Each line is searched once, from its first opener on.
  void Examine(std::string_view rest, std::size_t at) {
    if (at < lineEnd_ || !StartsWith(rest, opener_)) return;
    const std::string_view line = LineOf(rest);
    lineEnd_ = at + line.size();
    ExamineLine(line.substr(opener_.size()));
  }

  const Name& Preferred() const { return preferred_; }
  /// The preferred form wins over the other one on an earlier line.
  const Name& Found() const { return preferred_ ? preferred_ : other_; }

 private:
  // The last declaration of each form counts, so the line is searched backwards.
  void ExamineLine(std::string_view line) {
    for (std::size_t end = line.size(); end > 0 && !preferred_;) {
      const std::size_t sign = line.rfind('=', end - 1);
      if (sign == kNone) return;
      if (EndsWith(line.substr(0, sign), key_)) {
        KeepFirst(takePreferred_, line.substr(sign + 1), preferred_);
        KeepFirst(takeOther_, line.substr(sign + 1), other_);
      }
      end = sign;
    }
  }

  // Stops at the first name. That keeps the search linear: each name may run to the end of the line.
  static void KeepFirst(TakeName take, std::string_view value, Name& kept) {
    if (kept) return;
    const std::string_view name = take(value);
    if (!name.empty()) kept = name;
  }

  static std::string_view LineOf(std::string_view rest) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    return line.substr(0, line.find('\0'));
  }

  std::string_view opener_;
  std::string_view key_;
  TakeName takePreferred_;
  TakeName takeOther_;
  std::size_t lineEnd_ = 0;
  Name preferred_;
  Name other_;
};

// Whether a declaration may begin with these two characters, or a zero ends the text here. Without branches, so that
// compilers can vectorise it.
unsigned MayBegin(char first, char second) {
  const unsigned bracket = first == '<';
  const unsigned letter = (second == '?') | (second == 'm') | (second == 'M');
  const unsigned zero = first == '\0';
  return (bracket & letter) | zero;
}

// The first block from `at` on, or else the rest of the text, at least two bytes, where MayBegin() may
// hold.
std::size_t SkipBlocks(std::string_view text, std::size_t at, std::size_t block) {
  for (; text.size() - at > block + 1; at += block) {
    unsigned found = 0;
    for (std::size_t i = at; i < at + block; ++i) found |= MayBegin(text[i], text[i + 1]);
    if (found != 0) break;
  }
  return at;
}

// Where a declaration may begin, or the text ends with a zero, at or after `at`.
std::size_t FindCandidate(std::string_view text, std::size_t at) {
  constexpr std::size_t kBlock = 64;
  for (; at + 1 < text.size(); ++at) {
    if (at % kBlock == 0) at = SkipBlocks(text, at, kBlock);
    if (MayBegin(text[at], text[at + 1]) != 0) return at;
  }
  return kNone;
}

}  // namespace

Name FindDeclaredEncoding(std::string_view text) {
  Search xml("<?", "encoding", TakeQuoted, TakeBare);
  Search html("<meta", "charset", TakeQuoted, TakeToken);
  for (std::size_t at = FindCandidate(text, 0); at != kNone && text[at] != '\0';
       at = FindCandidate(text, at + 1)) {
    xml.Examine(text.substr(at), at);
    if (xml.Preferred()) break;
    html.Examine(text.substr(at), at);
  }
  return xml.Found() ? xml.Found() : html.Found();
}
