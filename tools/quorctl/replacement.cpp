// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "replacement.h"

#include <chrono>
#include <string_view>
#include <thread>
#include <unordered_set>
#include <vector>

#include "catalogue/digests.h"
#include "catalogue/losses.h"
#include "host_backend.h"

namespace Quorctl {

using TavQuor::QuorLib;
using TavQuor::QuorPolicyInfo;

namespace {

using Policies = std::vector<QuorPolicyInfo>;

constexpr auto kGrace = std::chrono::milliseconds(100);

std::string PoliciesStep(std::size_t count) {
  return "replacing " + Counted(count, "policy", "policies");
}
std::string DatastoresStep(std::size_t count) {
  return "replacing " + Counted(count, "datastore", "datastores");
}

// Old policies that old datastores still name and that have no successor. In a list they stand
// after the new policies, so that the new one is found first if a name is there twice.
Policies StillNamed(const Catalogue& present, const Catalogue& next, bool inStore) {
  std::unordered_set<std::string_view> named;
  std::unordered_set<std::string_view> names;
  for (const auto& datastore : present.datastores)
    named.insert(datastore.defaultPolicyId);
  for (const QuorPolicyInfo& policy : next.policies) {
    named.erase(policy.policyId);
    names.insert(policy.name);
  }
  Policies kept;
  for (const QuorPolicyInfo& policy : present.policies) {
    if (inStore && names.count(policy.name) > 0) continue;
    if (named.erase(policy.policyId) > 0) kept.push_back(policy);
  }
  return kept;
}

// Others are another writer's.
bool AreStored(const Policies& written) {
  return DigestsOf({QuorLib::ListPolicyInfo(), {}, ""}).first == DigestsOf({written, {}, ""}).first;
}

[[noreturn]] void PutPoliciesBack(const Policies& old, const Policies& written,
                                  const Failure& failure, const ChangeRecord& record) {
  bool ofAnother = false;
  try {
    ofAnother = !AreStored(written);
    if (!ofAnother) QuorLib::AddPolicyInfo(old);
  } catch (...) {
    const Failure second = DescribeCurrentException();
    throw CommandError(
        failure.status,
        "the policies were replaced but the datastores were not: " + failure.message +
            "; the old policies could not be put back either: " + second.message + record.Advice());
  }
  if (ofAnother) {
    throw CommandError(
        failure.status,
        "the policies were replaced but the datastores were not: " + failure.message +
            "; another process has changed the policies since, so the old ones were "
            "not put back" +
            record.Advice());
  }
  throw CommandError(failure.status,
                     "the datastores could not be replaced: " + failure.message +
                         "; the policies, which had been, were put back: the catalogue is as it "
                         "was before");
}

}  // namespace

void Replacement::Run(LockWait* wait, ProgressLine* progress, const ChangeRecord& record) const {
  const bool inStore = BackendSwitch().on;
  if (policies_ && datastores_ && inStore && next_.policies.empty() && next_.datastores.empty()) {
    wait->Do("deleting all policies and datastores", [] { QuorLib::Reset(); });
  } else if (policies_ && datastores_ && inStore && present_.lostDatastores > 0) {
    // The store verifies the records that a change keeps: with a damaged datastore the policies
    // could not be replaced alone.
    DeleteAndWrite(wait, progress);
  } else if (policies_ && datastores_) {
    ReplaceBoth(wait, progress, record);
  } else if (policies_) {
    wait->Do(PoliciesStep(next_.policies.size()),
             [this] { QuorLib::AddPolicyInfo(next_.policies); });
  } else if (datastores_) {
    wait->Do(DatastoresStep(next_.datastores.size()),
             [this] { QuorLib::AddDatastoreInfo(next_.datastores); });
  }
}

void Replacement::ReplaceBoth(LockWait* wait, ProgressLine* progress,
                              const ChangeRecord& record) const {
  const Policies kept = StillNamed(present_.catalogue, next_, BackendSwitch().on);
  Policies both;
  if (!kept.empty()) {
    both = next_.policies;
    both.insert(both.end(), kept.begin(), kept.end());
  }
  const Policies& first = kept.empty() ? next_.policies : both;
  wait->Do(PoliciesStep(next_.policies.size()), [&] { QuorLib::AddPolicyInfo(first); });
  try {
    progress->Begin(DatastoresStep(next_.datastores.size()));
    QuorLib::AddDatastoreInfo(next_.datastores);
  } catch (...) {
    const Failure failure = DescribeCurrentException();
    PutPoliciesBack(present_.catalogue.policies, first, failure, record);
  }
  if (kept.empty()) return;
  // A lookup takes two reads: a reader that has read a datastore's old default policy gets time to
  // read that policy.
  std::this_thread::sleep_for(kGrace);
  try {
    progress->Begin("deleting " + Counted(kept.size(), "policy", "policies"));
    QuorLib::AddPolicyInfo(next_.policies);
  } catch (...) {
    const Failure failure = DescribeCurrentException();
    throw CommandError(failure.status,
                       "the new policies and datastores are in place, but policies that are to be "
                       "deleted are still there: " +
                           failure.message + "; \"quorctl apply --resume\" deletes them");
  }
}

void Replacement::DeleteAndWrite(LockWait* wait, ProgressLine* progress) const {
  wait->Do("deleting what cannot be read", [] { QuorLib::Reset(); });
  try {
    progress->Begin(PoliciesStep(next_.policies.size()));
    QuorLib::AddPolicyInfo(next_.policies);
    progress->Begin(DatastoresStep(next_.datastores.size()));
    QuorLib::AddDatastoreInfo(next_.datastores);
  } catch (...) {
    const Failure failure = DescribeCurrentException();
    throw CommandError(failure.status,
                       "what was stored is deleted, because of the records that cannot be read, "
                       "but not all could be written anew: " +
                           failure.message + "; do the same again");
  }
}

}  // namespace Quorctl
