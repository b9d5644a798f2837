// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The process's way to the newest snapshot.
#ifndef PLATFORM_SRC_CONFIGSTORE_SNAPSHOT_CACHE_H_
#define PLATFORM_SRC_CONFIGSTORE_SNAPSHOT_CACHE_H_

#include <memory>

#include "configstore/snapshot.h"

namespace TavConfigStore {

// The newest snapshot of the host directory; null when nothing was ever written. Costs a look at
// the file in each tick of the coarse clock while the file is the one that the process has mapped,
// and at each call for 100 ms after a commit; see change_notice.h. A file that somebody else than a
// commit put in place is seen at the next tick. One that was there and is gone is raised
// (kIoError). Raises like Snapshot::Open(), and where the switches that choose the store cannot be
// followed; see feature_page.h.
std::shared_ptr<const Snapshot> NewestSnapshot();

// Looks at the file in any case: for who will replace it.
std::shared_ptr<const Snapshot> LookForNewestSnapshot();

// Lets go of the mapping; it is made anew when somebody asks.
void ForgetNewestSnapshot();

}  // namespace TavConfigStore

#endif  // PLATFORM_SRC_CONFIGSTORE_SNAPSHOT_CACHE_H_
