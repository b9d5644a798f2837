// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Which hosts there are, and which channel each looks at.
#ifndef TOOLS_QUOR_PUBLISH_HOST_COMMANDS_H_
#define TOOLS_QUOR_PUBLISH_HOST_COMMANDS_H_

#include <string>

#include "answer.h"
#include "centre.h"

namespace QuorPublish {

// The role, of the host's name unless another is named, is made where it is not there.
void AddHost(const CentreOptions& options, const std::string& name, const std::string& channel,
             const std::string& role, Answer* answer);
void MoveHost(const CentreOptions& options, const std::string& name, const std::string& channelName,
              Answer* answer);
void RemoveHost(const CentreOptions& options, const std::string& name, Answer* answer);

}  // namespace QuorPublish

#endif  // TOOLS_QUOR_PUBLISH_HOST_COMMANDS_H_
