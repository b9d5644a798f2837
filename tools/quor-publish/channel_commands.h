// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Channels, which name the release for their hosts and only move forward.
#ifndef TOOLS_QUOR_PUBLISH_CHANNEL_COMMANDS_H_
#define TOOLS_QUOR_PUBLISH_CHANNEL_COMMANDS_H_

#include <string>

#include "answer.h"
#include "centre.h"
#include "release_store.h"

namespace QuorPublish {

void Promote(const CentreOptions& options, ReleaseId id, const std::string& name, Answer* answer);
void Pause(const CentreOptions& options, const std::string& name, bool paused, Answer* answer);
void AddChannel(const CentreOptions& options, const std::string& name, Answer* answer);

// Raises CommandError if the release would take hosts of the channel back, or if they would refuse
// it for its deletions.
void ExpectForward(Centre& centre, const ReleaseRow& release, const ChannelRow& channel);

// Offers the release to all hosts of the channel; ends a staged roll-out.
void MoveChannel(Centre& centre, ReleaseId release, const std::string& channel);

}  // namespace QuorPublish

#endif  // TOOLS_QUOR_PUBLISH_CHANNEL_COMMANDS_H_
