// Any bytes, in any encoding: decoding ends, returns well-formed text and chooses an encoding.

#include <cstdio>

#include "Foundation/OxBuffer.h"
#include "Foundation/OxString.h"
#include "FuzzInput.h"
#include "Utilities/TextDecoding.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // The decoder's messages are not tested here.
  static const bool silent = std::freopen("/dev/null", "w", stdout) != nullptr;
  Require(silent, "standard output can be silenced");

  constexpr unsigned kEncodings[] = {0xFFFFFFFF, 0,    1,          513, 520,  527,
                                     1280,       1536, 0x08000100, 524, 99999};
  FuzzInput input(data, size);
  const unsigned asked = kEncodings[input.Byte() % std::size(kEncodings)];
  const std::string_view bytes = input.Rest();
  unsigned encoding = asked;
  const OxString text = WobHandleCharacterEncodings(OxBuffer(bytes.data(), bytes.size()), encoding);
  Require(!bytes.empty() || (text.empty() && encoding == asked), "nothing in, nothing out");
  Require(OxString(text.view()).length() == text.length(), "the text is well-formed");
  if (bytes.find('\0') == std::string_view::npos) {
    try {
      WobCheckForExplicitEncoding(OxString(bytes));
    } catch (const OxString::InvalidEncoding&) {
    }
  }
  WobDecodeUsingCharset(OxBuffer(bytes.data(), bytes.size()), OxString("ISO-8859-7"));
  return 0;
}
