// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "host_commands.h"

#include "catalogue/text/terminal_text.h"
#include "fleet/fleet_error.h"
#include "release_store.h"

namespace QuorPublish {

using Quorctl::Quoted;
using QuorFleet::FleetError;

namespace {

[[noreturn]] void RaiseNoHost(const std::string& name) {
  throw CommandError(ExitStatus::kAbsent,
                     "there is no host " + Quoted(name) +
                         "; nothing was changed; \"quor-publish status --hosts\" lists them");
}

// The statement's answer for the host's name and the other words.
bool ChangeHost(Centre& centre, const std::string& name, const std::string& statement,
                const std::vector<QuorFleet::Parameter>& words) {
  bool answer = false;
  centre.Change("host " + name, [&] { answer = centre.Ask(statement, words).IsTrue(0, 0); });
  return answer;
}

}  // namespace

void AddHost(const CentreOptions& options, const std::string& name, const std::string& channel,
             const std::string& role, Answer* answer) {
  Centre centre(options, Centre::Use::kChange);
  FindChannel(centre, channel);
  const std::string login = role.empty() ? name : role;
  bool isNew = false;
  try {
    isNew = ChangeHost(centre, name, "select quor.add_host($1::text, $2::text, $3::text)",
                       {name, channel, login});
  } catch (const FleetError& failure) {
    if (failure.sqlState() == "23505") {
      throw CommandError(ExitStatus::kMoved,
                         "host " + Quoted(name) + " or a host of the role " + Quoted(login) +
                             " is there already; nothing was changed; move it with \"quor-publish "
                             "host move\", or name another role with --role");
    }
    if (failure.sqlState() != "23514") throw;
    throw UsageError("host " + Quoted(name) + ": a name has letters, digits, '.', '_' and '-'");
  }
  answer->text +=
      "host " + name + " looks at channel " + channel + " as the role " + login +
      (isNew ? ", which was made; let it in by a certificate of this name or a password\n" : "\n");
}

void MoveHost(const CentreOptions& options, const std::string& name, const std::string& channelName,
              Answer* answer) {
  Centre centre(options, Centre::Use::kChange);
  const ChannelRow channel = FindChannel(centre, channelName);
  const QuorFleet::Rows status =
      centre.Ask("select release from quor.host_status where host = $1::text", {name});
  if (!ChangeHost(centre, name, "select quor.move_host($1::text, $2::text)", {name, channelName})) {
    RaiseNoHost(name);
  }
  answer->text += "host " + name + " looks at channel " + channelName + '\n';
  const ReleaseId has = status.size() > 0 ? status.Number(0, 0) : 0;
  if (channel.release && has > *channel.release) {
    answer->text += "it has release " + std::to_string(has) +
                    " and stays with it until the channel, at " + std::to_string(*channel.release) +
                    ", is beyond\n";
  }
}

void RemoveHost(const CentreOptions& options, const std::string& name, Answer* answer) {
  Centre centre(options, Centre::Use::kChange);
  if (!ChangeHost(centre, name, "select quor.remove_host($1::text)", {name})) RaiseNoHost(name);
  answer->text += "host " + name + " is removed; it keeps the catalogue that it has\n";
}

}  // namespace QuorPublish
