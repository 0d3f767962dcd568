#pragma once

/// Whether a file name matches a wildcard pattern; both are zero-terminated and compared byte by byte,
/// so letter case counts.
///   ?       any one byte
///   *       any bytes, also none
///   [a-z_]  one of these bytes; [^...] one of the others. A "]" right after the opening bracket is a member.
///           Ranges compare bytes as signed values. Deliberate: a "-" before the closing "]" makes an
///           open range, so [a-] is every byte not below "a". A class without its "]" never matches.
///   \x      x itself; a "\" at the end of the pattern matches itself.
/// Cost: at most the product of the two lengths.
bool OxPathMatcher(const char* name, const char* pattern);
