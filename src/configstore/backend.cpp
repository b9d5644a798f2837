// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "configstore/backend.h"

#include "configstore/datastores.h"
#include "configstore/policies.h"
#include "configstore/replacement.h"
#include "digest/catalogue_digest.h"

namespace TavQuor::ConfigStoreBackend {
namespace {

void Init() {}

// Empties both sets in one transaction. A refused deletion does not keep the other from being
// made nor the commit from being tried.
void Reset() {
  ReplaceInTransaction([](const StorePtr& store) {
    ClearPolicyObjects(store, /*ignoreStoreErrors=*/true);
    ClearDatastoreObjects(store, /*ignoreStoreErrors=*/true);
  });
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

}  // namespace TavQuor::ConfigStoreBackend
