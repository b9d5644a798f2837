// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "centre.h"

#include <string>

#include "fleet/fleet_error.h"
#include "timing.h"

namespace QuorAgent {

using QuorFleet::Deadline;

namespace {

// For an answer of one row. The kernel gives up a silent connection after four to eight seconds.
constexpr std::chrono::seconds kAnswer(5);

}  // namespace

Centre::Centre(const Settings& settings, int stop)
    : settings_(settings), stop_(stop), deadline_(Deadline::In(milliseconds(0))) {}

void Centre::BeginCycle() {
  deadline_ = Deadline::In(SecondsOf(settings_.timeout));
}

void Centre::EndCycle() {
  if (!settings_.keepsConnection) connection_.reset();
}

// A kept connection may have been closed since the last cycle; then a new one is tried first. Where
// it takes longer to see that it is lost the network is cut, and the failure is told at once.
std::optional<QuorFleet::ReleaseHead> Centre::AskHead() {
  constexpr std::chrono::seconds kSeenAtOnce(1);
  const bool isKept = connection_.has_value();
  const auto asked = Clock::now();
  try {
    return QuorFleet::FetchHead(Connected(), deadline_.Within(kAnswer));
  } catch (const QuorFleet::FleetError& failure) {
    const bool wasClosed = isKept && failure.problem() == QuorFleet::FleetProblem::kLost &&
                           Clock::now() - asked < kSeenAtOnce;
    if (!wasClosed) throw;
  }
  Close();
  return QuorFleet::FetchHead(Connected(), deadline_.Within(kAnswer));
}

QuorFleet::ReleaseDocument Centre::Fetch(std::int64_t release) {
  auto document = QuorFleet::FetchDocument(Connected(), release, deadline_);
  if (document) return std::move(*document);
  throw QuorFleet::FleetError(QuorFleet::FleetProblem::kRefused, connection_->server(),
                              "it has no document of release " + std::to_string(release),
                              "look for the release with \"quor-publish log\"");
}

void Centre::Report(const QuorFleet::HostReport& report) {
  QuorFleet::SendReport(Connected(), report, deadline_.Within(kAnswer));
}

QuorFleet::Connection& Centre::Connected() {
  if (!connection_ || !connection_->IsUsable()) {
    connection_.reset();
    QuorFleet::ConnectionOptions options;
    options.connectionString = settings_.connection;
    options.programName = "quor-agent";
    options.stop = stop_;
    connection_.emplace(options, deadline_);
  }
  return *connection_;
}

}  // namespace QuorAgent
