// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Objects that log how they were made.
#ifndef TAVCONFIGSTORE_OBJECT_H_
#define TAVCONFIGSTORE_OBJECT_H_

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "seam/host.h"
#include "tavconfigstore/object_id.h"

namespace TavConfigStore {

class Object {
 public:
  // Not called by make_shared(), which gets the memory of object and owners in one piece.
  static void* operator new(std::size_t size) {
    Seam::log.emplace_back("an object has memory of its own");
    return ::operator new(size);
  }
  static void operator delete(void* memory) { ::operator delete(memory); }

  bool GetValue(const char*, std::string*) const { return false; }
  bool GetValue(const char*, long long*) const { return false; }
  void SetValue(const char*, const std::string&) {}
  void SetValue(const char*, long long) {}
};

class FilterSpecObject : public Object, public std::enable_shared_from_this<FilterSpecObject> {
 public:
  explicit FilterSpecObject(const ConfigStoreObjectId& id) {
    Seam::log.push_back("filter " + id.Text());
  }
};

class ConfigStoreObject : public Object, public std::enable_shared_from_this<ConfigStoreObject> {
 public:
  explicit ConfigStoreObject(const ConfigStoreObjectId& id) {
    Seam::log.push_back("object " + id.Text());
  }
  std::shared_ptr<Object> GetSubObject(const SubObjectId& id) const {
    Seam::log.push_back("part " + id.made);
    return nullptr;
  }
  std::shared_ptr<Object> CreateSubObject(const SubObjectId& id) {
    Seam::log.push_back("new part " + id.made);
    return std::make_shared<Object>();
  }
  std::vector<std::shared_ptr<Object>> GetSubObjectInstances(
      const std::shared_ptr<FilterSpecObject>&) const {
    return {};
  }
};

}  // namespace TavConfigStore

#endif  // TAVCONFIGSTORE_OBJECT_H_
