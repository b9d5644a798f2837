// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "confirmation.h"

#include <strings.h>
#include <unistd.h>

#include <cerrno>

#include "standard_streams.h"

namespace Quorctl {
namespace {

// One byte at a time: what follows the line is for whoever reads the terminal next.
std::string ReadLine() {
  std::string line;
  char byte = 0;
  for (;;) {
    const ssize_t count = read(STDIN_FILENO, &byte, 1);
    if (count < 0 && errno == EINTR) continue;
    if (count != 1) return std::string();
    if (byte == '\n') return line;
    line += byte;
  }
}

}  // namespace

bool CanAsk() {
  return isatty(STDIN_FILENO) == 1;
}

bool Ask(const std::string& question) {
  WriteTerminal(question + " [y/N] ");
  const std::string answer = ReadLine();
  return strcasecmp(answer.c_str(), "y") == 0 || strcasecmp(answer.c_str(), "yes") == 0;
}

}  // namespace Quorctl
