// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Objects of the configuration store by one of their values.
//
// A platform need not offer this. The library asks the handle that ConfigStore::GetStore() returned
// whether it is a ValueSearch too, and looks at one object after the other where it is none.
#ifndef TAVCONFIGSTORE_VALUE_SEARCH_H_
#define TAVCONFIGSTORE_VALUE_SEARCH_H_

#include <memory>
#include <string>

#include "tavconfigstore/object.h"
#include "tavconfigstore/object_id.h"

namespace TavConfigStore {

// What a store's handle that has an index of values is beside a ConfigStore; `dynamic_cast` tells.
class ValueSearch {
 public:
  // The first object of the kind, in the order of ConfigStore::GetObjects(), whose value `name` is
  // the string `value`; null when there is none. An object without the value is never found. The
  // identifier's instance is not looked at. The cost does not depend on the number of objects,
  // except within a transaction, whose own changes count. Raises ConfigStoreException: kWrongType
  // when an object before the first found has an integer of that name, kCorrupt when a damaged
  // record or a damaged part of the index could hold the answer. The handle's rules for threads and
  // fork hold.
  virtual std::shared_ptr<ConfigStoreObject> FindFirst(const ConfigStoreObjectId& kind,
                                                       const char* name,
                                                       const std::string& value) = 0;

 protected:
  ~ValueSearch() = default;
};

}  // namespace TavConfigStore

#endif  // TAVCONFIGSTORE_VALUE_SEARCH_H_
