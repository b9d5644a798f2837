#include "configstore/snapshot_cache.h"

#include "io/host_paths.h"
#include "io/newest.h"

namespace TavConfigStore {
namespace {

constinit HostPlatform::Io::Newest<Snapshot> newest;

}  // namespace

std::shared_ptr<const Snapshot> NewestSnapshot() {
  const char* const path = HostPlatform::Io::ConfigStorePath();
  std::shared_ptr<const Snapshot> known = newest.Get();
  struct stat status;
  if (known && lstat(path, &status) == 0 && known->IsOf(status)) return known;
  std::shared_ptr<const Snapshot> opened = Snapshot::Open(path);
  newest.Set(opened);
  return opened;
}

void ForgetNewestSnapshot() {
  newest.Set(nullptr);
}

}  // namespace TavConfigStore
