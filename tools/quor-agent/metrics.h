// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The agent's metrics, written to a file in the OpenMetrics text format.
#ifndef TOOLS_QUOR_AGENT_METRICS_H_
#define TOOLS_QUOR_AGENT_METRICS_H_

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "condition.h"

namespace QuorAgent {

struct Metrics {
  State state = State::kWaiting;
  std::optional<std::int64_t> offered;  // by the centre, when it was last asked
  std::optional<std::int64_t> wanted;
  std::optional<std::int64_t> applied;
  std::optional<std::int64_t> lastContact;  // seconds since 1970
  std::optional<double> applySeconds;
  std::map<std::string, std::int64_t> refusals;  // by kind
  std::int64_t contactFailures = 0;
  std::int64_t changeFailures = 0;
  std::int64_t changes = 0;  // that wrote to the host
  std::int64_t drifts = 0;
  bool paused = false;
};

std::string AsOpenMetrics(const Metrics& metrics);

// Replaces the file by a rename, so that readers always find a complete one; does not flush it.
// Raises std::system_error.
void ReplaceMetricsFile(const std::string& path, const std::string& text);

}  // namespace QuorAgent

#endif  // TOOLS_QUOR_AGENT_METRICS_H_
