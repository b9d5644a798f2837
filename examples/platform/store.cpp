// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The configuration store: a list of records that a commit replaces as a whole, so that a reader
// sees one committed list or the next.
#include "tavconfigstore/config_store.h"

#include <algorithm>
#include <mutex>
#include <string_view>

#include "contents.h"

namespace TavConfigStore {
namespace {

std::mutex committedMutex;
std::shared_ptr<const RecordSource> committed =  // guarded by committedMutex
    std::make_shared<const RecordSource>(Example::Records());

std::mutex writersMutex;  // held from BeginTransaction() to the transaction's end

std::shared_ptr<const RecordSource> Committed() {
  const std::lock_guard<std::mutex> lock(committedMutex);
  return committed;
}

bool SameKind(const ConfigStoreObjectId& a, const ConfigStoreObjectId& b) {
  return a.key == b.key && a.group == b.group && a.component == b.component;
}
bool SameId(const ConfigStoreObjectId& a, const ConfigStoreObjectId& b) {
  return SameKind(a, b) && a.instance == b.instance;
}
bool Selects(const FilterSpecObject& filter, const ConfigStoreObjectId& id) {
  const ConfigStoreObjectId& wanted = ObjectAccess::Contents(filter).id;
  return SameKind(wanted, id) && (wanted.instance.empty() || wanted.instance == id.instance);
}

Example::Record RecordOf(const ObjectContents& contents) {
  Example::Record record{contents.id, contents.values, {}};
  for (const auto& [id, subObject] : contents.subObjects) {
    record.subRecords.push_back({id, ObjectAccess::Contents(*subObject).values});
  }
  return record;
}

class MemoryStore final : public ConfigStore {
 public:
  std::shared_ptr<ConfigStoreObject> GetObject(const ConfigStoreObjectId& id) override {
    const auto objects = Fetch([&id](const ConfigStoreObjectId& its) { return SameId(its, id); });
    return objects.empty() ? nullptr : objects.front();
  }

  std::vector<std::shared_ptr<ConfigStoreObject>> GetObjects(
      const std::shared_ptr<FilterSpecObject>& filter) override {
    return Fetch([&filter](const ConfigStoreObjectId& its) { return Selects(*filter, its); });
  }

  void SetObject(const std::shared_ptr<ConfigStoreObject>& object,
                 const std::int32_t& /*writeMode*/) override {
    const Example::Record record = RecordOf(ObjectAccess::Contents(*object));
    Change([&record](Example::Records* records) {
      for (Example::Record& existing : *records) {
        if (!SameId(existing.id, record.id)) continue;
        existing = record;
        return;
      }
      records->push_back(record);
    });
  }

  void DeleteObjects(const std::shared_ptr<FilterSpecObject>& filter) override {
    Change([&filter](Example::Records* records) {
      records->erase(std::remove_if(records->begin(), records->end(),
                                    [&filter](const Example::Record& record) {
                                      return Selects(*filter, record.id);
                                    }),
                     records->end());
    });
  }

  void BeginTransaction() override {
    if (writing_.owns_lock()) throw ConfigStoreException("a transaction is open already", kUsage);
    writing_ = std::unique_lock<std::mutex>(writersMutex);
    changed_ = Committed()->records();
  }

  void CommitTransaction() override {
    if (!writing_.owns_lock()) throw ConfigStoreException("no transaction is open", kUsage);
    read_ = std::make_shared<const RecordSource>(std::move(changed_));
    {
      const std::lock_guard<std::mutex> lock(committedMutex);
      committed = read_;
    }
    RollbackTransaction();
  }

  void RollbackTransaction() override {
    changed_.clear();
    if (writing_.owns_lock()) writing_.unlock();
  }

 private:
  template <typename Predicate>
  std::vector<std::shared_ptr<ConfigStoreObject>> Fetch(const Predicate& isWanted) const {
    const std::shared_ptr<const RecordSource> source =
        writing_.owns_lock() ? std::make_shared<const RecordSource>(changed_) : read_;
    std::vector<std::shared_ptr<ConfigStoreObject>> objects;
    for (std::uint32_t i = 0; i < source->records().size(); ++i) {
      if (!isWanted(source->records()[i].id)) continue;
      objects.push_back(std::make_shared<ConfigStoreObject>(&source, i, std::string_view()));
    }
    return objects;
  }

  // Outside a transaction a change is a transaction of its own.
  template <typename Operation>
  void Change(const Operation& operation) {
    const bool own = !writing_.owns_lock();
    if (own) BeginTransaction();
    operation(&changed_);
    if (own) CommitTransaction();
  }

  std::shared_ptr<const RecordSource> read_ = Committed();
  std::unique_lock<std::mutex> writing_;
  Example::Records changed_;  // the transaction's
};

}  // namespace

ConfigStore::~ConfigStore() = default;

std::shared_ptr<ConfigStore> ConfigStore::GetStore(const std::string& /*storeNamespace*/) {
  return std::make_shared<MemoryStore>();
}

}  // namespace TavConfigStore
