// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The command line of quor-publish.
#ifndef TOOLS_QUOR_PUBLISH_COMMAND_LINE_H_
#define TOOLS_QUOR_PUBLISH_COMMAND_LINE_H_

#include <string>
#include <vector>

#include "answer.h"

namespace QuorPublish {

// Runs the command that `words` (the arguments after the program's name) name. Raises on failure;
// output produced before is in the answer.
void RunCommand(const std::vector<std::string>& words, Answer* answer);

}  // namespace QuorPublish

#endif  // TOOLS_QUOR_PUBLISH_COMMAND_LINE_H_
