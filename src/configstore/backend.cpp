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

// Deletes both sets in one transaction. A refused deletion prevents neither the other deletion nor
// the commit.
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
