// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// How much the operator sees at once.
#ifndef TOOLS_QUORCTL_TEXT_TERMINAL_SIZE_H_
#define TOOLS_QUORCTL_TEXT_TERMINAL_SIZE_H_

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstddef>

namespace Quorctl {

struct TerminalSize {
  std::size_t rows = 0;
  std::size_t columns = 0;
};

// Size of the terminal at standard output; zero if it is none or does not tell its size.
inline TerminalSize SizeOfTerminal() {
  winsize size = {};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0) return {};
  return {size.ws_row, size.ws_col};
}

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_TEXT_TERMINAL_SIZE_H_
