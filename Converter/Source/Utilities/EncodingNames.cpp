#include "Utilities/EncodingNames.h"

#include <algorithm>
#include <iterator>

#include "Posix/Encodings.h"

namespace {

struct NamedEncoding {
  std::string_view name;
  unsigned int number;
};

constexpr NamedEncoding kNames[] = {
    {"MACINTOSH", Posix::kSystemEncoding},
    {"UTF-8", Posix::kUtf8},
    {"SHIFT_JIS", Posix::kMacJapanese},
    {"SHIFT-JIS", Posix::kMacJapanese},
    {"ISO-8859-1", 513},
    {"ISO-8859-2", 514},
    {"ISO-8859-3", 515},
    {"ISO-8859-4", 516},
    {"ISO-8859-5", 517},
    {"ISO-8859-6", 518},
    {"ISO-8859-7", 519},
    {"ISO-8859-8", 520},
    {"ISO-8859-9", 521},
    {"ISO-8859-10", 522},
    {"ISO-8859-11", 523},
    {"ISO-8859-13", 525},
    {"ISO-8859-14", 526},
    {"ISO-8859-15", 527},
    {"US-ASCII", Posix::kAscii},
    {"WINDOWS-1252", Posix::kWindowsLatin1},
};

char UpperCase(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

bool EqualsUpperCased(std::string_view upperCase, std::string_view name) {
  return std::equal(upperCase.begin(), upperCase.end(), name.begin(), name.end(),
                    [](char wanted, char c) { return wanted == UpperCase(c); });
}

}  // namespace

std::optional<unsigned int> FindEncodingNumber(std::string_view name) {
  const auto* const found =
      std::find_if(std::begin(kNames), std::end(kNames),
                   [name](const NamedEncoding& entry) { return EqualsUpperCased(entry.name, name); });
  if (found == std::end(kNames)) return std::nullopt;
  return found->number;
}

unsigned int DeclaredEncodingNumber(std::string_view name) {
  constexpr std::string_view kIsoFamily = "ISO-8859";
  const bool iso = EqualsUpperCased(kIsoFamily, name.substr(0, kIsoFamily.size()));
  return FindEncodingNumber(name).value_or(iso ? Posix::kIsoLatin1 : Posix::kMacRoman);
}
