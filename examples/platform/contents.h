// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What the example platform keeps: records in the memory of one process.
//
// The headers leave three things to the platform: what an object holds (ObjectContents), what a
// fetched object was read from (RecordSource), and how the platform's own files reach into objects
// (ObjectAccess).
#ifndef EXAMPLE_PLATFORM_CONTENTS_H_
#define EXAMPLE_PLATFORM_CONTENTS_H_

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "tavconfigstore/object.h"
#include "tavconfigstore/object_id.h"

namespace Example {

using Value = std::variant<std::string, long long>;
using Values = std::map<std::string, Value>;

struct SubRecord {
  TavConfigStore::SubObjectId id;
  Values values;
};

struct Record {
  TavConfigStore::ConfigStoreObjectId id;
  Values values;
  std::vector<SubRecord> subRecords;
};

using Records = std::vector<Record>;  // in the order of their first write

}  // namespace Example

namespace TavConfigStore {

struct ObjectContents {
  ConfigStoreObjectId id{"", "", ""};
  Example::Values values;
  // Shared: what a caller sets on a sub-object belongs to the object.
  std::vector<std::pair<SubObjectId, std::shared_ptr<ConfigStoreSubObject>>> subObjects;
};

class RecordSource {
 public:
  explicit RecordSource(Example::Records records) : records_(std::move(records)) {}
  const Example::Records& records() const { return records_; }

 private:
  Example::Records records_;
};

struct ObjectAccess {
  template <typename Object>
  static ObjectContents& Contents(const Object& object) {
    return *object.contents_;
  }
};

}  // namespace TavConfigStore

#endif  // EXAMPLE_PLATFORM_CONTENTS_H_
