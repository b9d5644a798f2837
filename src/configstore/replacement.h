// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Access to the store, and replacement of a set of records.
#ifndef SRC_CONFIGSTORE_REPLACEMENT_H_
#define SRC_CONFIGSTORE_REPLACEMENT_H_

#include <functional>
#include <memory>

#include "tavconfigstore/config_store.h"

namespace TavQuor::ConfigStoreBackend {

using StorePtr = std::shared_ptr<TavConfigStore::ConfigStore>;

// A new handle to the host's store; one per operation.
StorePtr OpenStore();

// A filter for all objects of the kind.
std::shared_ptr<TavConfigStore::FilterSpecObject> SelectAll(
    const TavConfigStore::ConfigStoreObjectId& id);

// Deletes all objects of the kind given by `makeId`. A store exception is dropped with
// `ignoreStoreErrors`, otherwise replaced by a ConfigStoreException of the same message, attachment
// and code. Other exceptions pass.
void ClearObjects(const StorePtr& store, TavConfigStore::ConfigStoreObjectId (*makeId)(),
                  bool ignoreStoreErrors);

// Begins a transaction, runs `change` and commits. A store exception from any of these rolls the
// transaction back and is thrown as a copy, sliced to ConfigStoreException. Exceptions of the
// roll-back are dropped, so that the first failure is reported. Other exceptions pass without a
// roll-back; releasing the handle discards the transaction then.
void ReplaceInTransaction(const std::function<void(const StorePtr&)>& change);

}  // namespace TavQuor::ConfigStoreBackend

#endif  // SRC_CONFIGSTORE_REPLACEMENT_H_
