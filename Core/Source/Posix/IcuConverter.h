#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct UConverter;

namespace Posix {

/// A converter of ICU that fails on bytes that are not valid in its encoding. Opening the first one of a
/// process is expensive: ICU loads its list of names.
class IcuConverter {
 public:
  /// `name` must not be null or empty, which would mean ICU's default encoding. Forbids ICU to read
  /// files, for the whole process: its tables come from the library alone.
  explicit IcuConverter(const char* name);

  /// The IANA name of the encoding for which `alias` is a name in ICU; empty for an unknown one.
  static std::string StandardName(const std::string& alias);

  /// Whether the converter removes a leading byte-order mark.
  bool TakesMarks() const;
  bool IsOpen() const { return converter_ != nullptr; }  ///< False for a name that ICU does not know.

  /// The character that one or two bytes decode to; nullopt when that is not one character of the basic
  /// plane.
  std::optional<char16_t> DecodeCell(std::string_view bytes) const;

  /// Appends the text to `utf8`, whose memory is reserved beforehand. False when bytes are invalid; part of the
  /// text has been appended then.
  bool Decode(std::string_view bytes, std::string& utf8) const;

 private:
  struct Closer {
    void operator()(UConverter* converter) const;
  };

  std::unique_ptr<UConverter, Closer> converter_;
};

}  // namespace Posix
