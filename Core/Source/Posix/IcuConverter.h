#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct UConverter;

namespace Posix {

/// One of ICU's converters, set to refuse what is not valid in its encoding. Opening the first one of a
/// process is dear: ICU loads its list of names.
class IcuConverter {
 public:
  /// `name` must not be null or empty, which would mean ICU's default encoding. Bars ICU from files, for
  /// the whole process: its tables come from the library alone.
  explicit IcuConverter(const char* name);

  /// The IANA name of the encoding that ICU knows by `alias`; empty for an unknown one.
  static std::string StandardName(const std::string& alias);

  /// Whether a byte-order mark in front is taken for one, and so is missing in the text.
  bool TakesMarks() const;
  bool IsOpen() const { return converter_ != nullptr; }  ///< False for a name that ICU does not know.

  /// What one or two bytes read as; nothing when that is no single character of the basic plane.
  std::optional<char16_t> DecodeCell(std::string_view bytes) const;

  /// Appends the text to `utf8`, for which room is made beforehand. On false, part of it is there.
  bool Decode(std::string_view bytes, std::string& utf8) const;

 private:
  struct Closer {
    void operator()(UConverter* converter) const;
  };

  std::unique_ptr<UConverter, Closer> converter_;
};

}  // namespace Posix
