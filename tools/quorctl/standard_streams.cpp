// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "standard_streams.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "catalogue/text/terminal_text.h"

namespace Quorctl {
namespace {

int WriteAll(int descriptor, const std::string& text) {
  std::size_t written = 0;
  while (written < text.size()) {
    const ssize_t count = write(descriptor, text.data() + written, text.size() - written);
    if (count >= 0) {
      written += static_cast<std::size_t>(count);
    } else if (errno == EAGAIN) {
      WaitUntilReady(descriptor, POLLOUT);
    } else if (errno != EINTR) {
      return errno;
    }
  }
  return 0;
}

}  // namespace

void WaitUntilReady(int descriptor, short events) {
  pollfd wanted = {descriptor, events, 0};
  poll(&wanted, 1, -1);
}

void ReserveStandardDescriptors() {
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) != -1 || errno != EBADF) continue;
    // The lowest free number is this one. Opened in the direction that the stream is not used in.
    const int mode = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
    if (open("/dev/null", mode) == -1) return;
  }
}

int WriteStandardOutput(const std::string& text) {
  return WriteAll(STDOUT_FILENO, text);
}

void WriteErrorLine(const std::string& message) {
  // There is nowhere left to report that this failed.
  WriteAll(STDERR_FILENO, "quorctl: " + EscapeForTerminal(message) + "\n");
}

void WriteTerminal(const std::string& text) {
  std::string escaped;
  std::size_t begin = 0;
  while (begin <= text.size()) {
    const std::size_t end = std::min(text.find_first_of("\r\n", begin), text.size());
    escaped += EscapeForTerminal(text.substr(begin, end - begin));
    if (end < text.size()) escaped += text[end];
    begin = end + 1;
  }
  WriteAll(STDERR_FILENO, escaped);
}

}  // namespace Quorctl
