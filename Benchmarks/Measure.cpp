// measure COMMAND...: runs the command, discards its standard output, and prints its milliseconds and its peak memory
// in kilobytes on standard error. The system counts the memory of the process that starts the command as part of that
// peak, so a small program has to start it.

#include <chrono>
#include <cstdio>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

int main(int count, char** arguments) {
  if (count < 2) return 2;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  const auto start = std::chrono::steady_clock::now();
  pid_t process = 0;
  if (posix_spawnp(&process, arguments[1], &actions, nullptr, arguments + 1, environ) != 0) return 127;
  int status = 0;
  rusage usage = {};
  if (wait4(process, &status, 0, &usage) < 0) return 1;
  const std::chrono::duration<double, std::milli> elapsed = std::chrono::steady_clock::now() - start;
  posix_spawn_file_actions_destroy(&actions);
  std::fprintf(stderr, "%.3f %ld\n", elapsed.count(), usage.ru_maxrss);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}
