// OxString behaves as a plain sequence of code points, and what every codec encodes it decodes again.

#include <algorithm>

#include "Foundation/OxBuffer.h"
#include "Foundation/OxString.h"
#include "FuzzInput.h"

namespace {

using Model = std::u32string;

OxString FromModel(const Model& model) {
  OxString text;
  for (const char32_t c : model) text += c;
  return text;
}

// One of a few characters, so that searches find something; never zero, which ends walks.
char32_t Character(FuzzInput& input) {
  constexpr char32_t kAlphabet[] = {U'a', U'b', U' ', U'A', 0xE9, 0xC9, 0x20AC, 0x1F600};
  return kAlphabet[input.Byte() % 8];
}

Model Word(FuzzInput& input) {
  Model word;
  for (unsigned left = input.Byte() % 4; left > 0; --left) word += Character(input);
  return word;
}

long Position(std::size_t found) {
  return found == Model::npos ? -1 : static_cast<long>(found);
}

void CheckSearch(FuzzInput& input, const OxString& text, const Model& model) {
  const Model part = Word(input);
  const unsigned start = input.Byte();
  const long expected = part.empty() || start >= model.size() ? -1 : Position(model.find(part, start));
  Require(text.find(FromModel(part), start) == expected, "find agrees");
  const long last = part.empty() || model.empty() ? -1 : Position(model.rfind(part));
  Require(text.rfind(FromModel(part), -1) == last, "rfind agrees");
  Require(text.substr(start, 3).view() ==
              FromModel(start < model.size() ? model.substr(start, 3) : Model()).view(),
          "substr agrees");
}

void Edit(FuzzInput& input, OxString& text, Model& model) {
  const std::size_t at = model.empty() ? 0 : input.Byte() % model.size();
  const Model word = Word(input);
  switch (input.Byte() % 5) {
    case 0:
      text += FromModel(word);
      model += word;
      break;
    case 1:
      if (model.empty()) break;
      text.erase(at, 1);
      model.erase(at, 1);
      break;
    case 2:
      text = text.substr(0, at) + FromModel(word) + text.substr(at, -1);
      model.insert(at, word);
      break;
    case 3:
      text.replace(0xE9, U'b');
      std::replace(model.begin(), model.end(), char32_t{0xE9}, U'b');
      break;
    default: {
      text.trim_left();
      const std::size_t first = model.find_first_not_of(U' ');
      model.erase(0, std::min(first, model.size()));
      break;
    }
  }
}

void CheckString(FuzzInput input) {
  OxString text;
  Model model;
  while (!input.empty()) {
    Edit(input, text, model);
    CheckSearch(input, text, model);
    Require(text.view() == FromModel(model).view() && text.length() == model.size(), "edits agree");
    Require(OxString(text.u_str()).view() == text.view(), "UTF-16 there and back");
  }
}

void CheckBytes(std::string_view bytes) {
  OxBuffer base64(bytes.data(), bytes.size());
  base64.ToBase64();
  Require(base64.FromBase64() && base64.view() == bytes, "base64 there and back");
  Require(OxBuffer(bytes.data(), bytes.size()).ConvertToHex().ConvertFromHex().view() == bytes,
          "hex there and back");
  OxBuffer hostile(bytes.data(), bytes.size());
  hostile.FromBase64();
}

void CheckText(std::string_view bytes) {
  try {
    const OxString text(bytes);
    if (bytes.find('\0') != std::string_view::npos) return;
    Require(OxString(text).encode_url().decode_url().view() == bytes, "URL escapes there and back");
    Require(text.compare(text.substr(0, -1)) == 0 ||
                text.get_utf16(*std::make_unique<OxBuffer>()) == nullptr,
            "equal texts compare equal");
    OxString(text).decode_url();
  } catch (const OxString::InvalidEncoding&) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  CheckString(FuzzInput(data, size));
  CheckBytes(bytes);
  CheckText(bytes);
  return 0;
}
