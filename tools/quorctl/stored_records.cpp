#include "stored_records.h"

#include <algorithm>
#include <string>

#include "exit_status.h"
#include "host_backend.h"
#include "platform/admin.h"
#include "stored_layout.h"
#include "zynctl/config_file.h"

namespace Quorctl {

using HostPlatform::ConfigStoreState;

namespace {

std::size_t CountObjects(const ConfigStoreState& state, const std::string& key) {
  for (const HostPlatform::StoredKind& kind : state.kinds) {
    if (kind.component == StoredLayout::kComponent && kind.group == StoredLayout::kGroup &&
        kind.key == key) {
      return static_cast<std::size_t>(kind.objects);
    }
  }
  return 0;
}

std::size_t CountInstances(const char* branch, const char* array) {
  const ZynCtl::Config::SynchronizedConfigFile locked;
  return locked.file->GetBranch(branch)->GetArray(array)->GetInstances().size();
}

void Expect(std::size_t lost, std::size_t listed, const std::string& records, bool inStore) {
  if (lost == 0) return;
  const std::string path =
      inStore ? HostPlatform::GetConfigStoreState().path : HostPlatform::GetConfigFileState().path;
  throw CommandError(
      ExitStatus::kStore,
      path + ": damaged: " + std::to_string(lost) + " of " + std::to_string(lost + listed) + ' ' +
          records +
          " cannot be read and are left out; \"quorctl check\" names them. Restore the file from "
          "a backup, or use reset --no-history and apply the whole catalogue again");
}

}  // namespace

StoredRecords::StoredRecords() : inStore_(BackendSwitch().on), before_(CountStored()) {}

StoredRecords::Counts StoredRecords::CountStored() {
  Counts counts;
  if (BackendSwitch().on) {
    const ConfigStoreState state = HostPlatform::GetConfigStoreState();
    counts.policies = CountObjects(state, StoredLayout::kPolicies);
    counts.datastores = CountObjects(state, StoredLayout::kDatastores);
    return counts;
  }
  try {
    counts.policies = CountInstances(StoredLayout::kPolicyBranch, StoredLayout::kPolicyArray);
    counts.datastores =
        CountInstances(StoredLayout::kDatastoreBranch, StoredLayout::kDatastoreArray);
  } catch (const ZynCtl::Config::ConfigFileException&) {
    // The listing meets the same and tells.
  }
  return counts;
}

// Another process may have replaced the records since: the smaller number is the safe one.
std::size_t StoredRecords::LostPolicies(std::size_t listed) const {
  if (before_.policies <= listed || BackendSwitch().on != inStore_) return 0;
  const std::size_t stored = std::min(before_.policies, CountStored().policies);
  return stored <= listed ? 0 : stored - listed;
}

std::size_t StoredRecords::LostDatastores(std::size_t listed) const {
  if (before_.datastores <= listed || BackendSwitch().on != inStore_) return 0;
  const std::size_t stored = std::min(before_.datastores, CountStored().datastores);
  return stored <= listed ? 0 : stored - listed;
}

void StoredRecords::ExpectPolicies(std::size_t listed) const {
  Expect(LostPolicies(listed), listed, "policies", inStore_);
}

void StoredRecords::ExpectDatastores(std::size_t listed) const {
  Expect(LostDatastores(listed), listed, "datastores", inStore_);
}

}  // namespace Quorctl
