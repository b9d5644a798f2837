// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "configstore/replacement.h"

namespace TavQuor::ConfigStoreBackend {

using TavConfigStore::ConfigStore;
using TavConfigStore::ConfigStoreException;
using TavConfigStore::ConfigStoreObjectId;
using TavConfigStore::FilterSpecObject;

StorePtr OpenStore() {
  return ConfigStore::GetStore(TavConfigStore::sGlobalNamespace);
}

std::shared_ptr<FilterSpecObject> SelectAll(const ConfigStoreObjectId& id) {
  return std::make_shared<FilterSpecObject>(id);
}

void ClearObjects(const StorePtr& store, ConfigStoreObjectId (*makeId)(), bool ignoreStoreErrors) {
  try {
    store->DeleteObjects(SelectAll(makeId()));
  } catch (const ConfigStoreException& failure) {
    if (!ignoreStoreErrors) throw ConfigStoreException(failure);
  }
}

void ReplaceInTransaction(const std::function<void(const StorePtr&)>& change) {
  const StorePtr store = OpenStore();
  try {
    store->BeginTransaction();
    change(store);
    store->CommitTransaction();
  } catch (const ConfigStoreException& failure) {
    try {
      store->RollbackTransaction();
    } catch (...) {
      // Dropped, to report the first failure. The transaction ends with its handle.
    }
    throw ConfigStoreException(failure);
  }
}

}  // namespace TavQuor::ConfigStoreBackend
