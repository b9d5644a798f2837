// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "signal_block.h"

#include <initializer_list>
#include <optional>

#include "ignored_signal.h"

namespace Quorctl {

namespace {

// Before the block that was kept.
std::optional<sigset_t> maskToRelease;

}  // namespace

SignalBlock::SignalBlock() noexcept {
  sigset_t blocked;
  sigemptyset(&blocked);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP, SIGTTOU, SIGPIPE})
    sigaddset(&blocked, signal);
  pthread_sigmask(SIG_BLOCK, &blocked, &originalMask_);
}

SignalBlock::~SignalBlock() {
  if (kept_) {
    maskToRelease = originalMask_;
  } else {
    pthread_sigmask(SIG_SETMASK, &originalMask_, nullptr);
  }
}

void SignalBlock::ReleaseKept() {
  if (maskToRelease) pthread_sigmask(SIG_SETMASK, &*maskToRelease, nullptr);
}

int SignalBlock::PendingSignal() {
  sigset_t pending;
  if (sigpending(&pending) != 0) return 0;
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
    if (sigismember(&pending, signal) == 1 && !IsIgnored(signal)) return signal;
  }
  return 0;
}

}  // namespace Quorctl
