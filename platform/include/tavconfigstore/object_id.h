// How objects of the configuration store are addressed.
#ifndef TAVCONFIGSTORE_OBJECT_ID_H_
#define TAVCONFIGSTORE_OBJECT_ID_H_

#include <string>
#include <utility>

#include "platform/export.h"

namespace TavConfigStore {

extern PLATFORM_API const std::string kEmptyString;
extern PLATFORM_API const std::string sGlobalNamespace;

// An object's address: its kind (key, group, component) and which one of the kind it is.
struct ConfigStoreObjectId {
  ConfigStoreObjectId(std::string objectKey, std::string objectGroup, std::string objectComponent,
                      std::string objectInstance = std::string())
      : key(std::move(objectKey)),
        group(std::move(objectGroup)),
        component(std::move(objectComponent)),
        instance(std::move(objectInstance)) {}

  std::string key;
  std::string group;
  std::string component;
  std::string instance;
};

// The address of a sub-object within its object.
struct SubObjectId {
  SubObjectId(std::string subObjectName, std::string subObjectInstance)
      : name(std::move(subObjectName)), instance(std::move(subObjectInstance)) {}

  std::string name;
  std::string instance;
};

}  // namespace TavConfigStore

#endif  // TAVCONFIGSTORE_OBJECT_ID_H_
