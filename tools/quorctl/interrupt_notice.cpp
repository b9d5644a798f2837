// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "interrupt_notice.h"

#include <unistd.h>

#include <string_view>

namespace Quorctl {
namespace {

constexpr std::string_view kLine = "quorctl: interrupted; nothing was changed\n";
constexpr std::string_view kLineOnTerminal = "\nquorctl: interrupted; nothing was changed\n";

std::string_view line;  // set before there is a handler

// The signal is back at its default action then, which ends the process with the handler.
extern "C" void TellThatNothingWasChanged(int signal) {
  const ssize_t ignored = write(STDERR_FILENO, line.data(), line.size());
  static_cast<void>(ignored);
  raise(signal);
}

}  // namespace

InterruptNotice::InterruptNotice() noexcept {
  line = isatty(STDERR_FILENO) == 1 ? kLineOnTerminal : kLine;
  struct sigaction action = {};
  action.sa_handler = TellThatNothingWasChanged;
  action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
  for (std::size_t i = 0; i < kSignals.size(); ++i) {
    sigaction(kSignals[i], nullptr, &original_[i]);
    if (original_[i].sa_handler == SIG_DFL) sigaction(kSignals[i], &action, nullptr);
  }
}

InterruptNotice::~InterruptNotice() {
  for (std::size_t i = 0; i < kSignals.size(); ++i)
    sigaction(kSignals[i], &original_[i], nullptr);
}

}  // namespace Quorctl
