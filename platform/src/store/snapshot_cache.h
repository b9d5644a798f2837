// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Cache of the newest snapshot of the process.
#ifndef PLATFORM_SRC_STORE_SNAPSHOT_CACHE_H_
#define PLATFORM_SRC_STORE_SNAPSHOT_CACHE_H_

#include <memory>

#include "store/snapshot.h"

namespace TavConfigStore {

// The newest snapshot of the host directory; null if nothing was ever written. While the file is
// the cached one, it is checked once in each tick of the coarse clock, and in every call for 100 ms
// after a commit (change_notice.h). A file put in place otherwise than by a commit is seen at the
// next tick. Raises kIoError if a file that was read before is missing, otherwise like
// Snapshot::Open() and FollowFeatures().
std::shared_ptr<const Snapshot> NewestSnapshot();

// Always checks the file; for writers.
std::shared_ptr<const Snapshot> LookForNewestSnapshot();

// Clears the cache.
void ForgetNewestSnapshot();

}  // namespace TavConfigStore

#endif  // PLATFORM_SRC_STORE_SNAPSHOT_CACHE_H_
