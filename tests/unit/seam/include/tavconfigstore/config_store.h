// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A store that logs which objects it is asked for, and has one of each.
#ifndef TAVCONFIGSTORE_CONFIG_STORE_H_
#define TAVCONFIGSTORE_CONFIG_STORE_H_

#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "tavconfigstore/object.h"
#include "tavconfigstore/object_id.h"

namespace Brisk::Lib {

class BriskException : public std::exception {
 public:
  std::shared_ptr<const void> attachment() const { return nullptr; }
  void set_attachment(const std::shared_ptr<const void>&) {}
};

}  // namespace Brisk::Lib

namespace TavConfigStore {

enum CSErrorCodes { kUsage };

// Never raised here; with the members of a platform's.
class ConfigStoreException : public Brisk::Lib::BriskException {
 public:
  ConfigStoreException(const std::string&, CSErrorCodes) {}
  CSErrorCodes code() const { return kUsage; }
};

class ConfigStore {
 public:
  static std::shared_ptr<ConfigStore> GetStore(const std::string&) {
    return std::make_shared<ConfigStore>();
  }
  std::shared_ptr<ConfigStoreObject> GetObject(const ConfigStoreObjectId& id) {
    Seam::log.push_back("get " + id.Text());
    return std::make_shared<ConfigStoreObject>(ConfigStoreObjectId("a", "stored", "one"));
  }
  std::vector<std::shared_ptr<ConfigStoreObject>> GetObjects(
      const std::shared_ptr<FilterSpecObject>&) {
    return {std::make_shared<ConfigStoreObject>(ConfigStoreObjectId("a", "stored", "one"))};
  }
  void SetObject(const std::shared_ptr<ConfigStoreObject>&, const std::int32_t&) {}
  void DeleteObjects(const std::shared_ptr<FilterSpecObject>&) {}
  void BeginTransaction() {}
  void CommitTransaction() {}
  void RollbackTransaction() {}
};

}  // namespace TavConfigStore

#endif  // TAVCONFIGSTORE_CONFIG_STORE_H_
