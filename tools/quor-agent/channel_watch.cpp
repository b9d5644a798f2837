// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "channel_watch.h"

#include <ctime>
#include <exception>
#include <system_error>
#include <tuple>
#include <utility>

#include "file_text.h"
#include "fleet/fleet_error.h"
#include "fleet/release.h"
#include "journal.h"

namespace QuorAgent {

using Quorctl::Catalogue;
using QuorFleet::HostReport;
using QuorFleet::HostState;
using QuorFleet::ReleaseHead;

namespace {

constexpr auto kRetryRefused = std::chrono::minutes(10);
constexpr double kJitter = 0.2;  // of a period

std::string Numbered(std::int64_t release) {
  return "release " + std::to_string(release);
}

HostState ReportedState(State state) {
  switch (state) {
    case State::kDrift:
      return HostState::kDrift;
    case State::kHeld:
      return HostState::kHeld;
    case State::kRefused:
      return HostState::kRefused;
    case State::kFailed:
      return HostState::kFailed;
    case State::kWaiting:
    case State::kApplied:
      break;
  }
  return HostState::kApplied;
}

auto AllOf(const HostReport& report) {
  return std::tie(report.release, report.sha256, report.policiesDigest, report.datastoresDigest,
                  report.state, report.reason);
}

}  // namespace

ChannelWatch::ChannelWatch(const Settings& settings, HostKeeper* keeper, Chance* chance,
                           Metrics* metrics, int stop)
    : settings_(settings),
      keeper_(*keeper),
      chance_(*chance),
      metrics_(*metrics),
      centre_(settings, stop) {
  if (!settings.keyFile.empty()) keys_.Add(ReadFileText(settings.keyFile), settings.keyFile);
}

void ChannelWatch::Ask() {
  nextAsk_ = Clock::now() +
             chance_.Between(settings_.period * (1 - kJitter), settings_.period * (1 + kJitter));
  try {
    centre_.BeginCycle();
    const std::optional<ReleaseHead> head = centre_.AskHead();
    metrics_.lastContact = std::time(nullptr);
    if (head) {
      host_ = head->host;
      Consider(*head);
      Report();
    } else {
      metrics_.offered.reset();
      Set({State::kWaiting, "unknown host",
           "the centre does not know the role that this host connects as; at the centre: "
           "quor-publish host add NAME --role ROLE"});
    }
    if (!contactProblem_.empty()) Log(Severity::kInfo, "the centre answers again");
    contactProblem_.clear();
    contactBackOff_.Reset();
    centre_.EndCycle();
  } catch (const std::exception& failure) {
    ++metrics_.contactFailures;
    if (contactProblem_ != failure.what()) {
      Log(Severity::kWarning,
          std::string(failure.what()) + "; the host stays as it is; trying again");
    }
    contactProblem_ = failure.what();
    nextAsk_ = Clock::now() + contactBackOff_.Next(&chance_);
    centre_.Close();
  }
}

std::optional<Catalogue> ChannelWatch::Preview() {
  centre_.BeginCycle();
  const std::optional<ReleaseHead> head = centre_.AskHead();
  if (!head) {
    throw QuorFleet::FleetError(QuorFleet::FleetProblem::kRefused, "",
                                "the centre does not know the role that this host connects as",
                                "at the centre: quor-publish host add NAME --role ROLE");
  }
  host_ = head->host;
  condition_ = WhyNot(*head);
  if (!condition_.reason.empty() || !IsNew(*head) || head->paused) return std::nullopt;
  std::string document;
  return Fetch(*head, &document);
}

void ChannelWatch::Consider(const ReleaseHead& head) {
  metrics_.offered = head.release;
  metrics_.paused = head.paused;
  const Condition reason = WhyNot(head);
  if (!reason.reason.empty() || !IsNew(head)) {
    if (reason.state == State::kRefused && reason != condition_) ++metrics_.refusals[reason.kind];
    fetchAt_.reset();
    return Set(reason);
  }
  if (WasRefused(head)) return;
  if (head.paused) {
    fetchAt_.reset();
    return Set({});
  }
  if (IsTimeToFetch()) Take(head);
}

// Empty if the release may be taken or is the one that the host has.
Condition ChannelWatch::WhyNot(const ReleaseHead& head) const {
  const std::optional<ReleaseName> floor = keeper_.Floor();
  if (!floor) return {head.release ? State::kApplied : State::kWaiting, "", ""};
  if (!head.release || *head.release < floor->id) {
    return {State::kHeld, "lower release",
            host_ + " has " + Numbered(floor->id) + " and never goes back, channel " +
                head.channel + " has " + (head.release ? Numbered(*head.release) : "no release") +
                "; look whether the centre lost releases (quor-publish log); to go back on "
                "purpose: quor-publish rollback"};
  }
  if (*head.release == floor->id && head.sha256 != floor->sha256 && !floor->fromFile) {
    return {State::kRefused, "reused id",
            host_ + " refuses " + Numbered(floor->id) + " of channel " + head.channel +
                ": it is another document than the one of this number that the host has; publish "
                "it as a new release"};
  }
  return {};
}

bool ChannelWatch::IsNew(const ReleaseHead& head) const {
  const auto& wanted = keeper_.WantedRelease();
  return head.release && (!wanted || wanted->id != *head.release || wanted->sha256 != head.sha256);
}

bool ChannelWatch::WasRefused(const ReleaseHead& head) const {
  return refused_ && refused_->release == head.release && refused_->sha256 == head.sha256 &&
         refused_->mayEmpty == head.mayEmpty && refused_->mayShrink == head.mayShrink &&
         Clock::now() < retryRefused_;
}

// The splay starts when a new release is seen; a still newer one does not restart it.
bool ChannelWatch::IsTimeToFetch() {
  if (settings_.once || settings_.splay <= 0) return true;
  const auto now = Clock::now();
  if (!fetchAt_) fetchAt_ = now + chance_.Between(0, settings_.splay);
  if (*fetchAt_ > now) {
    nextAsk_ = *fetchAt_;
    return false;
  }
  fetchAt_.reset();
  return true;
}

void ChannelWatch::Take(const ReleaseHead& head) {
  Wanted wanted;
  wanted.release = {*head.release, head.sha256, /*fromFile=*/false};
  try {
    Fetch(head, &wanted.document);
  } catch (const QuorFleet::ReleaseRefused& refusal) {
    const std::string kind = QuorFleet::RefusalWord(refusal.refusal());
    ++metrics_.refusals[kind];
    refused_ = head;
    retryRefused_ = Clock::now() + kRetryRefused;
    return Set({State::kRefused, kind,
                host_ + " refuses " + refusal.what() + "; the host stays as it is"});
  }
  refused_.reset();
  try {
    keeper_.Accept(wanted);
  } catch (const std::system_error& failure) {
    nextAsk_ = Clock::now() + keepBackOff_.Next(&chance_);
    return Set({State::kFailed, "state",
                host_ + " cannot keep " + Numbered(*head.release) + ": " + failure.what() +
                    "; the host stays as it is; make room, or the directory writable"});
  }
  keepBackOff_.Reset();
  Set({});
}

Catalogue ChannelWatch::Fetch(const ReleaseHead& head, std::string* document) {
  const std::int64_t release = *head.release;
  Catalogue next =
      QuorFleet::OpenRelease(release, head.sha256, centre_.Fetch(release), keys_, document);
  // A release that the host has already is accepted without the comparison, since its kept document
  // was lost.
  const std::optional<ReleaseName> floor = keeper_.Floor();
  const bool wasTaken = floor && floor->id == release && floor->sha256 == head.sha256;
  if (!wasTaken)
    QuorFleet::ExpectNoLoss(release, keeper_.Basis(), next, head.mayEmpty, head.mayShrink);
  return next;
}

void ChannelWatch::Report() {
  const Condition& worst = Worse(keeper_.condition(), condition_);
  const auto& applied = keeper_.LastApplied();
  if (!applied && worst.reason.empty()) return;  // waits for its first release
  HostReport report;
  if (applied) {
    report.release = applied->release.id;
    report.sha256 = applied->release.sha256;
    report.policiesDigest = applied->digests.first;
    report.datastoresDigest = applied->digests.second;
  }
  report.state = ReportedState(worst.state);
  report.reason = worst.reason;
  report.agentVersion = QUOR_AGENT_VERSION;
  const auto now = Clock::now();
  if (reported_ && AllOf(report) == AllOf(*reported_) && now < nextReport_) return;
  try {
    centre_.Report(report);
  } catch (const QuorFleet::FleetError& failure) {  // a standby answers, and takes no report
    if (reportProblem_ != failure.what())
      Log(Severity::kWarning, std::string(failure.what()) + "; not reported");
    reportProblem_ = failure.what();
    return centre_.Close();
  }
  reportProblem_.clear();
  reported_ = report;
  nextReport_ = now + SecondsOf(settings_.reportPeriod);
}

void ChannelWatch::Set(const Condition& condition) {
  if (condition == condition_) return;
  if (!condition.reason.empty()) Log(Severity::kWarning, condition.reason);
  condition_ = condition;
}

}  // namespace QuorAgent
