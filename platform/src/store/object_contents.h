// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Contents of objects that this process made or changed.
#ifndef PLATFORM_SRC_STORE_OBJECT_CONTENTS_H_
#define PLATFORM_SRC_STORE_OBJECT_CONTENTS_H_

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "store/record_codec.h"
#include "tavconfigstore/object.h"

namespace TavConfigStore {

struct ObjectContents {
  ObjectContents() = default;
  ObjectContents(std::string&& objectKind, const std::string& objectName,
                 const std::string& objectInstance)
      : kind(std::move(objectKind)), name(objectName), instance(objectInstance) {}

  std::string kind;      // of an object or filter: the encoded kind
  std::string name;      // of a sub-object: its name; of a filter: that of the selected sub-objects
  std::string instance;  // empty in a filter: any instance
  EncodedValues values;  // in the order of setting
  std::vector<std::shared_ptr<ConfigStoreSubObject>> subObjects;  // in the order of creation
  // Index of the first `indexed` sub-objects, completed before another one is made. A tree instead
  // of a hash table, so that prepared names cannot collide.
  using SubObjectName = std::pair<std::string_view, std::string_view>;
  std::map<SubObjectName, std::size_t> subObjectAt;
  std::size_t indexed = 0;
};

// Owner of the bytes of fetched objects; the pointers to these objects share its ownership.
class RecordSource : public std::enable_shared_from_this<RecordSource> {
 public:
  virtual ~RecordSource() = default;

  struct Record {
    std::string_view kind;
    std::string_view instance;
    std::string_view body;
  };
  // The verified record; raises kCorrupt if it is damaged.
  virtual Record Read(std::uint32_t number) const = 0;
  // The body of the verified record; raises like Read().
  virtual std::string_view Body(std::uint32_t number) const = 0;
};

// Access of the store to the contents of objects.
struct ObjectAccess {
  static const ObjectContents* Contents(const ConfigStoreObject& object) {
    return object.contents_.get();
  }
  // Null if the sub-object was fetched.
  static ObjectContents* Contents(const ConfigStoreSubObject& subObject) {
    return subObject.contents_.get();
  }
  // Raises kUsage if the filter is null or selects by values, which this store does not support.
  static const ObjectContents& Contents(const std::shared_ptr<FilterSpecObject>& filter);
  static const StoredRecord& Stored(const ConfigStoreObject& object) { return object.stored_; }
};

}  // namespace TavConfigStore

#endif  // PLATFORM_SRC_STORE_OBJECT_CONTENTS_H_
