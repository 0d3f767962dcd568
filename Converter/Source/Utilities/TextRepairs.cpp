#include "Utilities/TextRepairs.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>

namespace {

std::size_t CountUtf16Units(std::string_view utf8) {
  std::size_t units = 0;
  for (const char c : utf8) {
    const auto byte = static_cast<unsigned char>(c);
    const bool continuation = (byte & 0xC0U) == 0x80U;
    units += (continuation ? 0U : 1U) + (byte >= 0xF0U ? 1U : 0U);
  }
  return units;
}

void CopyInto(std::string_view text, std::string& storage) {
  if (text.data() != storage.data()) storage.assign(text);
}

}  // namespace

std::string_view WithoutYenSigns(std::string_view text, std::string& storage) {
  constexpr std::string_view kYenSign = "\xC2\xA5";
  if (text.find(kYenSign) == std::string_view::npos) return text;
  CopyInto(text, storage);
  std::size_t out = 0;
  for (std::size_t i = 0; i < storage.size(); ++i) {
    const bool yen = storage.compare(i, kYenSign.size(), kYenSign) == 0;
    storage[out++] = yen ? '\\' : storage[i];
    if (yen) ++i;
  }
  storage.resize(out);
  return storage;
}

std::string_view WithoutZeros(std::string_view text, std::string& storage) {
  const std::size_t beforeZero = text.find('\0');
  if (beforeZero == std::string_view::npos) return text;
  const std::size_t units = CountUtf16Units(text);
  if (units <= beforeZero) return text;
  std::printf("Encoded string needs fixing (length %zu, strlen %zu)", units, beforeZero);
  CopyInto(text, storage);
  std::replace(storage.begin(), storage.end(), '\0', ' ');
  return storage;
}
