#include "Console.h"

#include <cassert>
#include <cstdarg>
#include <cstdio>
#include <string>

#include "Foundation/VisibleText.h"
#include "Posix/StandardStreams.h"
#include "Posix/StatusLine.h"

namespace {

// Standard error has no buffer of its own: a line formatted first reaches it in one piece.
std::string Format(const char* format, va_list arguments) {
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, again);
  va_end(again);
  std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
  if (length > 0) std::vsnprintf(text.data(), text.size() + 1, format, arguments);
  return text;
}

// For a terminal: line ends and tabs of the format stay, those in what it is filled with do not.
std::string FormatVisibly(const char* format, va_list arguments) {
  std::string text;
  for (; *format != '\0'; ++format) {
    if (*format != '%') {
      text += *format;
      continue;
    }
    switch (*++format) {
      case 's':
        text += VisibleText(va_arg(arguments, const char*));
        break;
      case 'd':
        text += std::to_string(va_arg(arguments, int));
        break;
      default:
        assert(*format == '%');
        text += '%';
    }
  }
  return text;
}

std::string VisibleLine(std::string_view text) {
  const bool isWhole = text.ends_with('\n');
  std::string line = VisibleText(text.substr(0, text.size() - (isWhole ? 1 : 0)));
  if (isWhole) line += '\n';
  return line;
}

void WriteTo(std::FILE* stream, std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stream);
}

}  // namespace

void Console::Print(std::string_view text) {
  Posix::EraseStatusLine();
  if (Posix::StandardOutputIsTerminal()) return WriteTo(stdout, VisibleLine(text));
  WriteTo(stdout, text);
}

void Console::PrintFormatted(const char* format, ...) {
  Posix::EraseStatusLine();
  va_list arguments;
  va_start(arguments, format);
  if (Posix::StandardOutputIsTerminal()) {
    WriteTo(stdout, FormatVisibly(format, arguments));
  } else {
    std::vfprintf(stdout, format, arguments);
  }
  va_end(arguments);
}

void Console::Error(const char* format, ...) {
  Posix::EraseStatusLine();
  std::fflush(stdout);
  va_list arguments;
  va_start(arguments, format);
  const bool isTerminal = Posix::StandardErrorIsTerminal();
  WriteTo(stderr, isTerminal ? FormatVisibly(format, arguments) : Format(format, arguments));
  va_end(arguments);
}

void Console::Finish() {
  std::fflush(stdout);
  if (std::ferror(stdout) == 0 || Posix::ReaderOfStandardOutputIsGone()) return;
  Error("Error: could not write to standard output\n");
}
