// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "store/snapshot_cache.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <atomic>
#include <string>
#include <utility>

#include "errors/store_failure.h"
#include "os/call_scope.h"
#include "os/coarse_clock.h"
#include "os/host_paths.h"
#include "os/newest.h"
#include "services/feature_page.h"
#include "store/change_notice.h"
#include "tavconfigstore/exception.h"

namespace TavConfigStore {
namespace {

using Pointer = std::shared_ptr<const Snapshot>;

struct Known {
  explicit Known(Pointer newestSnapshot) : snapshot(std::move(newestSnapshot)) {}

  Pointer snapshot;
  mutable std::atomic<std::int64_t> tick{0};  // until which it may be used unchecked
};

constinit HostPlatform::Io::Newest<Known> newest;

Pointer Share(std::shared_ptr<const Known> known) {
  const Snapshot* const snapshot = known->snapshot.get();
  return {std::move(known), snapshot};
}

void Follow(void (*features)()) try { features(); } catch (const HostPlatform::Io::Error& error) {
  Raise(error);
}

// A bind mount of the single file keeps showing the file that was there when it was mounted. A file
// replaced by a commit also loses its name for a moment, but is no mount point.
void RefuseNamelessMount(const char* path) {
  struct statx status;
  if (statx(AT_FDCWD, path, AT_SYMLINK_NOFOLLOW, STATX_NLINK, &status) != 0) return;
  if (status.stx_nlink != 0 || (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) == 0) return;
  throw ConfigStoreException(std::string(path) +
                                 ": it was replaced or removed where this process does not see it; "
                                 "mount the host directory here and not this file alone",
                             kIoError);
}

// After damage the file may be missing: moving it away is the way to start with an empty store.
Pointer OpenSnapshot(const char* path) try {
  return Snapshot::Open(path);
} catch (const ConfigStoreException& failure) {
  if (failure.code() == kCorrupt) newest.Set(nullptr);
  throw;
}

Pointer LookFor(std::shared_ptr<const Known> known) {
  const HostPlatform::Io::CallScope scope;
  const char* const path = HostPlatform::Io::ConfigStorePath();
  const Look look;
  struct stat status;
  const bool isThere = lstat(path, &status) == 0;
  if (isThere && status.st_nlink == 0) RefuseNamelessMount(path);
  if (known && isThere && known->snapshot->IsOf(status)) {
    Follow(&HostPlatform::FollowFeatures);
    if (look.Lasts(HostPlatform::Io::Nanoseconds(status.st_ctim))) {
      known->tick.store(look.tick(), std::memory_order_relaxed);
    }
    return Share(std::move(known));
  }
  const Pointer opened = OpenSnapshot(path);
  if (!opened && known) {
    throw ConfigStoreException(path + std::string(HostPlatform::Io::kGone), kIoError);
  }
  known = opened ? std::make_shared<const Known>(opened) : nullptr;
  newest.Set(known);
  Follow(&HostPlatform::FollowFeaturesNow);  // the switches may have been replaced too
  return known ? Share(std::move(known)) : nullptr;
}

}  // namespace

Pointer NewestSnapshot() {
  std::shared_ptr<const Known> known = newest.Get();
  const std::int64_t tick = HostPlatform::Io::PresentTick();
  if (!known || known->tick.load(std::memory_order_relaxed) != tick) {
    return LookFor(std::move(known));
  }
  Follow(&HostPlatform::FollowFeatures);
  return Share(std::move(known));
}

Pointer LookForNewestSnapshot() {
  return LookFor(newest.Get());
}

void ForgetNewestSnapshot() {
  newest.Set(nullptr);
}

}  // namespace TavConfigStore
