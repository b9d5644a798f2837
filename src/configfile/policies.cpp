// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "configfile/policies.h"

#include <cstdint>
#include <utility>

#include "api/identifier.h"
#include "configfile/blob_codec.h"
#include "configfile/keys.h"
#include "zynctl/config_file.h"

namespace TavQuor::ConfigFileBackend {

using ZynCtl::Config::ConfigBranch;
using ZynCtl::Config::ConfigFileException;
using ZynCtl::Config::SynchronizedConfigFile;

namespace {

void WritePolicy(ConfigBranch& instance, const QuorPolicyInfo& policy) {
  instance.SetValue(kName, policy.name);
  instance.SetValue(kDescription, policy.description);
  instance.SetValue(kPolicyId, policy.policyId);
  instance.SetValue(kGenerationNumber, static_cast<std::uint64_t>(policy.generationNumber));
  const auto blobs = instance.GetArray(kBlobArray);
  const std::string namespaceKey = kDatastoreNamespace;  // too long to make it for each blob
  for (const auto& [blob, blobNamespace] : policy.blobs) {
    const auto entry = blobs->NewInstance();
    entry->SetValue(namespaceKey, blobNamespace);
    entry->SetValue(kBlob, EncodeBlob(blob));
  }
}

// False if a value of the policy is absent. Blob entries without one of their values are skipped.
bool ReadPolicy(ConfigBranch& instance, QuorPolicyInfo* policy) {
  int generationNumber = 0;
  if (!instance.GetValue(kName, &policy->name) ||
      !instance.GetValue(kDescription, &policy->description) ||
      !instance.GetValue(kPolicyId, &policy->policyId) ||
      !instance.GetValue(kGenerationNumber, &generationNumber)) {
    return false;
  }
  policy->generationNumber = generationNumber;
  const auto blobs = instance.GetArray(kBlobArray);
  const std::string namespaceKey = kDatastoreNamespace;
  for (const auto& entry : blobs->GetInstances()) {
    std::string blobNamespace;
    if (!entry->GetValue(namespaceKey, &blobNamespace)) continue;
    std::string text;
    if (!entry->GetValue(kBlob, &text)) continue;
    policy->blobs.emplace_back(DecodeBlob(text), std::move(blobNamespace));
  }
  return true;
}

std::string ReadBlob(ConfigBranch& policy, const std::string& blobNamespace) {
  const auto blobs = policy.GetArray(kBlobArray);
  const std::string namespaceKey = kDatastoreNamespace;
  for (const auto& entry : blobs->GetInstances()) {
    std::string storedNamespace;
    if (!entry->GetValue(namespaceKey, &storedNamespace)) continue;
    if (storedNamespace != blobNamespace) continue;
    std::string text;
    if (entry->GetValue(kBlob, &text)) return DecodeBlob(text);
  }
  return std::string();
}

std::string FindBlob(const std::string& key, const std::string& wanted,
                     const std::string& blobNamespace) {
  const SynchronizedConfigFile locked;
  const auto branch = locked.file->GetBranch(kPolicyBranch);
  const auto policies = branch->GetArray(kPolicyArray);
  std::string stored;
  for (const auto& instance : policies->GetInstances()) {
    stored.clear();
    if (instance->GetValue(key, &stored) && SameIdentifier(stored, wanted)) {
      return ReadBlob(*instance, blobNamespace);
    }
  }
  return std::string();
}

}  // namespace

void ClearPolicies() {
  const SynchronizedConfigFile locked;
  const auto branch = locked.file->GetBranch(kPolicyBranch);
  branch->RemoveAllChildren();
  const auto policies = branch->GetArray(kPolicyArray);
  locked.file->Write();
}

void AddPolicyInfo(const std::vector<QuorPolicyInfo>& policies) {
  const SynchronizedConfigFile locked;
  const auto branch = locked.file->GetBranch(kPolicyBranch);
  branch->RemoveAllChildren();
  const auto array = branch->GetArray(kPolicyArray);
  for (const QuorPolicyInfo& policy : policies)
    WritePolicy(*array->NewInstance(), policy);
  locked.file->Write();
}

std::vector<QuorPolicyInfo> ListPolicyInfo() {
  std::vector<QuorPolicyInfo> policies;
  const SynchronizedConfigFile locked;
  const auto branch = locked.file->GetBranch(kPolicyBranch);
  const auto array = branch->GetArray(kPolicyArray);
  for (const auto& instance : array->GetInstances()) {
    try {
      QuorPolicyInfo policy;
      if (ReadPolicy(*instance, &policy)) policies.push_back(std::move(policy));
    } catch (const ConfigFileException&) {
      // An unreadable record is skipped.
    }
  }
  return policies;
}

std::string GetPolicyBlob(const std::string& policyId, const std::string& blobNamespace) {
  return FindBlob(kPolicyId, policyId, blobNamespace);
}

std::string GetPolicyBlobByName(const std::string& policyName, const std::string& blobNamespace) {
  return FindBlob(kName, policyName, blobNamespace);
}

}  // namespace TavQuor::ConfigFileBackend
