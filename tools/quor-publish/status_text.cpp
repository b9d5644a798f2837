// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "status_text.h"

#include <algorithm>

#include "catalogue/losses.h"
#include "text/table.h"

namespace QuorPublish {

using Quorctl::Colour;
using Quorctl::Table;

namespace {

constexpr std::size_t kReleasesInTable = 10;
constexpr std::size_t kHostsInTable = 40;

Colour ColourOf(Condition condition) {
  switch (condition) {
    case Condition::kRefusing:
    case Condition::kSilent:
      return Colour::kRed;
    case Condition::kDrift:
    case Condition::kBehind:
      return Colour::kYellow;
    case Condition::kCurrent:
      break;
  }
  return Colour::kGreen;
}

Table::Style StyleOfTables() {
  return {/*headings=*/true, Quorctl::StandardOutputTakesColour()};
}

std::string TextOf(const std::optional<ReleaseId>& release) {
  return release ? std::to_string(*release) : "";
}

// "35 s", "12 min", "3 h", "2 d"
std::string AgeOf(const HostRow& host) {
  if (!host.age) return "never";
  constexpr std::int64_t kMinute = 60;
  constexpr std::int64_t kHour = 60 * kMinute;
  constexpr std::int64_t kDay = 24 * kHour;
  const std::int64_t age = *host.age;
  if (age < 2 * kMinute) return std::to_string(age) + " s";
  if (age < 2 * kHour) return std::to_string(age / kMinute) + " min";
  return age < 2 * kDay ? std::to_string(age / kHour) + " h" : std::to_string(age / kDay) + " d";
}

std::string ChannelTable(const FleetStatus& status) {
  std::vector<Table::Column> columns = {{"CHANNEL"},
                                        {"RELEASE", Table::Align::kRight},
                                        {"ROLL-OUT"},
                                        {"HOSTS", Table::Align::kRight},
                                        {"CURRENT", Table::Align::kRight},
                                        {"BEHIND", Table::Align::kRight},
                                        {"DRIFT", Table::Align::kRight},
                                        {"SILENT", Table::Align::kRight},
                                        {"REFUSING", Table::Align::kRight}};
  Table table(columns, StyleOfTables());
  for (const ChannelRow& channel : status.channels) {
    ConditionCounts counts = status.CountsOf(channel.name);
    std::size_t all = 0;
    for (const auto& [condition, count] : counts)
      all += count;
    std::string rollout = channel.paused ? "paused" : "";
    if (channel.next) {
      rollout += (rollout.empty() ? "" : ", ") + std::string("release ") + TextOf(channel.next) +
                 " to " + std::to_string((channel.nextBelow + 99) / 100) + " %";
    }
    const auto cell = [&counts](Condition condition) -> Table::Cell {
      const std::size_t count = counts[condition];
      return {std::to_string(count), count == 0 ? Colour::kNone : ColourOf(condition)};
    };
    table.AddRow({{channel.name},
                  {TextOf(channel.release)},
                  {rollout, Colour::kYellow},
                  {std::to_string(all)},
                  cell(Condition::kCurrent),
                  cell(Condition::kBehind),
                  cell(Condition::kDrift),
                  cell(Condition::kSilent),
                  cell(Condition::kRefusing)});
  }
  return table.Text();
}

std::string ReleaseTable(const FleetStatus& status) {
  Table table({{"RELEASE", Table::Align::kRight},
               {"HOSTS", Table::Align::kRight},
               {"AT"},
               {"AUTHOR"},
               {"SIGNED"},
               {"REASON"}},
              StyleOfTables());
  std::map<ReleaseId, std::size_t> hosts;
  for (const HostRow& host : status.hosts) {
    if (host.has) ++hosts[*host.has];
  }
  std::size_t shown = 0;
  for (const ReleaseRow& release : status.releases) {
    const auto found = hosts.find(release.id);
    const std::size_t count = found == hosts.end() ? 0 : found->second;
    if (shown >= kReleasesInTable && count == 0) continue;
    ++shown;
    table.AddRow({{std::to_string(release.id)},
                  {std::to_string(count)},
                  {release.at},
                  {release.author},
                  {release.isSigned ? "yes" : "no"},
                  {release.reason}});
  }
  return shown == 0 ? "no release was published yet\n" : table.Text();
}

std::string HostTable(const FleetStatus& status, bool allHosts) {
  Table table({{"HOST"},
               {"CHANNEL"},
               {"CONDITION"},
               {"HAS", Table::Align::kRight},
               {"OFFERED", Table::Align::kRight},
               {"SEEN", Table::Align::kRight},
               {"REASON"}},
              StyleOfTables());
  std::size_t worth = 0;
  std::size_t shown = 0;
  for (const HostRow& host : status.hosts) {
    if (!allHosts && host.condition == Condition::kCurrent) continue;
    if (++worth > kHostsInTable && !allHosts) continue;
    ++shown;
    table.AddRow({{host.name},
                  {host.channel},
                  {ConditionWord(host.condition), ColourOf(host.condition)},
                  {TextOf(host.has)},
                  {TextOf(host.offered)},
                  {AgeOf(host)},
                  {host.reason}});
  }
  if (worth == 0) {
    return status.hosts.empty() ? "there are no hosts; add one with \"quor-publish host add\"\n"
           : allHosts           ? ""
                                : "all hosts have what they are offered\n";
  }
  return table.Text() + (shown < worth ? "... and " + std::to_string(worth - shown) +
                                             " more hosts; --hosts shows all\n"
                                       : "");
}

std::string ProblemLines(const FleetStatus& status) {
  std::string lines;
  for (const std::string& problem : status.problems)
    lines += "problem: " + problem + '\n';
  return lines;
}

}  // namespace

std::string StatusAsText(const FleetStatus& status, bool allHosts) {
  return "centre " + status.server + " at " + status.at + ", " +
         (status.standbys == 0
              ? std::string("no synchronous standby seen from it")
              : Quorctl::Counted(status.standbys, "synchronous standby", "synchronous standbys")) +
         "\n" + ProblemLines(status) + '\n' + ChannelTable(status) + '\n' + ReleaseTable(status) +
         '\n' + HostTable(status, allHosts);
}

}  // namespace QuorPublish
