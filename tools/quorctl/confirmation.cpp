// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "confirmation.h"

#include <fcntl.h>
#include <strings.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "exit_status.h"
#include "standard_streams.h"

namespace Quorctl {
namespace {

// Reads one byte at a time, so that input after the line is left to the next reader of the
// terminal.
std::string ReadLine(int input) {
  std::string line;
  char byte = 0;
  for (;;) {
    const ssize_t count = read(input, &byte, 1);
    if (count < 0 && errno == EINTR) continue;
    if (count != 1) return std::string();
    if (byte == '\n') return line;
    line += byte;
  }
}

}  // namespace

bool CanAsk(bool inputIsUsed) {
  if (!inputIsUsed) return isatty(STDIN_FILENO) == 1;
  return isatty(STDERR_FILENO) == 1 && tcgetsid(STDERR_FILENO) == getsid(0);
}

void AskOrRefuse(const std::string& question, std::string* shown, bool inputIsUsed) {
  if (const int error = WriteStandardOutput(std::exchange(*shown, ""))) {
    throw CommandError(ExitStatus::kStore, "cannot write to standard output: " +
                                               std::generic_category().message(error) +
                                               "; nothing was changed");
  }
  WriteTerminal(question + " [y/N] ");
  const int terminal = inputIsUsed ? open("/dev/tty", O_RDONLY | O_CLOEXEC) : STDIN_FILENO;
  const std::string answer = ReadLine(terminal);
  if (inputIsUsed && terminal != -1) close(terminal);
  if (strcasecmp(answer.c_str(), "y") == 0 || strcasecmp(answer.c_str(), "yes") == 0) return;
  throw CommandError(ExitStatus::kNotConfirmed, "not confirmed; nothing was changed");
}

}  // namespace Quorctl
