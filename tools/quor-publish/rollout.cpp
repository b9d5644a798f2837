// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "rollout.h"

#include <algorithm>
#include <thread>

#include "channel_commands.h"
#include "standard_streams.h"

namespace QuorPublish {
namespace {

constexpr int kPlaces = 10000;  // quor.place() answers below it
constexpr int kPerCent = 100;

struct Stage {
  std::string name;  // "share of 10 % of prod"
  std::string channel;
  int below = kPlaces;  // hosts of the channel at these places
};

// How far the hosts of a stage are.
struct Progress {
  std::int64_t hosts = 0;
  std::int64_t arrived = 0;
  std::int64_t refusing = 0;
  std::string refusals;  // some of them, with their reasons

  std::int64_t Missing() const { return hosts - arrived - refusing; }
  bool operator==(const Progress& other) const = default;
};

class Rollout {
 public:
  Rollout(const CentreOptions& centre, const RolloutOptions& options)
      : centre_(centre, Centre::Use::kChange),
        options_(options),
        release_(FindRelease(centre_, options.release)),
        id_(std::to_string(options.release)) {}

  void Run(Answer* answer) {
    std::vector<Stage> stages;
    if (!options_.canary.empty()) stages.push_back({"channel " + options_.canary, options_.canary});
    const ChannelRow channel = FindChannel(centre_, options_.channel);
    if (!options_.canary.empty()) ExpectReady(FindChannel(centre_, options_.canary));
    ExpectReady(channel);
    ExpectHosts();
    for (const int share : options_.shares) {
      stages.push_back({std::to_string(share) + " % of channel " + options_.channel,
                        options_.channel, PlaceBelow(share)});
    }
    stages.push_back({"all of channel " + options_.channel, options_.channel});
    Note("start", options_.channel, std::to_string(stages.size()) + " stages");
    for (const Stage& stage : stages) {
      const std::string problem = Pass(stage);
      if (problem.empty()) continue;
      Note("stop", stage.channel, stage.name + ": " + problem);
      answer->status = ExitStatus::kNo;
      answer->text += "stopped at " + stage.name + ": " + problem + '\n' + Standing();
      return;
    }
    answer->text += "release " + id_ + " is with all hosts of channel " + options_.channel + '\n';
  }

 private:
  void ExpectReady(const ChannelRow& channel) {
    if (channel.paused) {
      throw CommandError(ExitStatus::kMoved, "channel " + channel.name +
                                                 " is paused; nothing was changed; go on with "
                                                 "\"quor-publish resume " +
                                                 channel.name + "\" first");
    }
    ExpectForward(centre_, release_, channel);
  }

  void ExpectHosts() {
    if (options_.canary.empty() || HostsOf(options_.canary) > 0) return;
    throw CommandError(
        ExitStatus::kAbsent,
        "channel " + options_.canary +
            " has no hosts, so nothing would be tried; nothing was changed; move one "
            "there with \"quor-publish host move\", or give --no-canary");
  }

  std::int64_t HostsOf(const std::string& channel) {
    return centre_.Ask("select count(*) from quor.host where channel = $1::text", {channel})
        .Number(0, 0);
  }

  // Below which place this share of the hosts is: at least one of them.
  int PlaceBelow(int share) {
    const std::int64_t wanted =
        std::max<std::int64_t>(1, (HostsOf(options_.channel) * share + kPerCent - 1) / kPerCent);
    const QuorFleet::Rows rows = centre_.Ask(
        "select quor.place(name, $1::bigint) from quor.host where channel = $2::text order by 1 "
        "limit $3::bigint",
        {options_.release, options_.channel, wanted});
    if (rows.size() == 0) return kPlaces;
    return static_cast<int>(rows.Number(rows.size() - 1, 0)) + 1;
  }

  // Empty when the stage is passed, else why the roll-out stops.
  std::string Pass(const Stage& stage) {
    const auto since = centre_.Ask("select clock_timestamp()").Text(0, 0);
    if (!Offer(stage)) return "channel " + stage.channel + " was moved by somebody else";
    const auto deadline = QuorFleet::Deadline::In(options_.patience);
    Progress last;
    last.hosts = -1;
    for (;;) {
      const Progress now = Look(stage, since);
      if (now != last) Tell(stage, now);
      last = now;
      if (now.refusing > options_.mostRefusing) return TooMany(now);
      if (now.Missing() <= 0) return "";
      if (!IsStillOurs(stage))
        return "channel " + stage.channel + " was paused or moved by somebody else";
      if (deadline.HasPassed()) return AtTheEnd(now);
      centre_.progress().Begin("waiting for " + stage.name);
      std::this_thread::sleep_for(options_.period);
    }
  }

