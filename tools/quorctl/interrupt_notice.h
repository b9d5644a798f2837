// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Says that nothing was changed when a signal ends a command before its change.
#ifndef TOOLS_QUORCTL_INTERRUPT_NOTICE_H_
#define TOOLS_QUORCTL_INTERRUPT_NOTICE_H_

#include <array>
#include <csignal>

namespace Quorctl {

// While there is one, the signals that end the process first have it write a line to standard
// error. Those that it was started to ignore stay ignored.
class InterruptNotice {
 public:
  InterruptNotice() noexcept;
  InterruptNotice(const InterruptNotice&) = delete;
  InterruptNotice& operator=(const InterruptNotice&) = delete;
  ~InterruptNotice();

 private:
  static constexpr std::array<int, 4> kSignals = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

  std::array<struct sigaction, kSignals.size()> original_;
};

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_INTERRUPT_NOTICE_H_
