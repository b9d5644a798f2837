// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "host_catalogue.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include "catalogue/difference.h"
#include "catalogue/duplicates.h"
#include "catalogue/record_fields.h"

namespace QuorAgent {

using Quorctl::Catalogue;
using TavQuor::QuorDatastoreInfo;
using TavQuor::QuorLib;
using TavQuor::QuorPolicyInfo;

namespace {

using Policies = std::vector<QuorPolicyInfo>;

constexpr int kReadings = 10;  // more changes in that time mean that they do not end
constexpr int kAttempts = 3;
constexpr auto kGrace = std::chrono::milliseconds(100);

[[noreturn]] void RaiseBusy() {
  throw std::runtime_error(
      "other processes keep changing the catalogue; find them (quorctl history), they and the "
      "agent undo each other's work");
}

Catalogue WithNarrowGenerations(Catalogue catalogue) {
  for (QuorPolicyInfo& policy : catalogue.policies)
    policy.generationNumber = static_cast<std::int32_t>(policy.generationNumber);
  return catalogue;
}

bool AreOrdered(const Catalogue& a, const Catalogue& b) {
  if (a.policies.size() != b.policies.size()) return false;
  for (std::size_t i = 0; i < a.policies.size(); ++i) {
    if (a.policies[i].policyId != b.policies[i].policyId) return false;
    if (a.policies[i].name != b.policies[i].name) return false;
  }
  return true;
}

// The order counts only where a key repeats. A store lists the records in the order in which the
// agent wrote them.
bool AreEqual(const Catalogue& host, const Catalogue& wanted) {
  if (!Quorctl::AreSameRecords(host, wanted)) return false;
  return Quorctl::FindDuplicates(wanted).empty() || AreOrdered(host, wanted);
}

bool HasPolicies(const Catalogue& host, const Policies& policies) {
  return IsEqual({host.policies, {}, ""}, {policies, {}, ""});
}

bool HasDatastores(const Catalogue& host, const std::vector<QuorDatastoreInfo>& datastores) {
  return Quorctl::AreSameRecords({{}, host.datastores, ""}, {{}, datastores, ""});
}

std::string FreeName(const QuorPolicyInfo& policy, const std::set<std::string>& taken) {
  std::string name = policy.name + " (" + policy.policyId + ')';
  while (taken.count(name) > 0)
    name += '+';
  return name;
}

// Returns false if another process changed the policies meanwhile, or the switch now selects the
// other store.
bool ReplaceBoth(const Catalogue& host, const Catalogue& wanted, int* replacements) {
  const Policies expanded = Expanded(host, wanted);
  QuorLib::AddPolicyInfo(expanded);
  ++*replacements;
  if (!HasPolicies({QuorLib::ListPolicyInfo(), {}, ""}, expanded)) return false;
  QuorLib::AddDatastoreInfo(wanted.datastores);
  ++*replacements;
  if (HasPolicies({expanded, {}, ""}, wanted.policies)) return true;
  // A lookup takes two reads: a reader that has read a datastore's old default policy gets time to
  // read that policy.
  std::this_thread::sleep_for(kGrace);
  if (!HasDatastores({{}, QuorLib::ListDatastoreInfo(), ""}, wanted.datastores)) return false;
  QuorLib::AddPolicyInfo(wanted.policies);
  ++*replacements;
  return true;
}

}  // namespace

Catalogue ReadHost() {
  for (int reading = 0; reading < kReadings; ++reading) {
    Catalogue host{QuorLib::ListPolicyInfo(), QuorLib::ListDatastoreInfo(), ""};
    if (QuorLib::GetDbHash() == Quorctl::DigestsOf(host)) return host;
  }
  RaiseBusy();
}

bool IsEqual(const Catalogue& host, const Catalogue& wanted) {
  return AreEqual(host, wanted) || AreEqual(host, WithNarrowGenerations(wanted));
}

Policies Expanded(const Catalogue& old, const Catalogue& wanted) {
  std::map<std::string_view, std::set<std::string_view>> needed;  // namespaces by identifier
  for (const QuorDatastoreInfo& datastore : old.datastores)
    needed[datastore.defaultPolicyId].insert(datastore.datastoreNamespace);
  std::map<std::string_view, std::size_t> wantedById;
  std::set<std::string> names;
  for (std::size_t i = 0; i < wanted.policies.size(); ++i) {
    wantedById.emplace(wanted.policies[i].policyId, i);
    names.insert(wanted.policies[i].name);
  }
  Policies expanded = wanted.policies;
  for (const QuorPolicyInfo& policy : old.policies) {
    const auto namespaces = needed.find(policy.policyId);
    if (namespaces == needed.end()) continue;
    const auto successor = wantedById.find(policy.policyId);
    if (successor == wantedById.end()) {
      expanded.push_back(policy);
      if (names.count(policy.name) > 0) expanded.back().name = FreeName(policy, names);
      names.insert(expanded.back().name);
    } else {
      QuorPolicyInfo& next = expanded[successor->second];
      for (const auto& blob : policy.blobs) {
        const bool isNeeded = namespaces->second.count(blob.second) > 0;
        if (isNeeded && !Quorctl::FindBlob(next, blob.second)) next.blobs.push_back(blob);
      }
    }
    needed.erase(namespaces);  // of several with one identifier the first is found
  }
  return expanded;
}

HostChange MakeHostEqual(const Catalogue& wanted) {
  HostChange change;
  for (int attempt = 0;; ++attempt) {
    const Catalogue host = ReadHost();
    const bool policies = !HasPolicies(host, wanted.policies);
    const bool datastores = !HasDatastores(host, wanted.datastores);
    if (!policies && !datastores) {
      change.digests = Quorctl::DigestsOf(host);
      return change;
    }
    if (attempt == kAttempts) RaiseBusy();
    if (policies && datastores) {
      ReplaceBoth(host, wanted, &change.replacements);
    } else if (policies) {
      QuorLib::AddPolicyInfo(wanted.policies);
      ++change.replacements;
    } else {
      QuorLib::AddDatastoreInfo(wanted.datastores);
      ++change.replacements;
    }
  }
}

}  // namespace QuorAgent
