// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The state of the fleet for a terminal.
#ifndef TOOLS_QUOR_PUBLISH_STATUS_TEXT_H_
#define TOOLS_QUOR_PUBLISH_STATUS_TEXT_H_

#include <string>

#include "fleet_status.h"

namespace QuorPublish {

// Channels, releases and the hosts that are not as they should be; all hosts with `allHosts`.
std::string StatusAsText(const FleetStatus& status, bool allHosts);

}  // namespace QuorPublish

#endif  // TOOLS_QUOR_PUBLISH_STATUS_TEXT_H_
