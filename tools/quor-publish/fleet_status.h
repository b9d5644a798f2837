// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The release and the state of every host.
#ifndef TOOLS_QUOR_PUBLISH_FLEET_STATUS_H_
#define TOOLS_QUOR_PUBLISH_FLEET_STATUS_H_

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "centre.h"
#include "release_store.h"

namespace QuorPublish {

// Ordered from worst to best; each host is in exactly one.
enum class Condition { kRefusing, kSilent, kDrift, kBehind, kCurrent };
inline constexpr std::array<Condition, 5> kConditions = {Condition::kRefusing, Condition::kSilent,
                                                         Condition::kDrift, Condition::kBehind,
                                                         Condition::kCurrent};
const char* ConditionWord(Condition condition);

struct HostRow {
  std::string name;
  std::string channel;
  std::optional<ReleaseId> offered;
  std::optional<ReleaseId> has;
  std::string state;  // as the host reported it; empty: never
  std::string reason;
  std::string agentVersion;
  std::optional<std::int64_t> age;  // seconds since the report
  Condition condition = Condition::kSilent;
};

using ConditionCounts = std::map<Condition, std::size_t>;

struct FleetStatus {
  std::string server;
  std::string at;  // of the centre's clock
  std::chrono::seconds silentAfter = std::chrono::seconds(0);
  std::vector<ChannelRow> channels;
  std::vector<ReleaseRow> releases;   // the newest first
  std::vector<HostRow> hosts;         // the worst first, then by name
  std::vector<std::string> problems;  // of the centre itself: what it has lost
  std::size_t standbys = 0;

  // Of the hosts of one channel.
  ConditionCounts CountsOf(const std::string& channel) const;
};

// `silentAfter`: a host that said nothing for so long is silent.
FleetStatus ReadStatus(Centre& centre, std::chrono::seconds silentAfter);

// All of it, for programs and for the page.
nlohmann::ordered_json AsJson(const FleetStatus& status);

}  // namespace QuorPublish

#endif  // TOOLS_QUOR_PUBLISH_FLEET_STATUS_H_
