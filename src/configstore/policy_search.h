// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Search for a policy by its identifier.
#ifndef SRC_CONFIGSTORE_POLICY_SEARCH_H_
#define SRC_CONFIGSTORE_POLICY_SEARCH_H_

#include <memory>
#include <string>

#include "configstore/replacement.h"

namespace TavQuor::ConfigStoreBackend {

// The first policy with this identifier in the order of listings; null if there is none.
std::shared_ptr<TavConfigStore::ConfigStoreObject> FindPolicyById(const StorePtr& store,
                                                                  const std::string& policyId);

}  // namespace TavQuor::ConfigStoreBackend

#endif  // SRC_CONFIGSTORE_POLICY_SEARCH_H_
