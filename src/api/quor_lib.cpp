// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "quor/quor_lib.h"

#include "api/backend.h"

namespace TavQuor {
namespace {

// The storage namespace of the lookups without a datastore.
const char* const kRilkNamespace = "RILK";

}  // namespace

void QuorLib::Init() {
  SelectBackend().Init();
}

void QuorLib::Reset() {
  SelectBackend().Reset();
}

void QuorLib::AddPolicyInfo(const std::vector<QuorPolicyInfo>& policies) {
  SelectBackend().AddPolicyInfo(policies);
}

void QuorLib::AddDatastoreInfo(const std::vector<QuorDatastoreInfo>& datastores) {
  SelectBackend().AddDatastoreInfo(datastores);
}

std::vector<QuorDatastoreInfo> QuorLib::ListDatastoreInfo() {
  return SelectBackend().ListDatastoreInfo();
}

std::vector<QuorPolicyInfo> QuorLib::ListPolicyInfo() {
  return SelectBackend().ListPolicyInfo();
}

std::string QuorLib::GetRilkPolicyBlobById(const std::string& policyId) {
  return SelectBackend().GetPolicyBlob(policyId, kRilkNamespace);
}

std::string QuorLib::GetRilkPolicyBlobByName(const std::string& policyName) {
  return SelectBackend().GetPolicyBlobByName(policyName, kRilkNamespace);
}

std::string QuorLib::GetDefaultPolicyBlob(const std::string& datastoreUrl) {
  const Backend& backend = SelectBackend();
  const std::string defaultId = backend.GetDatastoreDefaultPolicyId(datastoreUrl);
  if (defaultId.empty()) return std::string();
  const std::string blobNamespace = backend.GetDatastoreNamespace(datastoreUrl);
  return backend.GetPolicyBlob(defaultId, blobNamespace);
}

std::string QuorLib::GetPolicyBlobById(const std::string& policyId,
                                       const std::string& datastoreUrl) {
  const Backend& backend = SelectBackend();
  const std::string blobNamespace = backend.GetDatastoreNamespace(datastoreUrl);
  return backend.GetPolicyBlob(policyId, blobNamespace);
}

std::pair<std::string, std::string> QuorLib::GetDbHash() {
  const Backend& backend = SelectBackend();
  std::string policies = backend.ComputePolicyDbHash();
  std::string datastores = backend.ComputeDatastoreDbHash();
  return std::make_pair(std::move(policies), std::move(datastores));
}

}  // namespace TavQuor
