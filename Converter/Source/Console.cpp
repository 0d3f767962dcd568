#include "Console.h"

#include <cstdarg>
#include <cstdio>
#include <string>

#include "Posix/StandardStreams.h"

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

void WriteTo(std::FILE* stream, std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stream);
}

}  // namespace

void Console::Print(std::string_view text) {
  WriteTo(stdout, text);
}

void Console::PrintFormatted(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  std::vfprintf(stdout, format, arguments);
  va_end(arguments);
}

void Console::Error(const char* format, ...) {
  std::fflush(stdout);
  va_list arguments;
  va_start(arguments, format);
  WriteTo(stderr, Format(format, arguments));
  va_end(arguments);
}

void Console::Finish() {
  std::fflush(stdout);
  if (std::ferror(stdout) == 0 || Posix::ReaderOfStandardOutputIsGone()) return;
  Error("Error: could not write to standard output\n");
}
