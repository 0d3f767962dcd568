#pragma once

#include <string>
#include <string_view>

// Repairs of known artefacts in decoded UTF-8. Each returns the repaired text: `text` itself when nothing needs
// repair, else text in `storage`, which must be empty or begin with `text`.

/// Every yen sign becomes a backslash.
std::string_view WithoutYenSigns(std::string_view text, std::string& storage);

/// When the text has more UTF-16 units than it has bytes before its first zero byte, says so on standard
/// output, and every zero becomes a space.
std::string_view WithoutZeros(std::string_view text, std::string& storage);
