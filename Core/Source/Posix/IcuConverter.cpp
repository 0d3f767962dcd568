#include "Posix/IcuConverter.h"

#include <array>
#include <cstddef>

#include <string.h>
#include <unicode/ucnv.h>
#include <unicode/udata.h>
#include <unicode/utf16.h>

namespace Posix {

namespace {

/// A buffer for text between two encodings, wiped at the end.
template <typename Unit>
class Scratch {
 public:
  Scratch() = default;
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  ~Scratch() { ::explicit_bzero(units_.data(), sizeof units_); }

  Unit* begin() { return units_.data(); }
  Unit* end() { return units_.data() + units_.size(); }

 private:
  std::array<Unit, 4096> units_;
};

// The greatest length of the result: four bytes for each smallest character, or three where that is a UTF-16
// unit, as a character of four bytes takes two units.
std::size_t MostUtf8Bytes(const UConverter* converter, std::size_t bytes) {
  const auto smallest = static_cast<std::size_t>(ucnv_getMinCharSize(converter));
  const std::size_t most = smallest == 2 ? 3 : 4;
  return most * (bytes / smallest + 1);
}

/// The conversion of one text to UTF-8, piece after piece.
class Conversion {
 public:
  Conversion(UConverter* from, UConverter* to) : from_(from), to_(to) {}

  bool Append(std::string_view piece, bool last, std::string& utf8) {
    const char* source = piece.data();
    const char* const sourceEnd = source + piece.size();
    UErrorCode error = U_BUFFER_OVERFLOW_ERROR;
    while (error == U_BUFFER_OVERFLOW_ERROR) {
      error = U_ZERO_ERROR;
      char* target = text_.begin();
      ucnv_convertEx(to_, from_, &target, text_.end(), &source, sourceEnd, units_.begin(), &pending_,
                     &pendingEnd_, units_.end(), first_ ? 1 : 0, last ? 1 : 0, &error);
      first_ = false;
      utf8.append(text_.begin(), target);
    }
    return U_SUCCESS(error);
  }

 private:
  UConverter* from_;
  UConverter* to_;
  Scratch<UChar> units_;
  Scratch<char> text_;
  UChar* pending_ = units_.begin();
  UChar* pendingEnd_ = units_.begin();
  bool first_ = true;
};

}  // namespace

void IcuConverter::Closer::operator()(UConverter* converter) const {
  ucnv_close(converter);
}

IcuConverter::IcuConverter(const char* name) {
  UErrorCode error = U_ZERO_ERROR;
  // Tables come from the library alone: a folder named in the environment must not supply others.
  udata_setFileAccess(UDATA_NO_FILES, &error);
  error = U_ZERO_ERROR;
  converter_.reset(ucnv_open(name, &error));
  if (!IsOpen()) return;
  ucnv_setToUCallBack(converter_.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &error);
  if (U_FAILURE(error)) converter_.reset();
}

std::string IcuConverter::StandardName(const std::string& alias) {
  UErrorCode error = U_ZERO_ERROR;
  const char* const name = ucnv_getStandardName(alias.c_str(), "IANA", &error);
  return U_SUCCESS(error) && name != nullptr ? name : "";
}

bool IcuConverter::TakesMarks() const {
  const UConverterType type = ucnv_getType(converter_.get());
  return type == UCNV_UTF16 || type == UCNV_UTF32;
}

std::optional<char16_t> IcuConverter::DecodeCell(std::string_view bytes) const {
  std::array<UChar, 4> units;
  UErrorCode error = U_ZERO_ERROR;
  const auto size = static_cast<std::int32_t>(bytes.size());
  const std::int32_t count =
      ucnv_toUChars(converter_.get(), units.data(), units.size(), bytes.data(), size, &error);
  if (U_FAILURE(error) || count != 1 || U_IS_SURROGATE(units[0])) return std::nullopt;
  return units[0];
}

bool IcuConverter::Decode(std::string_view bytes, std::string& utf8) const {
  // ICU keeps lengths in 32 bits.
  constexpr std::size_t kPiece = std::size_t{1} << 20;
  const IcuConverter toUtf8("UTF-8");
  if (!toUtf8.IsOpen()) return false;
  utf8.reserve(utf8.size() + MostUtf8Bytes(converter_.get(), bytes.size()));
  Conversion conversion(converter_.get(), toUtf8.converter_.get());
  while (bytes.size() > kPiece) {
    if (!conversion.Append(bytes.substr(0, kPiece), false, utf8)) return false;
    bytes.remove_prefix(kPiece);
  }
  return conversion.Append(bytes, true, utf8);
}

}  // namespace Posix
