// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The agent's loop: the cycle with the centre, the check of the host, and the reports on both.
#ifndef TOOLS_QUOR_AGENT_AGENT_H_
#define TOOLS_QUOR_AGENT_AGENT_H_

#include <string>

#include "channel_watch.h"
#include "host_keeper.h"
#include "metrics.h"
#include "service_notice.h"
#include "settings.h"
#include "stop_request.h"
#include "timing.h"

namespace QuorAgent {

// The exit statuses.
enum class Outcome : int {
  kDone = 0,
  kWouldChange = 1,
  kUsage = 2,
  kNoCentre = 3,
  kRefused = 4,
  kFailed = 5,
  kTaken = 75,
};

class Agent {
 public:
  Agent(const Settings& settings, StopRequest* stop);

  // Runs until a signal comes. Raises DirectoryTaken.
  Outcome Run();

  // One cycle without splay, with the centre or with the document of --from.
  Outcome RunOnce();

  // Prints what a cycle would change, without writing to the host or to the state directory.
  Outcome DryRun();

 private:
  bool Open();
  bool WaitForWork();
  void Turn();
  Quorctl::Catalogue FromFile(Wanted* wanted) const;
  void Publish();
  const Condition& Present() const;
  std::string Summary() const;

  const Settings& settings_;
  StopRequest* const stop_;  // null in a dry run
  ServiceNotice notice_;
  Chance chance_;
  Metrics metrics_;
  HostKeeper keeper_;
  ChannelWatch channel_;
  std::string writtenMetrics_;
  std::string metricsProblem_;
};

}  // namespace QuorAgent

#endif  // TOOLS_QUOR_AGENT_AGENT_H_
