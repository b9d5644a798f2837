// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "centre.h"

#include <cstdlib>

#include "answer.h"
#include "fleet/fleet_error.h"

namespace QuorPublish {

using QuorFleet::Deadline;
using QuorFleet::FleetError;
using QuorFleet::FleetProblem;
using QuorFleet::Parameter;
using QuorFleet::RowFormat;
using QuorFleet::Rows;

namespace {

QuorFleet::ConnectionOptions ConnectionOptionsOf(const CentreOptions& options, Centre::Use use) {
  QuorFleet::ConnectionOptions wanted;
  wanted.connectionString = options.connectionString;
  if (wanted.connectionString.empty()) {
    const char* const given = secure_getenv("QUOR_CENTRE");
    if (given) wanted.connectionString = given;
  }
  wanted.programName = "quor-publish";
  wanted.takesChanges = use == Centre::Use::kChange;
  return wanted;
}

}  // namespace

Centre::Centre(const CentreOptions& options, Use use)
    : options_(options),
      connection_((progress_.Begin("connecting to the centre"), ConnectionOptionsOf(options, use)),
                  Deadline::In(options.timeout)) {}

Rows Centre::Ask(const std::string& statement, const std::vector<Parameter>& parameters,
                 RowFormat format) {
  return connection_.Query(statement, parameters, Deadline::In(options_.timeout), format);
}

void Centre::Change(const std::string& what, const std::function<void()>& change) {
  if (!options_.noStandby) ExpectStandby();
  Ask("begin");
  try {
    Ask(options_.noStandby ? "set local synchronous_commit = local"
                           : "set local synchronous_commit = remote_apply");
    change();
  } catch (...) {
    TakeBack();
    throw;
  }
  Commit(what);
}

void Centre::ExpectStandby() {
  if (Ask("select quor.synchronous_standbys()").Number(0, 0) > 0) return;
  throw CommandError(ExitStatus::kStore,
                     "centre " + server() +
                         ": no synchronous standby is streaming; nothing was changed; start one "
                         "(synchronous_standby_names), or accept with --no-standby that the change "
                         "is lost when this server is");
}

// If the connection ends, the server rolls the transaction back by itself.
void Centre::TakeBack() {
  try {
    if (connection_.IsUsable()) Ask("rollback");
  } catch (const FleetError&) {  // the failure before is the one to be told
  }
}

void Centre::Commit(const std::string& what) {
  progress_.Begin("waiting until the standby has " + what);
  connection_.TakeWarnings();
  try {
    Ask("commit");
  } catch (const FleetError& failure) {
    if (failure.problem() != FleetProblem::kTimeout && failure.problem() != FleetProblem::kLost) {
      throw;
    }
    throw CommandError(ExitStatus::kStore,
                       std::string(failure.what()) + "; it is not known whether " + what +
                           " is there: look with \"quor-publish log\" when the centre is back");
  }
  // A wait for the standby that is cancelled leaves the change on the primary alone, and the server
  // warns of it.
  const std::vector<std::string> warnings = connection_.TakeWarnings();
  if (warnings.empty() || options_.noStandby) return;
  throw CommandError(
      ExitStatus::kStore,
      "centre " + server() + ": " + warnings.front() + "; " + what +
          " is on this server, and no standby has confirmed it: it is lost when this "
          "server is; look at the standby");
}

}  // namespace QuorPublish
