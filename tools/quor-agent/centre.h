// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The agent's connection to the centre.
#ifndef TOOLS_QUOR_AGENT_CENTRE_H_
#define TOOLS_QUOR_AGENT_CENTRE_H_

#include <cstdint>
#include <optional>

#include "fleet/connection.h"
#include "fleet/host_calls.h"
#include "settings.h"

namespace QuorAgent {

// Connects at the first question of a cycle, to any of several servers. One deadline covers all
// questions of a cycle. Failures are FleetError; the next question then connects anew.
class Centre {
 public:
  // Waiting ends once the descriptor `stop` is readable; -1 for none.
  Centre(const Settings& settings, int stop);

  void BeginCycle();
  void EndCycle();  // closes the connection unless the settings keep it
  void Close() { connection_.reset(); }

  // The release of the host's channel. Returns nothing if the centre does not know the host.
  std::optional<QuorFleet::ReleaseHead> AskHead();
  QuorFleet::ReleaseDocument Fetch(std::int64_t release);
  void Report(const QuorFleet::HostReport& report);

 private:
  QuorFleet::Connection& Connected();

  const Settings& settings_;
  const int stop_;
  QuorFleet::Deadline deadline_;
  std::optional<QuorFleet::Connection> connection_;
};

}  // namespace QuorAgent

#endif  // TOOLS_QUOR_AGENT_CENTRE_H_
