#include <array>
#include <chrono>
#include <fstream>
#include <span>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "Console.h"
#include "Posix/FileOps.h"
#include "Posix/StandardStreams.h"
#include "Progress.h"
#include "Support/TemporaryFolder.h"

namespace {

using std::chrono::milliseconds;

Progress::Time now;

// Standard error is a terminal, and the time is what the test says.
class ProgressTest : public testing::Test {
 protected:
  ProgressTest() {
    winsize window = {.ws_row = 25, .ws_col = 60, .ws_xpixel = 0, .ws_ypixel = 0};
    int terminal = -1;
    EXPECT_EQ(::openpty(&screen_, &terminal, nullptr, nullptr, &window), 0);
    ::dup2(terminal, STDERR_FILENO);
    ::close(terminal);
    ::fcntl(screen_, F_SETFL, O_NONBLOCK);
    Posix::FindTerminals();
    clock_ = Progress::SetClock([] { return now; });
  }
  ~ProgressTest() override {
    Progress::SetClock(clock_);
    ::dup2(error_, STDERR_FILENO);
    ::close(error_);
    ::close(screen_);
    Posix::FindTerminals();
  }

  // What was drawn since the last call when bytes are read from a file that many milliseconds later.
  std::string ReadAfter(int delay, std::size_t bytes) {
    now += milliseconds(delay);
    std::string room(bytes, ' ');
    const int fd = Posix::Files().Open(path_.c_str(), Posix::kOpenToRead);
    Posix::Files().ReadAt(fd, std::as_writable_bytes(std::span(room)), 0);
    Posix::Files().Close(fd);
    return Drawn();
  }

  // A terminal hands over what was written to it in its own time, all of it only to a read that finds nothing else.
  std::string Drawn() const {
    std::string text;
    std::array<char, 4096> some{};
    for (ssize_t got = 0; (got = ::read(screen_, some.data(), some.size())) > 0;) {
      text.append(some.data(), static_cast<std::size_t>(got));
    }
    return text;
  }

  void Resize(unsigned short columns) {
    winsize window = {.ws_row = 25, .ws_col = columns, .ws_xpixel = 0, .ws_ypixel = 0};
    ::ioctl(screen_, TIOCSWINSZ, &window);
  }

  const Support::TemporaryFolder folder_;
  const std::string path_ = folder_.Write("file", std::string(4000000, 'x'));
  int error_ = ::dup(STDERR_FILENO);
  int screen_ = -1;
  Progress::Clock clock_ = nullptr;
};

TEST_F(ProgressTest, IsDrawnWhenDueAndGoneBeforeMessagesAndAtTheEnd) {
  const std::string verifying = "\rVerifying: ";
  {
    const Progress progress("Verifying", Progress::Counted::kRead);
    Progress::ExpectAllOf(path_.c_str());
    const struct {
      int delay;
      std::size_t bytes;
      const char* drawn;
    } reads[] = {{0, 0, ""},
                 {900, 200000, ""},
                 {99, 200000, ""},
                 {101, 400000, "\rVerifying: 20%, 4.0 MB/s, 0:00 left"},
                 {99, 1, ""},
                 {0, 1, ""},
                 {7200001, 1, "\rVerifying: 20%, 111 B/s, 8:00:01 left"}};
    for (const auto& read : reads) EXPECT_EQ(ReadAfter(read.delay, read.bytes), read.drawn);
    Resize(30);
    EXPECT_EQ(ReadAfter(100, 1), verifying + "20%, 111 B/s      " + verifying + "20%, 111 B/s");
    std::ofstream(path_, std::ios::app) << "more";
    EXPECT_EQ(ReadAfter(100, 1), verifying + "800.0 kB, 111 B/s");
    Console::Error("%s\t%d%%\n", "a\nb", 5);
    EXPECT_EQ(Drawn(), '\r' + std::string(28, ' ') + "\ra?b\t5%\r\n");
    Resize(10);
    EXPECT_EQ(ReadAfter(100, 1), verifying.substr(0, 10)) << "as much as there is room for";
  }
  EXPECT_EQ(Drawn(), "\r         \r");
}

}  // namespace
