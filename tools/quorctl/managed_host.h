// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Detects that quor-agent keeps the host's catalogue equal to a release, and so will undo a change.
#ifndef TOOLS_QUORCTL_MANAGED_HOST_H_
#define TOOLS_QUORCTL_MANAGED_HOST_H_

#include <string>

namespace Quorctl {

// The agent's state directory, when there is one with a release in it or one that this process may
// not look into; otherwise empty. QUOR_AGENT_STATE names it; without that variable it is the usual
// one, which belongs to the usual host directory only.
std::string StateOfAgent();

// The warning to print before a change, without a line feed; empty if no agent manages the host.
std::string WarningOfAgent();

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_MANAGED_HOST_H_
