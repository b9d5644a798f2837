#include "configstore/snapshot_cache.h"

#include <new>
#include <utility>

#include "io/fork.h"
#include "io/host_paths.h"

namespace TavConfigStore {
namespace {

// Never destroyed, only emptied: threads that still run while the program ends may come by.
union Newest {
  constexpr Newest() : snapshot() {}
  ~Newest() {}
  std::shared_ptr<const Snapshot> snapshot;
};
constinit Newest newest;  // guarded by SnapshotMutex()

std::shared_ptr<const Snapshot> Remembered() {
  const std::lock_guard lock(HostPlatform::Io::SnapshotMutex());
  return newest.snapshot;
}

// The one before is released outside of the lock: unmapping takes time.
void Remember(std::shared_ptr<const Snapshot> snapshot) {
  const std::lock_guard lock(HostPlatform::Io::SnapshotMutex());
  newest.snapshot.swap(snapshot);
}

[[gnu::destructor]] void ForgetWhenUnloaded() {
  Remember(nullptr);
}

}  // namespace

std::shared_ptr<const Snapshot> NewestSnapshot() {
  const char* const path = HostPlatform::Io::ConfigStorePath();
  std::shared_ptr<const Snapshot> known = Remembered();
  struct stat status;
  if (known && lstat(path, &status) == 0 && known->IsOf(status)) return known;
  std::shared_ptr<const Snapshot> opened = Snapshot::Open(path);
  Remember(opened);
  return opened;
}

void ForgetNewestSnapshot() {
  Remember(nullptr);
}

}  // namespace TavConfigStore
