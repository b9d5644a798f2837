// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "backend/catalogue.h"

#include <ostream>
#include <tuple>

namespace TavQuor {

bool operator==(const QuorPolicyInfo& a, const QuorPolicyInfo& b) {
  return std::tie(a.name, a.policyId, a.description, a.generationNumber, a.blobs) ==
         std::tie(b.name, b.policyId, b.description, b.generationNumber, b.blobs);
}

bool operator==(const QuorDatastoreInfo& a, const QuorDatastoreInfo& b) {
  return std::tie(a.url, a.datastoreNamespace, a.defaultPolicyId) ==
         std::tie(b.url, b.datastoreNamespace, b.defaultPolicyId);
}

void PrintTo(const QuorPolicyInfo& policy, std::ostream* out) {
  *out << "policy \"" << policy.name << "\" \"" << policy.policyId << "\" \"" << policy.description
       << "\" " << policy.generationNumber << " with " << policy.blobs.size() << " blobs";
}

void PrintTo(const QuorDatastoreInfo& datastore, std::ostream* out) {
  *out << "datastore \"" << datastore.url << "\" \"" << datastore.datastoreNamespace << "\" \""
       << datastore.defaultPolicyId << '"';
}

}  // namespace TavQuor

namespace ConfigFileTest {

void Switch(Kind kind) {
  HostPlatform::SetFeature(kFeatureQuorUsesConfigStore, kind == Kind::kStore);
}

QuorPolicyInfo Policy(const std::string& id, std::vector<std::pair<std::string, std::string>> blobs,
                      std::int64_t generation) {
  QuorPolicyInfo policy;
  policy.name = "name of " + id;
  policy.policyId = id;
  policy.description = "description of " + id;
  policy.generationNumber = generation;
  policy.blobs = std::move(blobs);
  return policy;
}

Policies SomePolicies(int count) {
  Policies policies;
  for (int i = count - 1; i >= 0; --i) {
    const std::string number = std::to_string(i);
    policies.push_back(
        Policy("id-" + number, {{"rilk " + number, "RILK"}, {EveryByte() + number, "OTHER"}}, i));
  }
  return policies;
}

Datastores SomeDatastores(int count) {
  Datastores datastores;
  for (int i = 0; i < count; ++i) {
    datastores.push_back({"ds:///volumes/" + std::to_string(i) + '/', i % 2 == 0 ? "RILK" : "OTHER",
                          i < 12 ? "id-" + std::to_string(i) : ""});
  }
  return datastores;
}

std::string EveryByte() {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte)
    bytes.push_back(static_cast<char>(byte));
  return bytes;
}

}  // namespace ConfigFileTest
