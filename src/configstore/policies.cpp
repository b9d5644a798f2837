// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "configstore/policies.h"

#include <utility>

#include "configstore/keys.h"
#include "configstore/policy_search.h"

namespace TavQuor::ConfigStoreBackend {

using TavConfigStore::ConfigStoreException;
using TavConfigStore::ConfigStoreObject;
using TavConfigStore::ConfigStoreObjectId;
using TavConfigStore::kEmptyString;
using TavConfigStore::SubObjectId;

namespace {

void WritePolicy(const StorePtr& store, const QuorPolicyInfo& policy) {
  const auto object = std::make_shared<ConfigStoreObject>(PolicyObjectId(policy.name));
  object->SetValue(kName, policy.name);
  object->SetValue(kPolicyId, policy.policyId);
  object->SetValue(kDescription, policy.description);
  object->SetValue(kGenerationNumber, static_cast<long long>(policy.generationNumber));
  for (const auto& [blob, blobNamespace] : policy.blobs) {
    if (blobNamespace.empty()) continue;
    const auto subObject = object->CreateSubObject(SubObjectId(kBlobs, blobNamespace));
    subObject->SetValue(kBlob, blob);
    subObject->SetValue(kDatastoreNamespace, blobNamespace);
  }
  store->SetObject(object, /*writeMode=*/0);
}

// `generationNumber` is shared by all policies of a listing: a policy without the value gets that
// of the policy before it. Callers rely on that.
QuorPolicyInfo ReadPolicy(const ConfigStoreObject& object, long long* generationNumber) {
  QuorPolicyInfo policy;
  object.GetValue(kName, &policy.name);
  object.GetValue(kPolicyId, &policy.policyId);
  object.GetValue(kDescription, &policy.description);
  object.GetValue(kGenerationNumber, generationNumber);
  const auto filter = SelectAll(ConfigStoreObjectId(kBlobs, kEmptyString, kEmptyString, ""));
  const auto subObjects = object.GetSubObjectInstances(filter);
  policy.blobs.reserve(subObjects.size());
  for (const auto& subObject : subObjects) {
    auto& [blob, blobNamespace] = policy.blobs.emplace_back();
    subObject->GetValue(kBlob, &blob);
    subObject->GetValue(kDatastoreNamespace, &blobNamespace);
  }
  policy.generationNumber = *generationNumber;
  return policy;
}

std::string ReadBlob(const ConfigStoreObject& policy, const std::string& blobNamespace) {
  std::string blob;
  const auto subObject = policy.GetSubObject(SubObjectId(kBlobs, blobNamespace));
  if (subObject) subObject->GetValue(kBlob, &blob);
  return blob;
}

}  // namespace

void ClearPolicyObjects(const StorePtr& store, bool ignoreStoreErrors) {
  ClearObjects(store, &PolicyObjectId, ignoreStoreErrors);
}

void AddPolicyInfo(const std::vector<QuorPolicyInfo>& policies) {
  ReplaceInTransaction([&policies](const StorePtr& store) {
    ClearPolicyObjects(store, /*ignoreStoreErrors=*/false);
    for (const QuorPolicyInfo& policy : policies)
      WritePolicy(store, policy);
  });
}

std::vector<QuorPolicyInfo> ListPolicyInfo() {
  std::vector<QuorPolicyInfo> policies;
  const StorePtr store = OpenStore();
  long long generationNumber = 0;
  const auto objects = store->GetObjects(SelectAll(PolicyObjectId()));
  policies.reserve(objects.size());
  for (const auto& object : objects) {
    try {
      policies.push_back(ReadPolicy(*object, &generationNumber));
    } catch (const ConfigStoreException&) {
      // An unreadable record is skipped.
    }
  }
  return policies;
}

std::string GetPolicyBlob(const std::string& policyId, const std::string& blobNamespace) {
  if (policyId.empty() || blobNamespace.empty()) return std::string();
  const StorePtr store = OpenStore();
  const auto object = FindPolicyById(store, policyId);
  return object ? ReadBlob(*object, blobNamespace) : std::string();
}

std::string GetPolicyBlobByName(const std::string& policyName, const std::string& blobNamespace) {
  if (policyName.empty() || blobNamespace.empty()) return std::string();
  const StorePtr store = OpenStore();
  const auto object = store->GetObject(PolicyObjectId(policyName));
  if (!object) return std::string();
  return ReadBlob(*object, blobNamespace);
}

}  // namespace TavQuor::ConfigStoreBackend
