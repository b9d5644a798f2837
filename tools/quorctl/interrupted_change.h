// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Changes that did not come to their end.
#ifndef TOOLS_QUORCTL_INTERRUPTED_CHANGE_H_
#define TOOLS_QUORCTL_INTERRUPTED_CHANGE_H_

#include <string>
#include <vector>

#include "history.h"

namespace Quorctl {

// Pending entries of both stores that no running quorctl works on and whose catalogue is not in
// place, the newest first. Does not change which store this process uses.
std::vector<HistoryEntry> ListInterrupted();

// "apply of 2026-11-20T13:31:03Z to the configuration store was interrupted"
std::string DescribeInterrupted(const HistoryEntry& entry);

// What to do about it.
std::string AdviceOnInterrupted(const HistoryEntry& entry);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_INTERRUPTED_CHANGE_H_
