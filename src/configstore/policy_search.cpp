// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "configstore/policy_search.h"

#include "api/identifier.h"
#include "configstore/keys.h"

#if __has_include("tavconfigstore/value_search.h")
#include "tavconfigstore/value_search.h"
#define QUOR_PLATFORM_MAY_SEARCH 1
#endif

namespace TavQuor::ConfigStoreBackend {

using TavConfigStore::ConfigStoreObject;

// A host's own platform may lack the search and its header.
std::shared_ptr<ConfigStoreObject> FindPolicyById(const StorePtr& store,
                                                  const std::string& policyId) {
#ifdef QUOR_PLATFORM_MAY_SEARCH
  if (auto* const search = dynamic_cast<TavConfigStore::ValueSearch*>(store.get())) {
    return search->FindFirst(PolicyObjectId(), kPolicyId, policyId);
  }
#endif
  std::string storedId;
  for (const auto& object : store->GetObjects(SelectAll(PolicyObjectId()))) {
    storedId.clear();
    object->GetValue(kPolicyId, &storedId);
    if (SameIdentifier(storedId, policyId)) return object;
  }
  return nullptr;
}

}  // namespace TavQuor::ConfigStoreBackend
