// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "configfile/backend.h"

#include "configfile/datastores.h"
#include "configfile/policies.h"
#include "digest/catalogue_digest.h"

namespace TavQuor::ConfigFileBackend {
namespace {

void Init() {}

// Two sessions: other processes may read in between and find datastores without policies.
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
