// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Signals that the process was started to ignore.
#ifndef TOOLS_QUORCTL_IGNORED_SIGNAL_H_
#define TOOLS_QUORCTL_IGNORED_SIGNAL_H_

#include <csignal>

namespace Quorctl {

inline bool IsIgnored(int signal) {
  struct sigaction action = {};
  return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_IGNORED_SIGNAL_H_
