// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What an object holds that was made or changed in this process.
#ifndef PLATFORM_SRC_CONFIGSTORE_OBJECT_CONTENTS_H_
#define PLATFORM_SRC_CONFIGSTORE_OBJECT_CONTENTS_H_

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "configstore/record_codec.h"
#include "tavconfigstore/object.h"

namespace TavConfigStore {

struct ObjectContents {
  ObjectContents() = default;
  ObjectContents(std::string&& objectKind, const std::string& objectName,
                 const std::string& objectInstance)
      : kind(std::move(objectKind)), name(objectName), instance(objectInstance) {}

  std::string kind;      // of an object or filter: its encoded kind
  std::string name;      // of a sub-object its name; of a filter that of the ones it selects
  std::string instance;  // empty in a filter: any
  EncodedValues values;  // in the order of setting
  std::vector<std::shared_ptr<ConfigStoreSubObject>> subObjects;  // in the order of creation
  // Where the first `indexed` of them are, by name and instance; brought up to date before one is
  // made. In order and not hashed: names that are made to collide cost no more than others.
  using SubObjectName = std::pair<std::string_view, std::string_view>;
  std::map<SubObjectName, std::size_t> subObjectAt;
  std::size_t indexed = 0;
};

// Where the bytes of fetched objects are. Held by shared pointers, which the pointers to those
// objects share.
class RecordSource : public std::enable_shared_from_this<RecordSource> {
 public:
  virtual ~RecordSource() = default;

  struct Record {
    std::string_view kind;
    std::string_view instance;
    std::string_view body;
  };
  // The record, checked and in place; raises kCorrupt when it is damaged.
  virtual Record Read(std::uint32_t number) const = 0;
  // Its body only, which is what lookups want.
  virtual std::string_view Body(std::uint32_t number) const = 0;
};

// The store's way to what an object holds.
struct ObjectAccess {
  static const ObjectContents* Contents(const ConfigStoreObject& object) {
    return object.contents_.get();
  }
  // Null when the sub-object was fetched.
  static ObjectContents* Contents(const ConfigStoreSubObject& subObject) {
    return subObject.contents_.get();
  }
  // Raises kUsage when the filter is null or asks for values, which this store cannot search by.
  static const ObjectContents& Contents(const std::shared_ptr<FilterSpecObject>& filter);
  static const StoredRecord& Stored(const ConfigStoreObject& object) { return object.stored_; }
};

}  // namespace TavConfigStore

#endif  // PLATFORM_SRC_CONFIGSTORE_OBJECT_CONTENTS_H_
