// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Checks every record of both host stores below the library, which skips records that it cannot
// read.
#ifndef TOOLS_QUORCTL_CHECK_STORED_CONTENT_H_
#define TOOLS_QUORCTL_CHECK_STORED_CONTENT_H_

#include <string>

#include "check/finding.h"

namespace Quorctl {

// Checks all kinds of objects, including those of other programs. Raises ConfigStoreException only
// for lack of permission.
void CheckConfigStore(Findings* findings);

// The catalogue's branches. Raises ConfigFileException for lack of permission only.
void CheckConfigFile(Findings* findings);

// How all records of that store are replaced, in words. With `unreadable` ones among them those
// cannot be kept in the history.
std::string AdviceToReplace(bool inStore, bool unreadable);

// The first problem of that store that rewriting all records would remove, although all can be read
// and none would differ. Empty if there is none.
std::string WhyToWriteAnew(bool inStore);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_CHECK_STORED_CONTENT_H_
