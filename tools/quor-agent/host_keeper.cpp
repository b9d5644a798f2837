// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "host_keeper.h"

#include <exception>
#include <utility>

#include "catalogue/document_reader.h"
#include "child_work.h"
#include "journal.h"
#include "quor/quor_lib.h"

namespace QuorAgent {

using Quorctl::Catalogue;
using Quorctl::Digests;

namespace {

// Longer than the time between the replacements of one change.
constexpr milliseconds kSettling(1000);
constexpr milliseconds kLongestSettling(5000);

// Logs a file that cannot be used, and returns nothing for it.
template <typename Read>
auto ReadKept(const Read& read) -> decltype(read()) {
  try {
    return read();
  } catch (const std::exception& failure) {
    Log(Severity::kWarning, failure.what());
    return std::nullopt;
  }
}

// Of "POLICIES:DATASTORES".
Digests SplitDigests(const std::string& joined) {
  const std::size_t colon = joined.find(':');
  return {joined.substr(0, colon), joined.substr(colon + 1)};
}

std::string ReleaseInWords(const ReleaseName& release) {
  return (release.fromFile ? "a document from a file, at release " : "release ") +
         std::to_string(release.id);
}

}  // namespace

void HostKeeper::Open(StateDirectory::Use use) {
  state_ = std::make_unique<StateDirectory>(settings_.stateDirectory, use);
  const auto wanted = ReadKept([this] { return state_->ReadWanted(); });
  if (wanted) wanted_ = wanted->release;
  applied_ = ReadKept([this] { return state_->ReadApplied(); });
  if (wanted_) metrics_.wanted = wanted_->id;
  if (applied_) metrics_.applied = applied_->release.id;
}

void HostKeeper::Check() {
  nextCheck_ = Clock::now() + SecondsOf(settings_.checkPeriod);
  if (!appliedIsKept_) Keep(Applied(*applied_));
  if (!wanted_) return;
  if (!applied_ || applied_->release != *wanted_) return MakeEqual("ending what was interrupted");
  try {
    const Digests found =
        SplitDigests(InChild([] { return Quorctl::Joined(TavQuor::QuorLib::GetDbHash()); }));
    if (found != applied_->digests) return FoundDrift(found);
  } catch (const std::exception& failure) {
    return Fail("host", std::string("the host's catalogue cannot be read: ") + failure.what());
  }
  if (drift_) Log(Severity::kInfo, "the host's catalogue is as wanted again");
  drift_.reset();
  if (appliedIsKept_) Set({});
}

void HostKeeper::FoundDrift(const Digests& found) {
  const bool isNew = drift_ != found;
  if (isNew) ++metrics_.drifts;
  if (!drift_) settledBy_ = Clock::now() + kLongestSettling;
  drift_ = found;
  const std::string change = "the host's catalogue was changed by others (digests " +
                             Quorctl::Joined(found) + " in place of " +
                             Quorctl::Joined(applied_->digests) + ')';
  if (settings_.drift != "repair") {
    return Set({State::kDrift, "drift",
                change + "; it is left so, as drift=report asks; publish the change, or undo it "
                         "(quorctl restore --last)"});
  }
  if (Clock::now() < nextRepair_) {
    return Set({State::kDrift, "drift",
                change + " again; it is repaired once in " +
                    std::to_string(static_cast<std::int64_t>(settings_.repairPeriod)) +
                    " s; find who changes it (quorctl history)"});
  }
  // It may be half of a change that goes on.
  if (isNew && !settings_.once && Clock::now() < settledBy_) {
    nextCheck_ = Clock::now() + kSettling;
    return;
  }
  nextRepair_ = Clock::now() + SecondsOf(settings_.repairPeriod);
  Log(Severity::kWarning, change);
  MakeEqual("repairing it");
}

void HostKeeper::Accept(const Wanted& wanted) {
  state_->WriteWanted(wanted);
  wanted_ = wanted.release;
  metrics_.wanted = wanted_->id;
  MakeEqual("taking it");
}

void HostKeeper::MakeEqual(const std::string& why) {
  const auto began = Clock::now();
  try {
    const HostChange change = ChangeTo(*wanted_);
    const std::chrono::duration<double> took = Clock::now() - began;
    if (change.replacements > 0) {
      ++metrics_.changes;
      metrics_.applySeconds = took.count();
    }
    Log(Severity::kInfo,
        "the host holds " + ReleaseInWords(*wanted_) +
            (change.replacements > 0
                 ? " (" + why + "; " + std::to_string(change.replacements) + " replacements, " +
                       std::to_string(static_cast<int>(took.count() * 1000)) + " ms)"
                 : "; nothing was to be written"));
    drift_.reset();
    Keep({*wanted_, change.digests});
  } catch (const std::exception& failure) {
    ++metrics_.changeFailures;
    Fail("host", "the host could not be made equal to " +
                     (wanted_ ? ReleaseInWords(*wanted_) : "its release") + ": " + failure.what());
  }
}

// Runs in a child, since the document, the records and the library's copies take megabytes.
HostChange HostKeeper::ChangeTo(ReleaseName release) {
  const std::string answer = InChild([&] {
    const auto wanted = ReadKept([this] { return state_->ReadWanted(); });
    if (!wanted || wanted->release != release) return std::string();
    const HostChange change =
        MakeHostEqual(Quorctl::ReadCatalogueDocument(wanted->document, state_->path() + "/wanted"));
    return std::to_string(change.replacements) + ' ' + Quorctl::Joined(change.digests);
  });
  if (answer.empty()) {
    wanted_.reset();  // the centre is asked for it anew
    throw BadKeptFile(state_->path() + "/wanted is not the file that the agent wrote");
  }
  const std::size_t space = answer.find(' ');
  return {SplitDigests(answer.substr(space + 1)), std::stoi(answer.substr(0, space))};
}

void HostKeeper::Keep(const Applied& applied) {
  applied_ = applied;
  metrics_.applied = applied.release.id;
  appliedIsKept_ = false;
  try {
    state_->WriteApplied(applied);
  } catch (const std::exception& failure) {
    return Fail("state", std::string(failure.what()) +
                             "; the host is as wanted; make room or the directory writable");
  }
  appliedIsKept_ = true;
  backOff_.Reset();
  Set({});
}

std::optional<ReleaseName> HostKeeper::Floor() const {
  if (!wanted_ || (applied_ && applied_->release.id > wanted_->id)) {
    return applied_ ? std::optional(applied_->release) : std::nullopt;
  }
  return wanted_;
}

Catalogue HostKeeper::Basis() const {
  const auto wanted = wanted_ ? ReadKept([this] { return state_->ReadWanted(); }) : std::nullopt;
  if (!wanted) return ReadHost();
  return Quorctl::ReadCatalogueDocument(wanted->document, state_->path() + "/wanted");
}

void HostKeeper::Fail(const std::string& kind, const std::string& reason) {
  nextCheck_ = Clock::now() + backOff_.Next(&chance_);
  Set({State::kFailed, kind, reason + "; trying again"});
}

void HostKeeper::Set(const Condition& condition) {
  if (condition == condition_) return;
  if (!condition.reason.empty()) {
    Log(condition.state == State::kFailed ? Severity::kError : Severity::kWarning,
        condition.reason);
  } else if (condition_.state == State::kFailed) {
    Log(Severity::kInfo, "the host is as wanted again");
  }
  condition_ = condition;
}

}  // namespace QuorAgent
