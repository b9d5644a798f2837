// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Waiting for the host's locks, and for other quorctl, in a way that a signal ends.
#ifndef TOOLS_QUORCTL_LOCK_WAIT_H_
#define TOOLS_QUORCTL_LOCK_WAIT_H_

#include <chrono>
#include <functional>
#include <string>

#include "exit_status.h"
#include "progress_line.h"

namespace Quorctl {

// A signal ended the wait, or the lock stayed held; nothing was changed.
class WaitEnded : public CommandError {
 public:
  using CommandError::CommandError;
};

// One wait of a change before it has changed anything: the lock deadline holds for it as a whole.
// The platform waits for a lock within its calls, where no signal is looked at; so the calls wait
// in short turns, and between two of them this looks at the signals that a SignalBlock holds back.
class LockWait {
 public:
  explicit LockWait(ProgressLine* progress) : progress_(progress) {}

  // Makes the call, and repeats it while another process holds one of the host's locks. Raises
  // WaitEnded if a signal ends the wait or the lock stays held, and the call's other exceptions.
  void Do(const std::string& step, const std::function<void()>& call);

  // One turn of waiting for `holder` to release `lock`, without a call. Raises like Do().
  void Pause(const std::string& lock, const std::string& holder);

 private:
  using Clock = std::chrono::steady_clock;

  // Raises when the wait is over.
  void GoOn(const std::string& lock, const std::string& holder);

  ProgressLine* progress_;
  Clock::time_point began_ = Clock::now();
};

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_LOCK_WAIT_H_
