// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Keeps the host equal to the wanted release, with the centre or without.
#ifndef TOOLS_QUOR_AGENT_HOST_KEEPER_H_
#define TOOLS_QUOR_AGENT_HOST_KEEPER_H_

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "catalogue/catalogue.h"
#include "condition.h"
#include "host_catalogue.h"
#include "kept_release.h"
#include "metrics.h"
#include "settings.h"
#include "state_directory.h"
#include "timing.h"

namespace QuorAgent {

// A release is durable in the state directory before the host is touched, so a change that was
// interrupted is ended by the next Check(). Problems are logged once and kept as the condition;
// what can be tried again is, sooner at first. What others changed is repaired when two looks a
// second apart see the same.
class HostKeeper {
 public:
  HostKeeper(const Settings& settings, Chance* chance, Metrics* metrics)
      : settings_(settings), chance_(*chance), metrics_(*metrics) {}

  // Locks and reads the state directory. Raises DirectoryTaken and std::system_error. A damaged
  // file is logged and treated as missing.
  void Open(StateDirectory::Use use);
  bool IsOpen() const { return state_ != nullptr; }

  // Compares the host's digests with the kept ones; finishes an interrupted change and repairs
  // drift.
  void Check();
  Clock::time_point NextCheck() const { return nextCheck_; }

  // Writes the release durably to the state directory, then makes the host equal. Raises
  // std::system_error, with the host untouched, if the release cannot be written.
  void Accept(const Wanted& wanted);

  const std::optional<ReleaseName>& WantedRelease() const { return wanted_; }
  const std::optional<Applied>& LastApplied() const { return applied_; }

  // The highest release that was taken; its document may be lost.
  std::optional<ReleaseName> Floor() const;

  // The catalogue to compare a new release with: the wanted one, otherwise the host's.
  Quorctl::Catalogue Basis() const;

  const Condition& condition() const { return condition_; }

 private:
  void MakeEqual(const std::string& why);
  HostChange ChangeTo(ReleaseName release);  // a copy: the member may be forgotten
  void FoundDrift(const Quorctl::Digests& found);
  void Keep(const Applied& applied);
  void Fail(const std::string& kind, const std::string& reason);
  void Set(const Condition& condition);

  const Settings& settings_;
  Chance& chance_;
  Metrics& metrics_;
  std::unique_ptr<StateDirectory> state_;
  std::optional<ReleaseName> wanted_;  // its document stays on the disk
  std::optional<Applied> applied_;
  bool appliedIsKept_ = true;  // on the disk too
  std::optional<Quorctl::Digests> drift_;
  Clock::time_point settledBy_;  // when drift_ is repaired even if it goes on changing
  Condition condition_{State::kWaiting, "", ""};
  BackOff backOff_;
  Clock::time_point nextCheck_;
  Clock::time_point nextRepair_;
};

}  // namespace QuorAgent

#endif  // TOOLS_QUOR_AGENT_HOST_KEEPER_H_
