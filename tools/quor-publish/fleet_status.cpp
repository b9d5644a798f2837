// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "fleet_status.h"

#include <algorithm>
#include <tuple>

#include "catalogue/text/json_text.h"

namespace QuorPublish {

using Quorctl::BytesAsJson;

namespace {

constexpr int kReleasesShown = 50;

Condition ConditionOf(const HostRow& host, std::chrono::seconds silentAfter) {
  if (!host.age || *host.age > silentAfter.count()) return Condition::kSilent;
  if (host.state == "refused" || host.state == "failed" || host.state == "held") {
    return Condition::kRefusing;
  }
  if (host.state == "drift") return Condition::kDrift;
  return host.has.value_or(0) >= host.offered.value_or(0) ? Condition::kCurrent
                                                          : Condition::kBehind;
}

std::vector<HostRow> ListHosts(Centre& centre, std::chrono::seconds silentAfter) {
  centre.progress().Begin("reading what the hosts said");
  const QuorFleet::Rows rows = centre.Ask(
      "select h.name, h.channel, quor.offered(h), s.release, s.state, s.reason, s.agent_version, "
      "extract(epoch from clock_timestamp() - s.at)::bigint from quor.host h "
      "left join quor.host_status s on s.host = h.name");
  std::vector<HostRow> hosts;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    HostRow host;
    host.name = rows.Text(i, 0);
    host.channel = rows.Text(i, 1);
    host.offered = rows.OptionalNumber(i, 2);
    host.has = rows.OptionalNumber(i, 3);
    host.state = rows.Text(i, 4);
    host.reason = rows.Text(i, 5);
    host.agentVersion = rows.Text(i, 6);
    host.age = rows.OptionalNumber(i, 7);
    host.condition = ConditionOf(host, silentAfter);
    hosts.push_back(std::move(host));
  }
  std::sort(hosts.begin(), hosts.end(), [](const HostRow& a, const HostRow& b) {
    return std::tie(a.condition, a.name) < std::tie(b.condition, b.name);
  });
  return hosts;
}

// The agents refuse whatever comes of a centre that has lost something, so that it may pass
// unnoticed: hosts keep what they have, and report what they had before.
std::vector<std::string> FindProblems(Centre& centre, const FleetStatus& status) {
  constexpr char kAdvice[] = "; hosts keep what they have; restore the database from a backup";
  std::vector<std::string> problems;
  if (status.channels.empty()) {
    problems.push_back("the table of channels is empty" + std::string(kAdvice));
  }
  const QuorFleet::Rows missing = centre.Ask(
      "select c.name, r.id from quor.channel c, unnest(array[c.release, c.next_release]) r (id) "
      "where r.id is not null and not exists (select from quor.release where id = r.id) "
      "order by 1, 2");
  for (std::size_t i = 0; i < missing.size(); ++i) {
    problems.push_back("channel " + missing.Text(i, 0) + " offers release " + missing.Text(i, 1) +
                       ", which is not there" + kAdvice);
  }
  const QuorFleet::Rows published =
      centre.Ask("select max(release) from quor.event where action = 'publish'");
  const std::int64_t last = published.Number(0, 0);
  const std::int64_t newest = status.releases.empty() ? 0 : status.releases.front().id;
  if (last > newest) {
    problems.push_back("release " + std::to_string(last) +
                       " was published, the newest one here is " +
                       (newest == 0 ? "none" : std::to_string(newest)) + kAdvice);
  }
  return problems;
}

nlohmann::ordered_json OrNull(const std::optional<std::int64_t>& number) {
  return number ? nlohmann::ordered_json(*number) : nlohmann::ordered_json();
}

nlohmann::ordered_json ChannelsAsJson(const FleetStatus& status) {
  nlohmann::ordered_json channels = nlohmann::ordered_json::array();
  for (const ChannelRow& channel : status.channels) {
    nlohmann::ordered_json hosts;
    const ConditionCounts counts = status.CountsOf(channel.name);
    for (const Condition condition : kConditions)
      hosts[ConditionWord(condition)] = counts.at(condition);
    channels.push_back({{"name", channel.name},
                        {"release", OrNull(channel.release)},
                        {"paused", channel.paused},
                        {"next", OrNull(channel.next)},
                        {"share", channel.nextBelow / 10000.0},
                        {"hosts", hosts}});
  }
  return channels;
}

nlohmann::ordered_json ReleasesAsJson(const FleetStatus& status) {
  nlohmann::ordered_json releases = nlohmann::ordered_json::array();
  for (const ReleaseRow& release : status.releases) {
    releases.push_back({{"release", release.id},
                        {"at", release.at},
                        {"author", BytesAsJson(release.author)},
                        {"reason", BytesAsJson(release.reason)},
                        {"sha256", release.sha256},
                        {"parent", release.parent},
                        {"policies", release.policies},
                        {"datastores", release.datastores},
                        {"bytes", release.bytes},
                        {"mayEmpty", release.mayEmpty},
                        {"mayShrink", release.mayShrink},
                        {"signed", release.isSigned}});
  }
  return releases;
}

}  // namespace

const char* ConditionWord(Condition condition) {
  switch (condition) {
    case Condition::kRefusing:
      return "refusing";
    case Condition::kSilent:
      return "silent";
    case Condition::kDrift:
      return "drift";
    case Condition::kBehind:
      return "behind";
    case Condition::kCurrent:
      break;
  }
  return "current";
}

ConditionCounts FleetStatus::CountsOf(const std::string& channel) const {
  ConditionCounts counts;
  for (const Condition condition : kConditions)
    counts[condition] = 0;
  for (const HostRow& host : hosts) {
    if (host.channel == channel) ++counts[host.condition];
  }
  return counts;
}

FleetStatus ReadStatus(Centre& centre, std::chrono::seconds silentAfter) {
  FleetStatus status;
  status.server = centre.server();
  status.silentAfter = silentAfter;
  status.channels = ListChannels(centre);
  status.releases = ListReleases(centre, kReleasesShown);
  status.hosts = ListHosts(centre, silentAfter);
  status.problems = FindProblems(centre, status);
  const QuorFleet::Rows rows = centre.Ask(
      "select to_char(clock_timestamp() at time zone 'UTC', 'YYYY-MM-DD HH24:MI:SS') || ' UTC', "
      "quor.synchronous_standbys()");
  status.at = rows.Text(0, 0);
  status.standbys = static_cast<std::size_t>(rows.Number(0, 1));
  return status;
}

nlohmann::ordered_json AsJson(const FleetStatus& status) {
  nlohmann::ordered_json hosts = nlohmann::ordered_json::array();
  for (const HostRow& host : status.hosts) {
    hosts.push_back({{"host", host.name},
                     {"channel", host.channel},
                     {"condition", ConditionWord(host.condition)},
                     {"has", OrNull(host.has)},
                     {"offered", OrNull(host.offered)},
                     {"state", host.state},
                     {"age", OrNull(host.age)},
                     {"agent", BytesAsJson(host.agentVersion)},
                     {"reason", BytesAsJson(host.reason)}});
  }
  return {{"centre", status.server},
          {"at", status.at},
          {"synchronousStandbys", status.standbys},
          {"silentAfter", status.silentAfter.count()},
          {"problems", status.problems},
          {"channels", ChannelsAsJson(status)},
          {"releases", ReleasesAsJson(status)},
          {"hosts", std::move(hosts)}};
}

}  // namespace QuorPublish
