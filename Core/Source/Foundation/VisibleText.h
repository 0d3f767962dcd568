#pragma once

#include <string>
#include <string_view>

/// `text` with "?" for every character that moves the cursor, ends a line or turns the direction of writing:
/// U+0000 to U+001F, U+007F to U+009F, U+2028, U+2029, and the bidirectional controls. What a stranger chose
/// can then be printed inside a line without becoming a line of its own: VisibleText("a\nb") is "a?b".
/// A byte that belongs to no character becomes "?" as well. Everything else stays as it is, to the byte.
std::string VisibleText(std::string_view text);
