// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "stop_request.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace QuorAgent {

StopRequest::StopRequest() {
  sigemptyset(&signals_);
  sigaddset(&signals_, SIGTERM);
  sigaddset(&signals_, SIGINT);
  pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
  descriptor_ = signalfd(-1, &signals_, SFD_CLOEXEC);
}

StopRequest::~StopRequest() {
  if (descriptor_ != -1) close(descriptor_);
}

bool StopRequest::Came(Clock::time_point until) {
  while (!came_) {
    const auto now = Clock::now();
    const auto left = until > now ? std::chrono::ceil<milliseconds>(until - now) : milliseconds(0);
    const timespec wait = {static_cast<time_t>(left.count() / 1000),
                           static_cast<long>(left.count() % 1000) * 1'000'000};
    if (sigtimedwait(&signals_, nullptr, &wait) > 0) {
      came_ = true;
    } else if (errno != EINTR) {
      break;
    }
  }
  return came_;
}

}  // namespace QuorAgent
