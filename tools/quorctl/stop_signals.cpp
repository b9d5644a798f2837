// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "stop_signals.h"

#include <sys/wait.h>
#include <time.h>

namespace Quorctl {
namespace {

bool IsIgnored(int signal) {
  struct sigaction action = {};
  return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

bool IsStop(int signal) {
  return signal == SIGINT || signal == SIGTERM;
}

}  // namespace

StopSignals::StopSignals() {
  // An ignored SIGCHLD would let children vanish unnoticed.
  struct sigaction childAction = {};
  childAction.sa_handler = SIG_DFL;
  sigaction(SIGCHLD, &childAction, &originalChildAction_);
  sigemptyset(&waitedFor_);
  sigaddset(&waitedFor_, SIGCHLD);
  for (const int signal : {SIGINT, SIGTERM}) {
    if (!IsIgnored(signal)) sigaddset(&waitedFor_, signal);
  }
  sigprocmask(SIG_BLOCK, &waitedFor_, &originalMask_);
}

StopSignals::~StopSignals() {
  // A second one that came meanwhile is not to end the process after all.
  const timespec noTime = {0, 0};
  while (sigtimedwait(&waitedFor_, nullptr, &noTime) > 0) {
  }
  sigprocmask(SIG_SETMASK, &originalMask_, nullptr);
  sigaction(SIGCHLD, &originalChildAction_, nullptr);
}

bool StopSignals::WaitFor(std::chrono::milliseconds period) {
  const auto end = std::chrono::steady_clock::now() + period;
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::nanoseconds>(
        end - std::chrono::steady_clock::now());
    if (left.count() <= 0) return false;
    const timespec timeout = {static_cast<time_t>(left.count() / 1'000'000'000),
                              static_cast<long>(left.count() % 1'000'000'000)};
    if (IsStop(sigtimedwait(&waitedFor_, nullptr, &timeout))) return true;
  }
}

bool StopSignals::WaitForChild(pid_t child, int* status) {
  bool stopped = false;
  for (;;) {
    if (waitpid(child, status, WNOHANG) != 0) return stopped;
    const int signal = sigwaitinfo(&waitedFor_, nullptr);
    if (!IsStop(signal)) continue;  // the child may have ended
    stopped = true;
    kill(child, signal);
  }
}

}  // namespace Quorctl
