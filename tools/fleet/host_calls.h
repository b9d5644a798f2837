// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The three functions of the centre that a host may call, each for the host of the role that is
// logged in. All raise FleetError.
#ifndef TOOLS_FLEET_HOST_CALLS_H_
#define TOOLS_FLEET_HOST_CALLS_H_

#include <cstdint>
#include <optional>
#include <string>

#include "fleet/connection.h"
#include "fleet/release.h"

namespace QuorFleet {

// Returns nothing if the centre has no host of this role.
std::optional<ReleaseHead> FetchHead(Connection& connection, Deadline deadline);

// Nothing when there is no such release.
std::optional<ReleaseDocument> FetchDocument(Connection& connection, std::int64_t release,
                                             Deadline deadline);

enum class HostState { kApplied, kRefused, kHeld, kDrift, kFailed };
const char* StateWord(HostState state);

struct HostReport {
  std::optional<std::int64_t> release;  // what the host holds; what it refuses stands in reason
  std::string sha256;
  std::string policiesDigest;
  std::string datastoresDigest;
  HostState state = HostState::kApplied;
  std::string reason;
  std::string agentVersion;
};

void SendReport(Connection& connection, const HostReport& report, Deadline deadline);

}  // namespace QuorFleet

#endif  // TOOLS_FLEET_HOST_CALLS_H_
