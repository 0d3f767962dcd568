#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Posix {

/// Decodes a legacy encoding in which one or two bytes make a character of the basic plane. A new table
/// decodes ASCII; every other byte is undefined.
class CodeTable {
 public:
  CodeTable();

  void SetByte(unsigned char byte, char16_t character);  ///< Replaces the byte's character.
  /// Defines a pair of bytes. No effect when `lead` is a character by itself.
  void SetPair(unsigned char lead, unsigned char trail, char16_t character);

  /// Sets `utf8` to the text. False, and `utf8` untouched, when a byte or pair is undefined or the last
  /// pair has no second byte.
  bool Decode(std::string_view bytes, std::string& utf8) const;

 private:
  /// The UTF-8 bytes of a character; length 0: undefined.
  struct Cell {
    std::array<char, 3> utf8 = {};
    std::uint8_t length = 0;
  };
  using Row = std::array<Cell, 256>;

  static Cell CellOf(char16_t character);
  template <typename Use>
  bool ForEachCell(std::string_view bytes, Use use) const;

  Row bytes_ = {};
  std::array<std::uint8_t, 256> rowOfLead_ =
      {};  ///< 1 is the first row of `pairs_`; 0 for no lead byte.
  std::vector<Row> pairs_;
};

}  // namespace Posix
