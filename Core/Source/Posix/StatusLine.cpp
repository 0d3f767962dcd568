#include "Posix/StatusLine.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include <sys/ioctl.h>
#include <unistd.h>

#include "Posix/StandardStreams.h"

namespace {

std::size_t shownColumns = 0;

// The last column stays free: what is written there moves some terminals to the next line.
std::size_t UsableColumns() {
  constexpr std::size_t kUsual = 80;
  winsize window = {};
  const bool isKnown = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &window) == 0 && window.ws_col > 0;
  return (isKnown ? window.ws_col : kUsual) - 1;
}

bool IsInBackground() {
  const pid_t foreground = ::tcgetpgrp(STDERR_FILENO);
  return foreground >= 0 && foreground != ::getpgrp();
}

// The cursor stays behind the text. Of a longer line before it nothing is left.
void Replace(std::string_view text) {
  std::string bytes = "\r";
  bytes += text;
  const std::size_t old = std::min(shownColumns, UsableColumns());
  if (old > text.size()) {
    bytes.append(old - text.size(), ' ');
    bytes += '\r';
    bytes += text;
  }
  std::fwrite(bytes.data(), 1, bytes.size(), stderr);
  shownColumns = text.size();
}

}  // namespace

std::size_t Posix::StatusLineRoom() {
  return StandardErrorIsTerminal() && !IsInBackground() ? UsableColumns() : 0;
}

void Posix::ShowStatusLine(std::string_view text) {
  Replace(text);
}

void Posix::EraseStatusLine() {
  if (shownColumns > 0) Replace({});
}
