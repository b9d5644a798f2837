// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What the recording platform's objects hold, and how its store reaches into them.
#ifndef TESTS_UNIT_RECORDING_CONTENTS_H_
#define TESTS_UNIT_RECORDING_CONTENTS_H_

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "recording/platform.h"
#include "tavconfigstore/object.h"

namespace TavConfigStore {

struct ObjectContents {
  ConfigStoreObjectId id{"", "", ""};
  std::string label;  // how the log calls the object
  Recording::Values values;
  std::vector<std::pair<SubObjectId, std::shared_ptr<ConfigStoreSubObject>>> subObjects;
};

// The state that a fetched object was read from.
class RecordSource {
 public:
  explicit RecordSource(Recording::StoredSet set) : set_(std::move(set)) {}
  const Recording::StoredObject& Record(std::uint32_t number) const { return set_.at(number); }

 private:
  Recording::StoredSet set_;
};

struct ObjectAccess {
  static ObjectContents& Contents(ConfigStoreSubObject& object) { return *object.contents_; }
  static const ObjectContents& Contents(const ConfigStoreSubObject& object) {
    return *object.contents_;
  }
  static const ObjectContents& Contents(const ConfigStoreObject& object) {
    return *object.contents_;
  }
  static const ObjectContents& Contents(const FilterSpecObject& object) {
    return *object.contents_;
  }
};

}  // namespace TavConfigStore

#endif  // TESTS_UNIT_RECORDING_CONTENTS_H_
