// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Waits that SIGINT and SIGTERM end, for commands without an end of their own.
#ifndef TOOLS_QUORCTL_STOP_SIGNALS_H_
#define TOOLS_QUORCTL_STOP_SIGNALS_H_

#include <sys/types.h>

#include <chrono>
#include <csignal>

namespace Quorctl {

// While there is one, SIGINT and SIGTERM do not end the process but wait to be noticed here, which
// needs no handler. Those that the process was started to ignore stay ignored.
class StopSignals {
 public:
  StopSignals();  // raises std::system_error when the system has no descriptor left
  StopSignals(const StopSignals&) = delete;
  StopSignals& operator=(const StopSignals&) = delete;
  ~StopSignals();

  // Sleeps until the descriptor is readable or the time has come. True, at once, when one of the
  // signals has come.
  bool WaitFor(int descriptor, std::chrono::steady_clock::time_point end);

  // Waits for the end of a child and puts its wait status in `status`. True when one of the signals
  // came meanwhile; it is passed on to the child, whose end is waited for all the same.
  bool WaitForChild(pid_t child, int* status);

  // What a child has to be started with.
  const sigset_t& OriginalMask() const { return originalMask_; }

 private:
  bool TakeStop() const;

  sigset_t waitedFor_;
  sigset_t originalMask_;
  struct sigaction originalChildAction_;
  int descriptor_;  // readable while one waits
};

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_STOP_SIGNALS_H_
