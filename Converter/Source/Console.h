#pragma once

#include <string_view>

/// The tool's two output streams. What is printed comes out in the order in which it happened, also
/// when both streams go to one file: standard output is buffered and flushed before every error
/// line.
///   Texts:     UTF-8 or any other bytes. Formats are printf's with "%s", "%d" and "%%" alone.
///   Terminals: on a stream that is a terminal what a "%s" takes is shown by VisibleText(), so that no name
///              can move the cursor or begin a line of its own. To a file or pipe bytes go as they are.
///   Progress:  a status line is erased before anything is printed.
namespace Console {

/// Writes one line, or a part of one, to standard output; on a terminal by VisibleText() but for the line end
/// that may be its last byte. A failure is remembered by the stream and reported by Finish().
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
