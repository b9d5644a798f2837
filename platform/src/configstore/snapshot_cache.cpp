// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "configstore/snapshot_cache.h"

#include <atomic>
#include <utility>

#include "configstore/change_notice.h"
#include "configstore/failure.h"
#include "features/feature_page.h"
#include "io/coarse_clock.h"
#include "io/host_paths.h"
#include "io/newest.h"

namespace TavConfigStore {
namespace {

using Pointer = std::shared_ptr<const Snapshot>;

struct Known {
  explicit Known(Pointer newestSnapshot) : snapshot(std::move(newestSnapshot)) {}

  Pointer snapshot;
  mutable std::atomic<std::int64_t> tick{0};  // the last one in which it may be relied on
};

constinit HostPlatform::Io::Newest<Known> newest;

Pointer Share(std::shared_ptr<const Known> known) {
  const Snapshot* const snapshot = known->snapshot.get();
  return {std::move(known), snapshot};
}

void Follow(void (*features)()) try { features(); } catch (const HostPlatform::Io::Error& error) {
  Raise(error);
}

Pointer LookFor(std::shared_ptr<const Known> known) {
  const char* const path = HostPlatform::Io::ConfigStorePath();
  const Look look;
  struct stat status;
  if (known && lstat(path, &status) == 0 && known->snapshot->IsOf(status)) {
    Follow(&HostPlatform::FollowFeatures);
    if (look.Lasts(HostPlatform::Io::Nanoseconds(status.st_ctim))) {
      known->tick.store(look.tick(), std::memory_order_relaxed);
    }
    return Share(std::move(known));
  }
  const Pointer opened = Snapshot::Open(path);
  known = opened ? std::make_shared<const Known>(opened) : nullptr;
  newest.Set(known);
  Follow(&HostPlatform::FollowFeaturesNow);  // where one file was replaced the other may be too
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
