// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The recording platform's store: a list of objects in memory, replaced as a whole by a commit.
#include <optional>

#include "recording/contents.h"
#include "recording/platform.h"
#include "tavconfigstore/config_store.h"

namespace TavConfigStore {
namespace {

using Recording::Label;
using Recording::LogStoreCall;
using Recording::StoredObject;
using Recording::StoredSet;
using Recording::ThePlatform;

bool SameKind(const StoredObject& object, const ConfigStoreObjectId& id) {
  return object.key == id.key && object.group == id.group && object.component == id.component;
}

bool Selects(const ConfigStoreObjectId& filter, const StoredObject& object) {
  return SameKind(object, filter) &&
         (filter.instance.empty() || filter.instance == object.instance);
}

StoredObject ToStored(const ObjectContents& contents) {
  const ConfigStoreObjectId& id = contents.id;
  StoredObject stored{id.key, id.group, id.component, id.instance, contents.values, {}};
  for (const auto& [subId, subObject] : contents.subObjects) {
    stored.subObjects.push_back(
        {subId.name, subId.instance, ObjectAccess::Contents(*subObject).values});
  }
  return stored;
}

class RecordingStore final : public ConfigStore {
 public:
  RecordingStore() { ++ThePlatform().liveHandles; }

  ~RecordingStore() override {
    if (changed_) ++ThePlatform().droppedTransactions;
    --ThePlatform().liveHandles;
  }

  std::shared_ptr<ConfigStoreObject> GetObject(const ConfigStoreObjectId& id) override {
    LogStoreCall("GetObject " + Label(id));
    const auto source = std::make_shared<const RecordSource>(Current());
    for (std::uint32_t i = 0; i < Current().size(); ++i) {
      const StoredObject& object = Current()[i];
      if (SameKind(object, id) && object.instance == id.instance) return Fetch(source, i);
    }
    return nullptr;
  }

  void SetObject(const std::shared_ptr<ConfigStoreObject>& object,
                 const std::int32_t& writeMode) override {
    const ObjectContents& contents = ObjectAccess::Contents(*object);
    LogStoreCall("SetObject " + contents.label + " writeMode " + std::to_string(writeMode));
    for (StoredObject& existing : Current()) {
      if (!SameKind(existing, contents.id) || existing.instance != contents.id.instance) continue;
      existing = ToStored(contents);
      return;
    }
    Current().push_back(ToStored(contents));
  }

  void DeleteObjects(const std::shared_ptr<FilterSpecObject>& filter) override {
    const ConfigStoreObjectId& id = ObjectAccess::Contents(*filter).id;
    LogStoreCall("DeleteObjects " + Label(id));
    std::erase_if(Current(), [&id](const StoredObject& object) { return Selects(id, object); });
  }

  std::vector<std::shared_ptr<ConfigStoreObject>> GetObjects(
      const std::shared_ptr<FilterSpecObject>& filter) override {
    const ConfigStoreObjectId& id = ObjectAccess::Contents(*filter).id;
    LogStoreCall("GetObjects " + Label(id));
    const auto source = std::make_shared<const RecordSource>(Current());
    std::vector<std::shared_ptr<ConfigStoreObject>> selected;
    for (std::uint32_t i = 0; i < Current().size(); ++i) {
      if (Selects(id, Current()[i])) selected.push_back(Fetch(source, i));
    }
    return selected;
  }

  void BeginTransaction() override {
    LogStoreCall("BeginTransaction");
    if (changed_) throw ConfigStoreException("a transaction is open already", kUsage);
    changed_ = ThePlatform().stored;
  }

  void CommitTransaction() override {
    LogStoreCall("CommitTransaction");
    if (!changed_) throw ConfigStoreException("no transaction is open", kUsage);
    ThePlatform().stored = std::move(*changed_);
    changed_.reset();
  }

  void RollbackTransaction() override {
    LogStoreCall("RollbackTransaction");
    changed_.reset();
  }

 private:
  static std::shared_ptr<ConfigStoreObject> Fetch(const std::shared_ptr<const RecordSource>& source,
                                                  std::uint32_t number) {
    return std::make_shared<ConfigStoreObject>(&source, number, std::string_view());
  }

  // What this handle reads and writes: its own transaction's state, otherwise the committed one.
  StoredSet& Current() { return changed_ ? *changed_ : ThePlatform().stored; }

  std::optional<StoredSet> changed_;
};

}  // namespace

ConfigStore::~ConfigStore() = default;

std::shared_ptr<ConfigStore> ConfigStore::GetStore(const std::string& storeNamespace) {
  LogStoreCall("GetStore " + storeNamespace);
  return std::make_shared<RecordingStore>();
}

}  // namespace TavConfigStore
