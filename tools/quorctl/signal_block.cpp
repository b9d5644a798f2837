// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "signal_block.h"

#include <initializer_list>

namespace Quorctl {

SignalBlock::SignalBlock() noexcept {
  sigset_t blocked;
  sigemptyset(&blocked);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP, SIGTTOU, SIGPIPE})
    sigaddset(&blocked, signal);
  pthread_sigmask(SIG_BLOCK, &blocked, &originalMask_);
}

SignalBlock::~SignalBlock() {
  pthread_sigmask(SIG_SETMASK, &originalMask_, nullptr);
}

}  // namespace Quorctl
