// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "configfile/backend.h"

#include "configfile/datastores.h"
#include "configfile/policies.h"
#include "digest/catalogue_digest.h"

namespace TavQuor::ConfigFileBackend {
namespace {

void Init() {}

// Two locks, one after the other: others may come in between and find no policies but datastores.
void Reset() {
  ClearPolicies();
  ClearDatastores();
}

std::string ComputePolicyDbHash() {
  return Digest::PolicyDbHash(ListPolicyInfo());
}

std::string ComputeDatastoreDbHash() {
  return Digest::DatastoreDbHash(ListDatastoreInfo());
}

}  // namespace

const Backend kBackend = {
    &Init,
    &Reset,
    &AddPolicyInfo,
    &AddDatastoreInfo,
    &ListPolicyInfo,
    &ListDatastoreInfo,
    &GetPolicyBlob,
    &GetPolicyBlobByName,
    &GetDatastoreNamespace,
    &GetDatastoreDefaultPolicyId,
    &ComputePolicyDbHash,
    &ComputeDatastoreDbHash,
};

}  // namespace TavQuor::ConfigFileBackend
