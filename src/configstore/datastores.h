// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Datastore records in the configuration store.
#ifndef SRC_CONFIGSTORE_DATASTORES_H_
#define SRC_CONFIGSTORE_DATASTORES_H_

#include <string>
#include <vector>

#include "configstore/replacement.h"
#include "quor/quor_lib.h"

namespace TavQuor::ConfigStoreBackend {

void AddDatastoreInfo(const std::vector<QuorDatastoreInfo>& datastores);
std::vector<QuorDatastoreInfo> ListDatastoreInfo();

// An empty URL is not looked up.
std::string GetDatastoreNamespace(const std::string& url);
std::string GetDatastoreDefaultPolicyId(const std::string& url);

// See ClearObjects().
void ClearDatastoreObjects(const StorePtr& store, bool ignoreStoreErrors);

}  // namespace TavQuor::ConfigStoreBackend

#endif  // SRC_CONFIGSTORE_DATASTORES_H_
