// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "child_work.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <exception>
#include <stdexcept>
#include <system_error>

namespace QuorAgent {
namespace {

constexpr char kDone = '+';
constexpr char kFailed = '-';

void WriteToPipe(int pipe, const std::string& text) {
  std::size_t written = 0;
  while (written < text.size()) {
    const ssize_t count = write(pipe, text.data() + written, text.size() - written);
    if (count < 0 && errno != EINTR) return;
    if (count > 0) written += static_cast<std::size_t>(count);
  }
}

std::string ReadToEnd(int pipe) {
  std::string text;
  char part[4096];
  for (;;) {
    const ssize_t count = read(pipe, part, sizeof(part));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return text;
    text.append(part, static_cast<std::size_t>(count));
  }
}

[[noreturn]] void RunChild(pid_t parent, int pipe, const std::function<std::string()>& work) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(1);
  try {
    WriteToPipe(pipe, kDone + work());
  } catch (const std::exception& failure) {
    WriteToPipe(pipe, kFailed + std::string(failure.what()));
  }
  _exit(0);
}

}  // namespace

std::string InChild(const std::function<std::string()>& work) {
  int ends[2] = {-1, -1};
  const pid_t parent = getpid();
  if (pipe2(ends, O_CLOEXEC) != 0) {
    throw std::system_error(errno, std::generic_category(), "cannot make a pipe");
  }
  const pid_t child = fork();
  if (child == 0) RunChild(parent, ends[1], work);
  const int error = errno;
  close(ends[1]);
  const std::string answer = child == -1 ? "" : ReadToEnd(ends[0]);
  close(ends[0]);
  if (child == -1) throw std::system_error(error, std::generic_category(), "cannot fork");
  int status = 0;
  while (waitpid(child, &status, 0) == -1 && errno == EINTR) {
  }
  if (!answer.empty() && answer.front() == kDone) return answer.substr(1);
  if (!answer.empty()) throw std::runtime_error(answer.substr(1));
  throw std::runtime_error(
      WIFSIGNALED(status)
          ? "the process that did it was ended by signal " + std::to_string(WTERMSIG(status))
          : "the process that did it ended with status " + std::to_string(WEXITSTATUS(status)));
}

}  // namespace QuorAgent
