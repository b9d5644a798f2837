// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Checks the host directory and its files: modes, owners, switches, locks and free space.
#ifndef TOOLS_QUORCTL_CHECK_HOST_FILES_H_
#define TOOLS_QUORCTL_CHECK_HOST_FILES_H_

#include "check/finding.h"

namespace Quorctl {

void CheckModesAndOwners(Findings* findings);

// Checks that every user who needs the switches can read them.
void CheckSwitches(Findings* findings);

// A lock that is held for as long as this looks at it, about a second.
void CheckLocks(Findings* findings);

// Room on the disk for the next change.
void CheckFreeSpace(Findings* findings);

// Whether each kept catalogue can be put back.
void CheckHistory(Findings* findings);

// Changes that did not come to their end.
void CheckInterrupted(Findings* findings);

// All of these, and the files of both stores.
void CheckFiles(Findings* findings);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_CHECK_HOST_FILES_H_
