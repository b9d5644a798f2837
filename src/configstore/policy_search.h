// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The policy that has an identifier.
#ifndef SRC_CONFIGSTORE_POLICY_SEARCH_H_
#define SRC_CONFIGSTORE_POLICY_SEARCH_H_

#include <memory>
#include <string>

#include "configstore/replacement.h"

namespace TavQuor::ConfigStoreBackend {

// The first policy, in the order of listings, whose identifier is this one; null when there is
// none.
std::shared_ptr<TavConfigStore::ConfigStoreObject> FindPolicyById(const StorePtr& store,
                                                                  const std::string& policyId);

}  // namespace TavQuor::ConfigStoreBackend

#endif  // SRC_CONFIGSTORE_POLICY_SEARCH_H_
