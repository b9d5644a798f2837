// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "stored_records.h"

#include <algorithm>
#include <string>

#include "exit_status.h"
#include "host_backend.h"
#include "platform/admin.h"
#include "standard_streams.h"
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

std::string LossInWords(std::size_t lost, std::size_t listed, const std::string& records,
                        bool inStore) {
  if (lost == 0) return std::string();
  const std::string path =
      inStore ? HostPlatform::GetConfigStoreState().path : HostPlatform::GetConfigFileState().path;
  return path + ": damaged: " + std::to_string(lost) + " of " + std::to_string(lost + listed) +
         ' ' + records +
         " cannot be read and are left out; \"quorctl check\" names them and what to do, and "
         "\"quorctl apply --no-history\" replaces them in the store that is in use";
}

void Expect(const std::string& problem) {
  if (!problem.empty()) throw CommandError(ExitStatus::kStore, problem);
}

void Warn(const std::string& problem) {
  if (!problem.empty()) WriteErrorLine("warning: " + problem);
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

std::string StoredRecords::ProblemOfPolicies(std::size_t listed) const {
  return LossInWords(LostPolicies(listed), listed, "policies", inStore_);
}

std::string StoredRecords::ProblemOfDatastores(std::size_t listed) const {
  return LossInWords(LostDatastores(listed), listed, "datastores", inStore_);
}

void StoredRecords::ExpectPolicies(std::size_t listed) const {
  Expect(ProblemOfPolicies(listed));
}

void StoredRecords::ExpectDatastores(std::size_t listed) const {
  Expect(ProblemOfDatastores(listed));
}

void StoredRecords::WarnOfPolicies(std::size_t listed) const {
  Warn(ProblemOfPolicies(listed));
}

void StoredRecords::WarnOfDatastores(std::size_t listed) const {
  Warn(ProblemOfDatastores(listed));
}

}  // namespace Quorctl
