// The process's way to the newest snapshot.
#ifndef PLATFORM_SRC_CONFIGSTORE_SNAPSHOT_CACHE_H_
#define PLATFORM_SRC_CONFIGSTORE_SNAPSHOT_CACHE_H_

#include <memory>

#include "configstore/snapshot.h"

namespace TavConfigStore {

// The newest snapshot of the host directory; null when nothing was ever written. Costs one lstat()
// while the file is the one that the process has mapped already. Raises like Snapshot::Open().
std::shared_ptr<const Snapshot> NewestSnapshot();

// Lets go of the mapping; it is made anew when somebody asks.
void ForgetNewestSnapshot();

}  // namespace TavConfigStore

#endif  // PLATFORM_SRC_CONFIGSTORE_SNAPSHOT_CACHE_H_
