// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "channel_commands.h"

#include "catalogue/text/terminal_text.h"
#include "fleet/fleet_error.h"
#include "fleet/release.h"

namespace QuorPublish {

using Quorctl::Quoted;

namespace {

// "3 hosts"
std::string HostsOf(Centre& centre, const std::string& channel) {
  const auto count =
      centre.Ask("select count(*) from quor.host where channel = $1::text", {channel}).Number(0, 0);
  return std::to_string(count) + (count == 1 ? " host" : " hosts");
}

}  // namespace

void ExpectForward(Centre& centre, const ReleaseRow& release, const ChannelRow& channel) {
  const std::string id = std::to_string(release.id);
  if (release.id < channel.Highest()) {
    throw CommandError(ExitStatus::kMoved,
                       "channel " + channel.name + " has release " +
                           std::to_string(channel.Highest()) + ": release " + id +
                           " would take its hosts back; nothing was changed; publish the old "
                           "document as a new release with \"quor-publish rollback " +
                           id + "\"");
  }
  if (!channel.release || *channel.release == release.id) return;
  const Quorctl::Catalogue after = ReadRelease(centre, release.id);
  Quorctl::Catalogue before;
  try {
    before = ReadRelease(centre, *channel.release);
  } catch (const QuorFleet::ReleaseRefused&) {
    return;  // no host has what is damaged
  }
  try {
    QuorFleet::ExpectNoLoss(release.id, before, after, release.mayEmpty, release.mayShrink);
  } catch (const QuorFleet::ReleaseRefused& refused) {
    throw CommandError(ExitStatus::kNotConfirmed,
                       "the hosts of channel " + channel.name + ", which have release " +
                           std::to_string(*channel.release) +
                           ", would refuse this: " + refused.what() + "; nothing was changed");
  }
}

void MoveChannel(Centre& centre, ReleaseId release, const std::string& channel) {
  centre.Change("channel " + channel, [&] {
    centre.Ask(
        "update quor.channel set release = $1::bigint, next_release = null, next_below = 0 "
        "where name = $2::text",
        {release, channel});
  });
}

void Promote(const CentreOptions& options, ReleaseId id, const std::string& name, Answer* answer) {
  Centre centre(options, Centre::Use::kChange);
  const ReleaseRow release = FindRelease(centre, id);
  const ChannelRow channel = FindChannel(centre, name);
  ExpectForward(centre, release, channel);
  if (channel.release == id && !channel.next) {
    answer->text += "channel " + name + " has release " + std::to_string(id) + " already\n";
    return;
  }
  MoveChannel(centre, id, name);
  answer->text += "channel " + name + ": release " +
                  (channel.release ? std::to_string(*channel.release) : "none") + " -> " +
                  std::to_string(id) + ", offered to " + HostsOf(centre, name) +
                  (channel.paused ? " when the channel is resumed: it is paused\n" : "\n");
}

void Pause(const CentreOptions& options, const std::string& name, bool paused, Answer* answer) {
  Centre centre(options, Centre::Use::kChange);
  const ChannelRow channel = FindChannel(centre, name);
  if (channel.paused != paused) {
    centre.Change("channel " + name, [&] {
      centre.Ask("update quor.channel set paused = $1::boolean where name = $2::text",
                 {paused, name});
    });
  }
  answer->text += "channel " + name + " is " + (paused ? "paused" : "not paused") +
                  (channel.paused == paused ? " already\n"
                   : paused                 ? ": its hosts stay with what they have\n"
                                            : "\n");
}

void AddChannel(const CentreOptions& options, const std::string& name, Answer* answer) {
  Centre centre(options, Centre::Use::kChange);
  try {
    centre.Change("channel " + name,
                  [&] { centre.Ask("insert into quor.channel (name) values ($1::text)", {name}); });
  } catch (const QuorFleet::FleetError& failure) {
    if (failure.sqlState() == "23505") {
      throw CommandError(ExitStatus::kMoved, "there is a channel " + Quoted(name) + " already");
    }
    if (failure.sqlState() != "23514") throw;
    throw UsageError("channel " + Quoted(name) +
                     ": a name has letters, digits, '.', '_' and '-', 63 of them at most");
  }
  answer->text += "channel " + name + " is there, without a release\n";
}

}  // namespace QuorPublish
