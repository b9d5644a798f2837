// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A command's output and exit status.
#ifndef TOOLS_QUOR_PUBLISH_ANSWER_H_
#define TOOLS_QUOR_PUBLISH_ANSWER_H_

#include <string>

#include "exit_status.h"

namespace QuorPublish {

using Quorctl::CommandError;
using Quorctl::ExitStatus;
using Quorctl::UsageError;

struct Answer {
  std::string text;  // for standard output; written also when the command fails
  ExitStatus status = ExitStatus::kDone;
};

}  // namespace QuorPublish

#endif  // TOOLS_QUOR_PUBLISH_ANSWER_H_
