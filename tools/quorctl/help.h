// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The help, made from the command table, the declared options and the exit statuses.
#ifndef TOOLS_QUORCTL_HELP_H_
#define TOOLS_QUORCTL_HELP_H_

#include <string>

namespace Quorctl {

// What "quorctl help" prints.
std::string GeneralHelp();

// Returns the text of "quorctl help VERB". Raises CommandError (usage) for an unknown verb.
std::string CommandHelp(const std::string& verb);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_HELP_H_
