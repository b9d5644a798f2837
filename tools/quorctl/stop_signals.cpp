// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "stop_signals.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "ignored_signal.h"

namespace Quorctl {
namespace {

bool IsStop(int signal) {
  return signal == SIGINT || signal == SIGTERM;
}

}  // namespace

StopSignals::StopSignals() {
  sigemptyset(&waitedFor_);
  sigaddset(&waitedFor_, SIGCHLD);
  for (const int signal : {SIGINT, SIGTERM}) {
    if (!IsIgnored(signal)) sigaddset(&waitedFor_, signal);
  }
  descriptor_ = signalfd(-1, &waitedFor_, SFD_CLOEXEC);
  if (descriptor_ == -1) {
    throw std::system_error(errno, std::generic_category(), "cannot wait for signals");
  }
  // An ignored SIGCHLD would let children vanish unnoticed.
  struct sigaction childAction = {};
  childAction.sa_handler = SIG_DFL;
  sigaction(SIGCHLD, &childAction, &originalChildAction_);
  sigprocmask(SIG_BLOCK, &waitedFor_, &originalMask_);
}

StopSignals::~StopSignals() {
  TakeStop();  // a second one that came meanwhile is not to end the process after all
  sigprocmask(SIG_SETMASK, &originalMask_, nullptr);
  sigaction(SIGCHLD, &originalChildAction_, nullptr);
  close(descriptor_);
}

// Takes all that have come; whether one of them was to stop.
bool StopSignals::TakeStop() const {
  const timespec noTime = {0, 0};
  bool stopped = false;
  int signal = 0;
  while ((signal = sigtimedwait(&waitedFor_, nullptr, &noTime)) > 0) {
    stopped |= IsStop(signal);
  }
  return stopped;
}

bool StopSignals::WaitFor(int descriptor, std::chrono::steady_clock::time_point end) {
  constexpr std::chrono::milliseconds kLongest = std::chrono::hours(24);  // fits an int
  for (;;) {
    const auto left = end - std::chrono::steady_clock::now();
    const auto timeout = std::clamp(std::chrono::ceil<std::chrono::milliseconds>(left),
                                    std::chrono::milliseconds(0), kLongest);
    pollfd waitedFor[] = {{descriptor_, POLLIN, 0}, {descriptor, POLLIN, 0}};
    poll(waitedFor, 2, static_cast<int>(timeout.count()));
    if (TakeStop()) return true;
    if (waitedFor[1].revents != 0 || std::chrono::steady_clock::now() >= end) return false;
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
