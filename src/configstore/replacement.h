// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// How the backend reaches the store, clears a record set and replaces one.
#ifndef SRC_CONFIGSTORE_REPLACEMENT_H_
#define SRC_CONFIGSTORE_REPLACEMENT_H_

#include <functional>
#include <memory>

#include "tavconfigstore/config_store.h"

namespace TavQuor::ConfigStoreBackend {

using StorePtr = std::shared_ptr<TavConfigStore::ConfigStore>;

// The host's store, asked for anew by every operation.
StorePtr OpenStore();

// A query for every object of the identifier's kind.
std::shared_ptr<TavConfigStore::FilterSpecObject> SelectAll(
    const TavConfigStore::ConfigStoreObjectId& id);

// Deletes every object of the kind that `makeId` names. With `ignoreStoreErrors` the store's
// exception is dropped, otherwise a ConfigStoreException of the same message, attachment and code
// is thrown in its place. Other exceptions pass.
void ClearObjects(const StorePtr& store, TavConfigStore::ConfigStoreObjectId (*makeId)(),
                  bool ignoreStoreErrors);

// Begins a transaction, runs `change` and commits. When the store raises anywhere in this, the
// commit included, the transaction is rolled back and a copy is thrown, as a ConfigStoreException
// also where the store threw a class derived from it. What the roll-back raises is dropped: the
// first failure is the one to tell. Any other exception passes without the roll-back call:
// releasing the store handle discards the transaction.
void ReplaceInTransaction(const std::function<void(const StorePtr&)>& change);

}  // namespace TavQuor::ConfigStoreBackend

#endif  // SRC_CONFIGSTORE_REPLACEMENT_H_
