// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// How objects of the configuration store are addressed.
#ifndef TAVCONFIGSTORE_OBJECT_ID_H_
#define TAVCONFIGSTORE_OBJECT_ID_H_

#include <string>
#include <utility>

#include "platform/export.h"

namespace TavConfigStore {

extern PLATFORM_API const std::string kEmptyString;  // for parts of an address that are left out
extern PLATFORM_API const std::string sGlobalNamespace;  // the store of the whole host

// An object's address: its kind (key, group, component) and which one of the kind it is.
struct ConfigStoreObjectId {
  // Without an instance: the kind, as a filter wants it.
  ConfigStoreObjectId(std::string objectKey, std::string objectGroup, std::string objectComponent)
      : key(std::move(objectKey)),
        group(std::move(objectGroup)),
        component(std::move(objectComponent)) {}

  // All four parts.
  ConfigStoreObjectId(std::string objectKey, std::string objectGroup, std::string objectComponent,
                      std::string objectInstance)
      : key(std::move(objectKey)),
        group(std::move(objectGroup)),
        component(std::move(objectComponent)),
        instance(std::move(objectInstance)) {}

  std::string key;        // what it is, "quor_policies" say
  std::string group;      // of keys, "storage" say
  std::string component;  // whose it is, "tav" say
  std::string instance;   // which one: any bytes, the empty string included
};

// The address of a sub-object within its object.
struct SubObjectId {
  // Both parts; either may be empty.
  SubObjectId(std::string subObjectName, std::string subObjectInstance)
      : name(std::move(subObjectName)), instance(std::move(subObjectInstance)) {}

  std::string name;      // what it is, "blobs" say
  std::string instance;  // which one of that name
};

}  // namespace TavConfigStore

#endif  // TAVCONFIGSTORE_OBJECT_ID_H_
