// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Receives SIGTERM and SIGINT at the points where the agent can end.
#ifndef TOOLS_QUOR_AGENT_STOP_REQUEST_H_
#define TOOLS_QUOR_AGENT_STOP_REQUEST_H_

#include <csignal>

#include "timing.h"

namespace QuorAgent {

// Blocks the two signals from its construction on, so that they interrupt no step of a change.
class StopRequest {
 public:
  StopRequest();
  StopRequest(const StopRequest&) = delete;
  StopRequest& operator=(const StopRequest&) = delete;
  ~StopRequest();

  // Returns whether a signal has come; waits for one until `until`.
  bool Came(Clock::time_point until = Clock::time_point::min());

  // Readable once a signal has come, until Came() has returned true. -1 if the system had no
  // descriptor left.
  int descriptor() const { return descriptor_; }

 private:
  sigset_t signals_;
  int descriptor_;
  bool came_ = false;
};

}  // namespace QuorAgent

#endif  // TOOLS_QUOR_AGENT_STOP_REQUEST_H_
