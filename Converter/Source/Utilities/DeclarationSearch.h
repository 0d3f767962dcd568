#pragma once

#include <optional>
#include <string_view>

/// The name of the encoding that a text declares: `<?xml encoding="utf-8"?>` declares "utf-8". It is the group of the
/// first of these POSIX extended expressions that matches a line of the text, ignoring case, in the C locale:
///
///     <\?.*encoding=["']([^"']+)
///     <\?.*encoding=([^ \n>]+)
///     <meta.*charset=["']([^"']+)
///     <meta.*charset=([a-zA-Z0-9_-]+)
///
/// A line ends at a line feed, the text at its first zero byte. The first line that matches decides, and on
/// it the last declaration. The patterns are ASCII, so the result is the same for a file's bytes and
/// for their Mac Roman reading.
///   Result: points into `text` and is never empty.
///   Cost:   linear, whereas matching with an expression is quadratic for a text of many "<?".
std::optional<std::string_view> FindDeclaredEncoding(std::string_view text);
