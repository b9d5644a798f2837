// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "agent.h"

#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <optional>
#include <system_error>

#include "catalogue/document_error.h"
#include "difference_text.h"
#include "file_text.h"
#include "fleet/fleet_error.h"
#include "fleet/release.h"
#include "fleet/sha256.h"
#include "host_catalogue.h"
#include "journal.h"

namespace QuorAgent {

using Quorctl::Catalogue;

Agent::Agent(const Settings& settings, StopRequest* stop)
    : settings_(settings),
      stop_(stop),
      keeper_(settings, &chance_, &metrics_),
      channel_(settings, &keeper_, &chance_, &metrics_, stop ? stop->descriptor() : -1) {}

Outcome Agent::Run() {
  if (Open()) {
    keeper_.Check();
    Publish();
    notice_.Ready(Summary());
    malloc_trim(0);
    while (!WaitForWork())
      Turn();
  }
  notice_.Stopping();
  Log(Severity::kInfo, "ended by a signal");
  return Outcome::kDone;
}

// Waits until the state directory can be used; the host stays as it is meanwhile. Returns false if
// a signal came first.
bool Agent::Open() {
  BackOff backOff;
  std::string problem;
  while (!keeper_.IsOpen()) {
    try {
      keeper_.Open(StateDirectory::Use::kExclusive);
    } catch (const std::system_error& failure) {
      if (problem != failure.what())
        Log(Severity::kError, failure.what() + std::string("; trying again"));
      problem = failure.what();
      notice_.Ready(problem);
      notice_.Alive();
      if (stop_->Came(Clock::now() + backOff.Next(&chance_))) return false;
    }
  }
  return true;
}

// True when a signal came.
bool Agent::WaitForWork() {
  auto until = std::min(keeper_.NextCheck(), channel_.NextAsk());
  const auto alive = notice_.AlivePeriod();
  if (alive) until = std::min(until, Clock::now() + *alive);
  return stop_->Came(until);
}

void Agent::Turn() {
  notice_.Alive();
  const bool checks = Clock::now() >= keeper_.NextCheck();
  const bool asks = Clock::now() >= channel_.NextAsk();
  if (checks) keeper_.Check();
  if (asks) channel_.Ask();
  if (!checks && !asks) return;
  Publish();
  malloc_trim(0);  // what a large catalogue took is not needed until the next change
}

Outcome Agent::RunOnce() {
  keeper_.Open(StateDirectory::Use::kExclusive);
  if (settings_.from.empty()) {
    keeper_.Check();
    channel_.Ask();
  } else {
    try {
      Wanted wanted;
      FromFile(&wanted);
      keeper_.Accept(wanted);
    } catch (const QuorFleet::ReleaseRefused& refusal) {
      Log(Severity::kError, settings_.from + " is refused: " + refusal.what());
      return Outcome::kRefused;
    } catch (const Quorctl::DocumentError& failure) {
      Log(Severity::kError, failure.what());
      return Outcome::kRefused;
    }
  }
  Publish();
  switch (Present().state) {
    case State::kFailed:
      return Outcome::kFailed;
    case State::kDrift:
    case State::kHeld:
    case State::kRefused:
      return Outcome::kRefused;
    case State::kWaiting:
    case State::kApplied:
      break;
  }
  return channel_.IsReachable() ? Outcome::kDone : Outcome::kNoCentre;
}

Outcome Agent::DryRun() {
  std::optional<Catalogue> next;
  try {
    keeper_.Open(StateDirectory::Use::kReadOnly);
    if (settings_.from.empty()) {
      next = channel_.Preview();
    } else {
      Wanted wanted;
      next = FromFile(&wanted);
    }
  } catch (const QuorFleet::FleetError& failure) {
    Log(Severity::kError, failure.what());
    return Outcome::kNoCentre;
  } catch (const QuorFleet::ReleaseRefused& refusal) {
    Log(Severity::kError, refusal.what());
    return Outcome::kRefused;
  } catch (const Quorctl::DocumentError& failure) {
    Log(Severity::kError, failure.what());
    return Outcome::kRefused;
  }
  if (!channel_.condition().reason.empty()) {
    Log(Severity::kError, channel_.condition().reason);
    return Outcome::kRefused;
  }
  const Catalogue host = ReadHost();
  if (!next) next = keeper_.WantedRelease() ? keeper_.Basis() : host;
  const std::string difference = IsEqual(host, *next) ? "" : DifferenceAsText(host, *next);
  std::fputs(difference.empty() ? "nothing would be changed\n" : difference.c_str(), stdout);
  return difference.empty() ? Outcome::kDone : Outcome::kWouldChange;
}

// Applies the rules of a release except the signature: a user who may start the agent may change
// the host anyway.
Catalogue Agent::FromFile(Wanted* wanted) const {
  const std::string& path = settings_.from;
  Catalogue next = QuorFleet::ReadWholeDocument(ReadFileText(path), path);
  const std::optional<ReleaseName> floor = keeper_.Floor();
  const std::int64_t present = floor ? floor->id : 0;
  const std::int64_t release = settings_.release.value_or(present);
  if (release < present) {
    throw QuorFleet::ReleaseRefused(QuorFleet::Refusal::kDocument, release,
                                    "the host has release " + std::to_string(present) +
                                        " and never goes back; give a higher --release");
  }
  QuorFleet::ExpectNoLoss(release, keeper_.Basis(), next, settings_.mayEmpty, settings_.mayShrink);
  wanted->document = QuorFleet::CanonicalDocument(next);
  wanted->release = {release, QuorFleet::Sha256Hex(wanted->document), /*fromFile=*/true};
  return next;
}

const Condition& Agent::Present() const {
  return Worse(keeper_.condition(), channel_.condition());
}

std::string Agent::Summary() const {
  if (!Present().reason.empty()) return NameOf(Present().state) + ": " + Present().reason;
  const auto& applied = keeper_.LastApplied();
  if (!applied) return "waiting for the first release";
  return "the host holds release " + std::to_string(applied->release.id);
}

void Agent::Publish() {
  metrics_.state = Present().state;
  notice_.Status(Summary());
  if (settings_.metricsFile.empty()) return;
  const std::string text = AsOpenMetrics(metrics_);
  if (text == writtenMetrics_) return;
  try {
    ReplaceMetricsFile(settings_.metricsFile, text);
    writtenMetrics_ = text;
    metricsProblem_.clear();
  } catch (const std::system_error& failure) {
    if (metricsProblem_ != failure.what()) Log(Severity::kWarning, failure.what());
    metricsProblem_ = failure.what();
  }
}

}  // namespace QuorAgent
