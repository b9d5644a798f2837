// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Follows the host's channel at the centre.
#ifndef TOOLS_QUOR_AGENT_CHANNEL_WATCH_H_
#define TOOLS_QUOR_AGENT_CHANNEL_WATCH_H_

#include <optional>
#include <string>

#include "catalogue/catalogue.h"
#include "centre.h"
#include "condition.h"
#include "host_keeper.h"
#include "metrics.h"
#include "settings.h"
#include "timing.h"

namespace QuorAgent {

// A release is taken when the channel has a higher one than the host: after a random splay, and
// then the one that the channel has by then. What is refused leaves the host as it is, is logged
// and reported, and is not fetched again before the channel has another one or ten minutes are
// over.
class ChannelWatch {
 public:
  // Raises FleetError for an invalid key, and std::system_error for an unreadable one.
  ChannelWatch(const Settings& settings, HostKeeper* keeper, Chance* chance, Metrics* metrics,
               int stop);

  // One cycle with the centre. Failures are logged once and counted, and shorten the wait for the
  // next cycle.
  void Ask();
  Clock::time_point NextAsk() const { return nextAsk_; }

  // The release that the next cycle would take, if any, by the same rules. Raises FleetError and
  // ReleaseRefused.
  std::optional<Quorctl::Catalogue> Preview();

  const Condition& condition() const { return condition_; }
  bool IsReachable() const { return contactProblem_.empty(); }

 private:
  void Consider(const QuorFleet::ReleaseHead& head);
  Condition WhyNot(const QuorFleet::ReleaseHead& head) const;
  bool IsNew(const QuorFleet::ReleaseHead& head) const;
  bool WasRefused(const QuorFleet::ReleaseHead& head) const;
  bool IsTimeToFetch();
  void Take(const QuorFleet::ReleaseHead& head);
  Quorctl::Catalogue Fetch(const QuorFleet::ReleaseHead& head, std::string* document);
  void Report();
  void Set(const Condition& condition);

  const Settings& settings_;
  HostKeeper& keeper_;
  Chance& chance_;
  Metrics& metrics_;
  Centre centre_;
  QuorFleet::VerifyingKeys keys_;
  std::string host_ = "this host";
  Condition condition_{State::kWaiting, "", ""};
  std::string contactProblem_;
  std::string reportProblem_;
  BackOff contactBackOff_;
  BackOff keepBackOff_;
  Clock::time_point nextAsk_;
  Clock::time_point nextReport_;
  std::optional<Clock::time_point> fetchAt_;
  std::optional<QuorFleet::ReleaseHead> refused_;
  Clock::time_point retryRefused_;
  std::optional<QuorFleet::HostReport> reported_;
};

}  // namespace QuorAgent

#endif  // TOOLS_QUOR_AGENT_CHANNEL_WATCH_H_
