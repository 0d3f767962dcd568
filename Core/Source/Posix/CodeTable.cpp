#include "Posix/CodeTable.h"

#include <cstddef>
#include <cstring>

#include <unicode/utf8.h>

namespace Posix {

CodeTable::CodeTable() {
  for (unsigned char byte = 0; byte < 0x80; ++byte) SetByte(byte, byte);
}

CodeTable::Cell CodeTable::CellOf(char16_t character) {
  Cell cell;
  U8_APPEND_UNSAFE(cell.utf8, cell.length, character);
  return cell;
}

void CodeTable::SetByte(unsigned char byte, char16_t character) {
  bytes_[byte] = CellOf(character);
}

void CodeTable::SetPair(unsigned char lead, unsigned char trail, char16_t character) {
  if (rowOfLead_[lead] == 0) {
    pairs_.emplace_back();
    rowOfLead_[lead] = static_cast<std::uint8_t>(pairs_.size());
  }
  pairs_[rowOfLead_[lead] - 1U][trail] = CellOf(character);
}

// False at the first undefined byte or pair.
template <typename Use>
bool CodeTable::ForEachCell(std::string_view bytes, Use use) const {
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    const Cell* cell = &bytes_[byte];
    if (cell->length == 0) {
      if (rowOfLead_[byte] == 0 || ++i == bytes.size()) return false;
      cell = &pairs_[rowOfLead_[byte] - 1U][static_cast<unsigned char>(bytes[i])];
      if (cell->length == 0) return false;
    }
    use(*cell);
  }
  return true;
}

bool CodeTable::Decode(std::string_view bytes, std::string& utf8) const {
  std::size_t size = 0;
  if (!ForEachCell(bytes, [&size](const Cell& cell) { size += cell.length; })) return false;
  // Every cell is copied whole, which is one store, so there must be room after the last character.
  utf8.resize(size + sizeof(Cell));
  char* out = utf8.data();
  ForEachCell(bytes, [&out](const Cell& cell) {
    std::memcpy(out, &cell, sizeof cell);
    out += cell.length;
  });
  utf8.resize(size);
  return true;
}

}  // namespace Posix
