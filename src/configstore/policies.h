// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Policy records in the configuration store.
#ifndef SRC_CONFIGSTORE_POLICIES_H_
#define SRC_CONFIGSTORE_POLICIES_H_

#include <string>
#include <vector>

#include "configstore/replacement.h"
#include "quor/quor_lib.h"

namespace TavQuor::ConfigStoreBackend {

void AddPolicyInfo(const std::vector<QuorPolicyInfo>& policies);
std::vector<QuorPolicyInfo> ListPolicyInfo();

// An empty identifier, name or namespace is not looked up.
std::string GetPolicyBlob(const std::string& policyId, const std::string& blobNamespace);
std::string GetPolicyBlobByName(const std::string& policyName, const std::string& blobNamespace);

// See ClearObjects().
void ClearPolicyObjects(const StorePtr& store, bool ignoreStoreErrors);

}  // namespace TavQuor::ConfigStoreBackend

#endif  // SRC_CONFIGSTORE_POLICIES_H_