  // Whether the stage's hosts are offered the release, or were before.
  bool Offer(const Stage& stage) {
    const ChannelRow channel = FindChannel(centre_, stage.channel);
    if (channel.Highest() > options_.release || channel.paused) return false;
    if (channel.release == options_.release) return true;
    if (stage.below == kPlaces) {
      MoveChannel(centre_, options_.release, stage.channel);
      return true;
    }
    const int reached = channel.next == options_.release ? channel.nextBelow : 0;
    if (stage.below <= reached) return true;
    centre_.Change("the share", [&] {
      centre_.Ask(
          "update quor.channel set next_release = $1::bigint, next_below = $2::integer "
          "where name = $3::text",
          {options_.release, std::int64_t{stage.below}, stage.channel});
    });
    return true;
  }

  bool IsStillOurs(const Stage& stage) {
    const ChannelRow channel = FindChannel(centre_, stage.channel);
    return channel.Highest() == options_.release && !channel.paused;
  }

  Progress Look(const Stage& stage, const std::string& since) {
    const QuorFleet::Rows rows = centre_.Ask(
        "with stage as (select h.name, s.reason, "
        "  coalesce(s.release >= $1::bigint and s.state in ('applied', 'drift'), false) arrived, "
        "  coalesce(s.at >= $4::timestamptz and s.state in ('refused', 'failed', 'held'), false) "
        "refusing from quor.host h left join quor.host_status s on s.host = h.name "
        "  where h.channel = $2::text and quor.place(h.name, $1::bigint) < $3::integer), "
        "examples as (select name || ': ' || reason told from stage where refusing order by name "
        "limit 5) "
        "select count(*), count(*) filter (where arrived), count(*) filter (where refusing), "
        "(select string_agg(told, '; ') from examples) from stage",
        {options_.release, stage.channel, std::int64_t{stage.below}, since});
    return {rows.Number(0, 0), rows.Number(0, 1), rows.Number(0, 2), rows.Text(0, 3)};
  }

  void Tell(const Stage& stage, const Progress& now) {
    centre_.progress().Hide();
    Quorctl::WriteStandardOutput("release " + id_ + ", " + stage.name + ": " +
                                 std::to_string(now.arrived) + " of " + std::to_string(now.hosts) +
                                 " hosts have it, " + std::to_string(now.refusing) + " refuse, " +
                                 std::to_string(now.Missing()) + " to come\n");
  }

  std::string TooMany(const Progress& now) const {
    return std::to_string(now.refusing) + " of " + std::to_string(now.hosts) +
           " hosts refuse it, " + std::to_string(options_.mostRefusing) +
           " may (--most-refusing): " + now.refusals;
  }

  std::string AtTheEnd(const Progress& now) const {
    if (now.Missing() * kPerCent <= now.hosts * options_.mostSilent) return "";
    return std::to_string(now.Missing()) + " of " + std::to_string(now.hosts) +
           " hosts neither have it nor refuse it after " +
           std::to_string(options_.patience.count()) + " s, " +
           std::to_string(options_.mostSilent) + " % may (--most-silent)";
  }

  std::string Standing() {
    std::string text;
    for (const std::string& name : {options_.canary, options_.channel}) {
      if (name.empty()) continue;
      const ChannelRow channel = FindChannel(centre_, name);
      text += "channel " + name + " stays at " +
              (channel.release ? "release " + std::to_string(*channel.release) : "no release") +
              (channel.next ? ", a share of it at release " + std::to_string(*channel.next) : "") +
              '\n';
    }
    return text +
           "the same command goes on from here when the cause is gone; to go back, publish a "
           "repaired "
           "document or \"quor-publish rollback\" and roll that out\n";
  }

  void Note(const std::string& action, const std::string& channel, const std::string& detail) {
    centre_.Change("the log", [&] {
      centre_.Ask("select quor.note($1::text, $2::bigint, $3::text, $4::text)",
                  {action, options_.release, channel, detail});
    });
  }

  Centre centre_;
  RolloutOptions options_;
  ReleaseRow release_;
  std::string id_;
};

}  // namespace

void RollOut(const CentreOptions& centre, const RolloutOptions& options, Answer* answer) {
  if (options.canary == options.channel) throw UsageError("--canary and --channel are the same");
  if (!std::is_sorted(options.shares.begin(), options.shares.end())) {
    throw UsageError("--share: shares have to rise");
  }
  Rollout(centre, options).Run(answer);
}

}  // namespace QuorPublish
