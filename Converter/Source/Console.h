#pragma once

#include <string_view>

/// The tool's two output streams. What is printed comes out in the order in which it happened, also
/// when both streams go to one file: standard output is buffered and flushed before every error
/// line.
///   Texts: UTF-8 or any other bytes, written as they stand; formats are printf's, and a "%s" takes
///          zero-terminated text.
namespace Console {

/// Writes text to standard output. A failure is remembered by the stream and reported by Finish().
void Print(std::string_view text);
/// The same, formatted.
void PrintFormatted(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Flushes standard output and writes one line (the format brings its own line end) to standard
/// error.
void Error(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Flushes standard output; to be called once, when the run ends. When anything could not be
/// written (disk full, stream closed) one error line says so; a pipe whose reader has gone away is
/// silent.
void Finish();

}  // namespace Console
