#pragma once
// Forked children for what two players on one file, or a player killed at a
// bad moment, leave behind. A child runs its body and leaves with _exit, so
// nothing of the test framework runs twice.

#include <cstdio>
#include <functional>

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zelvaro::test {

// Forks a child that runs `body` and exits with its result (99 on an exception).
inline pid_t ForkChild(const std::function<int()>& body) {
  std::fflush(nullptr);
  const pid_t pid = ::fork();
  if (pid == 0) {
    int code = 99;
    try {
      code = body();
    } catch (...) {
    }
    ::_exit(code);
  }
  return pid;
}

// The exit code, or -signal when the child was killed.
inline int WaitForExit(pid_t pid) {
  int status = 0;
  if (::waitpid(pid, &status, 0) != pid) return -1000;
  if (WIFEXITED(status)) return WEXITSTATUS(status);
  if (WIFSIGNALED(status)) return -WTERMSIG(status);
  return -1001;
}

// Reads one byte from `fd` within `timeoutMs`; 0 on time-out or end of file.
inline char ReadByte(int fd, int timeoutMs) {
  pollfd entry{fd, POLLIN, 0};
  if (::poll(&entry, 1, timeoutMs) <= 0) return 0;
  char byte = 0;
  return ::read(fd, &byte, 1) == 1 ? byte : 0;
}

inline void WriteByte(int fd, char byte) {
  [[maybe_unused]] const ssize_t written = ::write(fd, &byte, 1);
}

}  // namespace zelvaro::test
