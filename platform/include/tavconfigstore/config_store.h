// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The host configuration store: typed objects, replaced in transactions.
//
// Guarantees. A committed state is complete, durable and immutable: readers see one committed
// state or the next, never a mixture, take no lock, write nothing and wait for nobody. Writers of
// the host exclude each other from BeginTransaction() to its end. A process that is killed, at any
// moment, leaves the last committed state and no lock behind.
//
// A handle reads the state that was the newest when it was obtained, until it begins a
// transaction: then it reads the newest state at that moment with its own changes on top. Obtain a
// handle per operation; one that is kept pins the state that it reads.
//
// Threads and fork. Handles are used by one thread at a time; distinct handles are independent. A
// child process never holds or releases its parent's lock; a transaction open at the fork stays
// the parent's, and using it in the child raises kUsage.
#ifndef TAVCONFIGSTORE_CONFIG_STORE_H_
#define TAVCONFIGSTORE_CONFIG_STORE_H_

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/export.h"
#include "tavconfigstore/exception.h"
#include "tavconfigstore/object.h"
#include "tavconfigstore/object_id.h"

namespace TavConfigStore {

// Every operation raises ConfigStoreException on failure and changes nothing then, unless it says
// otherwise.
class PLATFORM_API ConfigStore {
 public:
  // A handle to the store of the namespace; sGlobalNamespace is the only one. A host where nothing
  // was ever written has an empty store. Raises kPermissionDenied when the process may not read,
  // kCorrupt or kUnsupported when the stored file cannot be used.
  static std::shared_ptr<ConfigStore> GetStore(const std::string& storeNamespace);

  ConfigStore(const ConfigStore&) = delete;
  ConfigStore& operator=(const ConfigStore&) = delete;
  // Rolls back a transaction that is still open.
  virtual ~ConfigStore();

  // The object of that identifier; null when there is none. An empty instance is an instance like
  // others. Raises kCorrupt when the stored record is damaged.
  virtual std::shared_ptr<ConfigStoreObject> GetObject(const ConfigStoreObjectId& id) = 0;

  // Writes the object with all its values and sub-objects. One that is stored already is replaced
  // whole and keeps its place; a new one comes last. `writeMode` is 0; other values raise kUsage.
  // Outside a transaction the call is a transaction of its own.
  virtual void SetObject(const std::shared_ptr<ConfigStoreObject>& object,
                         const std::int32_t& writeMode) = 0;

  // Deletes the objects that the filter selects; to select none is no error. Outside a transaction
  // the call is a transaction of its own.
  virtual void DeleteObjects(const std::shared_ptr<FilterSpecObject>& filter) = 0;

  // The objects that the filter selects, in the order of their first write. A damaged record is
  // raised (kCorrupt) when a value of it is read, not here.
  virtual std::vector<std::shared_ptr<ConfigStoreObject>> GetObjects(
      const std::shared_ptr<FilterSpecObject>& filter) = 0;

  // Opens a transaction. Raises kBusy when another writer holds the lock for longer than the
  // deadline (30 s, or QUOR_LOCK_TIMEOUT_MS), kUsage when this handle has one open already.
  virtual void BeginTransaction() = 0;

  // Makes the transaction's changes durable and visible to every process, all at once, and ends
  // the transaction. When it raises, the transaction is still open and is to be rolled back; the
  // stored state is the old one, unless the message says that only the final flush of the
  // directory failed; it is not committed a second time then (kUsage).
  virtual void CommitTransaction() = 0;

  // Discards the transaction's changes. The handle reads the newest state from then on, which the
  // transaction has seen. Does nothing when none is open. Raises nothing.
  virtual void RollbackTransaction() = 0;

 protected:
  ConfigStore() = default;
};

}  // namespace TavConfigStore

#endif  // TAVCONFIGSTORE_CONFIG_STORE_H_
