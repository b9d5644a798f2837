// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "support/catalogue.h"

#include <ostream>
#include <tuple>

namespace TavQuor {

using Recording::Quoted;

bool operator==(const QuorPolicyInfo& a, const QuorPolicyInfo& b) {
  return std::tie(a.blobs, a.name, a.policyId, a.description, a.generationNumber) ==
         std::tie(b.blobs, b.name, b.policyId, b.description, b.generationNumber);
}

bool operator==(const QuorDatastoreInfo& a, const QuorDatastoreInfo& b) {
  return std::tie(a.url, a.datastoreNamespace, a.defaultPolicyId) ==
         std::tie(b.url, b.datastoreNamespace, b.defaultPolicyId);
}

void PrintTo(const QuorPolicyInfo& policy, std::ostream* out) {
  *out << "{name " << Quoted(policy.name) << " id " << Quoted(policy.policyId) << " description "
       << Quoted(policy.description) << " generation " << policy.generationNumber;
  for (const auto& [blob, blobNamespace] : policy.blobs) {
    *out << " (blob " << Quoted(blob) << ", namespace " << Quoted(blobNamespace) << ")";
  }
  *out << "}";
}

void PrintTo(const QuorDatastoreInfo& datastore, std::ostream* out) {
  *out << "{url " << Quoted(datastore.url) << " namespace " << Quoted(datastore.datastoreNamespace)
       << " default " << Quoted(datastore.defaultPolicyId) << "}";
}

}  // namespace TavQuor

namespace QuorTest {

using Recording::StoredObject;
using Recording::StoredSet;
using TavQuor::QuorDatastoreInfo;
using TavQuor::QuorPolicyInfo;

QuorPolicyInfo Policy(std::string name, std::string id, std::string description,
                      std::int64_t generation, Blobs blobs) {
  QuorPolicyInfo policy;
  policy.blobs = std::move(blobs);
  policy.name = std::move(name);
  policy.policyId = std::move(id);
  policy.description = std::move(description);
  policy.generationNumber = generation;
  return policy;
}

QuorDatastoreInfo Datastore(std::string url, std::string datastoreNamespace,
                            std::string defaultPolicyId) {
  QuorDatastoreInfo datastore;
  datastore.url = std::move(url);
  datastore.datastoreNamespace = std::move(datastoreNamespace);
  datastore.defaultPolicyId = std::move(defaultPolicyId);
  return datastore;
}

StoredObject Stored(const QuorPolicyInfo& policy) {
  StoredObject stored{"quor_policies", "storage", "tav", policy.name, {}, {}};
  stored.values = {{"name", policy.name},
                   {"policy_id", policy.policyId},
                   {"description", policy.description},
                   {"generation_number", static_cast<long long>(policy.generationNumber)}};
  for (const auto& [blob, blobNamespace] : policy.blobs) {
    stored.subObjects.push_back(
        {"blobs", blobNamespace, {{"blob", blob}, {"datastore_namespace", blobNamespace}}});
  }
  return stored;
}

StoredObject Stored(const QuorDatastoreInfo& datastore) {
  StoredObject stored{"quor_datastores", "storage", "tav", datastore.url, {}, {}};
  stored.values = {{"url", datastore.url},
                   {"datastore_namespace", datastore.datastoreNamespace},
                   {"drp_policy_id", datastore.defaultPolicyId}};
  return stored;
}

StoredSet Stored(const Policies& policies, const Datastores& datastores) {
  StoredSet set;
  for (const QuorPolicyInfo& policy : policies)
    set.push_back(Stored(policy));
  for (const QuorDatastoreInfo& datastore : datastores)
    set.push_back(Stored(datastore));
  return set;
}

Policies SamplePolicies() {
  return {Policy("gold", "id-1", "fast", 7, {{"G-rilk", "RILK"}, {"G-vol", "vol"}}),
          Policy("silver", "id-2", "cheap", -3, {{"S-vol", "vol"}})};
}

Datastores SampleDatastores() {
  return {Datastore("ds:///a", "vol", "id-1"), Datastore("ds:///b", "RILK", "id-2")};
}

std::string HostileBytes() {
  return std::string("\0 \xff\xc3/[]\"\\\n%s\0", 13);
}

}  // namespace QuorTest
