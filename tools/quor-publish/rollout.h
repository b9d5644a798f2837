// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Brings a release to all hosts in stages: a channel of canaries, a share of the hosts of the
// channel, all of them. Proceeds once the hosts of a stage have the release, and stops by itself if
// they refuse it or fall silent. The stage reached is stored at the centre, so the same command
// resumes there.
#ifndef TOOLS_QUOR_PUBLISH_ROLLOUT_H_
#define TOOLS_QUOR_PUBLISH_ROLLOUT_H_

#include <chrono>
#include <string>
#include <vector>

#include "answer.h"
#include "centre.h"
#include "release_store.h"

namespace QuorPublish {

struct RolloutOptions {
  ReleaseId release = 0;
  std::string canary = "canary";  // empty: none
  std::string channel = "prod";
  std::vector<int> shares = {10};  // per cent of the channel's hosts, rising
  int mostRefusing = 0;            // hosts of a stage
  int mostSilent = 10;             // per cent of the hosts of a stage
  std::chrono::seconds patience = std::chrono::seconds(600);  // for each stage
  std::chrono::milliseconds period = std::chrono::seconds(2);
};

// Tells of each step on standard output as it goes. Exit status kNo when it stopped.
void RollOut(const CentreOptions& centre, const RolloutOptions& options, Answer* answer);

}  // namespace QuorPublish

#endif  // TOOLS_QUOR_PUBLISH_ROLLOUT_H_
