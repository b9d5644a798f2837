// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// SIGTERM and SIGINT, noticed where the agent can end.
#ifndef TOOLS_QUOR_AGENT_STOP_REQUEST_H_
#define TOOLS_QUOR_AGENT_STOP_REQUEST_H_

#include <csignal>

#include "timing.h"

namespace QuorAgent {

// From its making on the two signals are blocked, so that they interrupt no step of a change.
class StopRequest {
 public:
  StopRequest();
  StopRequest(const StopRequest&) = delete;
  StopRequest& operator=(const StopRequest&) = delete;
  ~StopRequest();

  // Whether one has come; waits for it until then at most.
  bool Came(Clock::time_point until = Clock::time_point::min());

  // Readable when one has come that Came() has not told of. -1 where the system has none left.
  int descriptor() const { return descriptor_; }

 private:
  sigset_t signals_;
  int descriptor_;
  bool came_ = false;
};

}  // namespace QuorAgent

#endif  // TOOLS_QUOR_AGENT_STOP_REQUEST_H_
