#include "stored_records.h"

#include <algorithm>
#include <string>

#include "exit_status.h"
#include "host_backend.h"

namespace Quorctl {

using HostPlatform::ConfigStoreState;

namespace {

std::uint64_t StoredObjects(const ConfigStoreState& state, const std::string& key) {
  for (const HostPlatform::StoredKind& kind : state.kinds) {
    if (kind.component == "tav" && kind.group == "storage" && kind.key == key) return kind.objects;
  }
  return 0;
}

// Another process may have replaced the records since: the smaller number is the safe one.
void Expect(const ConfigStoreState& before, const std::string& key, const std::string& records,
            std::size_t listed) {
  if (!BackendSwitch().on) return;
  const ConfigStoreState now = HostPlatform::GetConfigStoreState();
  const std::uint64_t stored = std::min(StoredObjects(before, key), StoredObjects(now, key));
  if (stored <= listed) return;
  throw CommandError(
      ExitStatus::kStore,
      now.path + ": damaged: " + std::to_string(stored - listed) + " of " + std::to_string(stored) +
          ' ' + records +
          " cannot be read and are left out; restore the file from a backup, or use reset "
          "and apply the whole catalogue again");
}

}  // namespace

StoredRecords::StoredRecords() : before_(HostPlatform::GetConfigStoreState()) {}

void StoredRecords::ExpectPolicies(std::size_t listed) const {
  Expect(before_, "quor_policies", "policies", listed);
}

void StoredRecords::ExpectDatastores(std::size_t listed) const {
  Expect(before_, "quor_datastores", "datastores", listed);
}

}  // namespace Quorctl
