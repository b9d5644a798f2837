// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "tavconfigstore/object.h"

#include <algorithm>
#include <string>
#include <utility>

#include "errors/store_failure.h"
#include "store/fetched.h"
#include "store/object_batch.h"
#include "store/object_contents.h"
#include "store/object_key.h"
#include "store/record_codec.h"

namespace TavConfigStore {
namespace {

constexpr std::size_t kUsualSubObjects = 4;
constexpr std::size_t kFewSubObjects = 16;  // compared one by one

std::string_view BodyOf(const StoredRecord& stored) {
  return stored.body.data() != nullptr ? stored.body : (*stored.source)->Body(stored.number);
}

bool Selects(const ObjectContents& filter, std::string_view name, std::string_view instance) {
  return filter.name == name && (filter.instance.empty() || filter.instance == instance);
}

std::shared_ptr<ConfigStoreSubObject> FindSubObject(const ObjectContents& contents,
                                                    const SubObjectId& id) {
  const auto& subObjects = contents.subObjects;
  if (contents.indexed != 0 && contents.indexed == subObjects.size()) {
    const auto found = contents.subObjectAt.find({id.name, id.instance});
    return found == contents.subObjectAt.end() ? nullptr : subObjects[found->second];
  }
  for (const auto& subObject : subObjects) {
    const ObjectContents& sub = *ObjectAccess::Contents(*subObject);
    if (sub.name == id.name && sub.instance == id.instance) return subObject;
  }
  return nullptr;
}

void IndexSubObjects(ObjectContents* contents) {
  const auto& subObjects = contents->subObjects;
  if (subObjects.size() <= kFewSubObjects) return;
  for (; contents->indexed < subObjects.size(); ++contents->indexed) {
    const ObjectContents& sub = *ObjectAccess::Contents(*subObjects[contents->indexed]);
    contents->subObjectAt.try_emplace({sub.name, sub.instance}, contents->indexed);
  }
}

}  // namespace

const ObjectContents& ObjectAccess::Contents(const std::shared_ptr<FilterSpecObject>& filter) {
  if (!filter) RaiseUsage("the configuration store was given no filter");
  if (filter->contents_->values.count() != 0) {
    RaiseUsage("the configuration store selects by identifier, not by value");
  }
  return *filter->contents_;
}

// ReadOnlyObject

ReadOnlyObject::ReadOnlyObject(std::unique_ptr<ObjectContents> contents)
    : contents_(std::move(contents)) {}

ReadOnlyObject::ReadOnlyObject(const std::shared_ptr<const RecordSource>* source,
                               std::uint32_t number, std::string_view body)
    : stored_{source, number, body} {}

ReadOnlyObject::~ReadOnlyObject() = default;

bool ReadOnlyObject::GetValue(const char* key, std::string* value) const {
  ValueRef found = ReadOnlyObject::GetValuePtr(key);
  if (found.type == ValueRef::Type::kAbsent) found = GetValuePtrDefault(key);
  if (found.type == ValueRef::Type::kAbsent) return false;
  if (found.type != ValueRef::Type::kString) RaiseWrongType(key, "a string");
  value->assign(found.text);
  return true;
}

bool ReadOnlyObject::GetValue(const char* key, long long* value) const {
  ValueRef found = GetValuePtr(key);
  if (found.type == ValueRef::Type::kAbsent) found = GetValuePtrDefault(key);
  if (found.type == ValueRef::Type::kAbsent) return false;
  if (found.type != ValueRef::Type::kInteger) RaiseWrongType(key, "an integer");
  *value = found.integer;
  return true;
}

const void* ReadOnlyObject::GetJsonDocPtr() const {
  return nullptr;
}

ValueRef ReadOnlyObject::GetValuePtr(const char* key) const {
  return contents_ ? FindValue(contents_->values, key) : FindValue(BodyOf(stored_), key);
}

ValueRef ReadOnlyObject::GetValuePtrDefault(const char*) const {
  return ValueRef();
}

// WritableObject

WritableObject::WritableObject(std::unique_ptr<ObjectContents> contents)
    : ReadOnlyObject(std::move(contents)) {}

WritableObject::WritableObject(const std::shared_ptr<const RecordSource>* source,
                               std::uint32_t number, std::string_view body)
    : ReadOnlyObject(source, number, body) {}

WritableObject::~WritableObject() = default;

void WritableObject::SetValue(const char* key, const std::string& value) {
  TavConfigStore::SetValue(key, value, &MutableContents().values);
}

void WritableObject::SetValue(const char* key, long long value) {
  TavConfigStore::SetValue(key, std::int64_t{value}, &MutableContents().values);
}

// Copy on write: copies a fetched object with its sub-objects before its first change.
void WritableObject::CopyContents() {
  const RecordSource::Record record = (*stored_.source)->Read(stored_.number);
  auto contents = std::make_unique<ObjectContents>(std::string(record.kind), std::string(),
                                                   std::string(record.instance));
  contents->values = CopyValues(record.body);
  BodyReader reader(record.body);
  for (StoredSubObject stored; reader.NextSubObject(&stored);) {
    auto subObject = std::make_shared<ConfigStoreSubObject>(
        SubObjectId(std::string(stored.name), std::string(stored.instance)));
    ObjectAccess::Contents(*subObject)->values = CopyValues(stored.part);
    contents->subObjects.push_back(std::move(subObject));
  }
  contents_ = std::move(contents);
}

// FilterSpecObject

FilterSpecObject::FilterSpecObject(const ConfigStoreObjectId& id)
    : WritableObject(std::make_unique<ObjectContents>(EncodeKind(id), id.key, id.instance)) {}

FilterSpecObject::~FilterSpecObject() = default;

// ConfigStoreSubObject

ConfigStoreSubObject::ConfigStoreSubObject(const SubObjectId& id)
    : WritableObject(std::make_unique<ObjectContents>(std::string(), id.name, id.instance)) {}

ConfigStoreSubObject::ConfigStoreSubObject(const std::shared_ptr<const RecordSource>* source,
                                           std::uint32_t number, std::string_view body)
    : WritableObject(source, number, body) {}

ConfigStoreSubObject::~ConfigStoreSubObject() = default;

// ConfigStoreObject

ConfigStoreObject::ConfigStoreObject(const ConfigStoreObjectId& id)
    : WritableObject(std::make_unique<ObjectContents>(EncodeKind(id), std::string(), id.instance)) {
}

ConfigStoreObject::ConfigStoreObject(const std::shared_ptr<const RecordSource>* source,
                                     std::uint32_t number, std::string_view body)
    : WritableObject(source, number, body) {}

ConfigStoreObject::~ConfigStoreObject() = default;

std::shared_ptr<const ConfigStoreSubObject> ConfigStoreObject::GetSubObject(
    const SubObjectId& id) const {
  if (contents_) return FindSubObject(*contents_, id);
  BodyReader reader(BodyOf(stored_));
  for (StoredSubObject stored; reader.NextSubObject(&stored);) {
    if (stored.name == id.name && stored.instance == id.instance) {
      return Fetch<ConfigStoreSubObject>(*stored_.source, stored_.number, stored.part);
    }
  }
  return nullptr;
}

std::shared_ptr<ConfigStoreSubObject> ConfigStoreObject::CreateSubObject(const SubObjectId& id) {
  ObjectContents& contents = MutableContents();
  IndexSubObjects(&contents);
  if (auto existing = FindSubObject(contents, id)) return existing;
  if (contents.subObjects.empty()) contents.subObjects.reserve(kUsualSubObjects);
  return contents.subObjects.emplace_back(std::make_shared<ConfigStoreSubObject>(id));
}

std::vector<std::shared_ptr<const ConfigStoreSubObject>> ConfigStoreObject::GetSubObjectInstances(
    const std::shared_ptr<FilterSpecObject>& filter) const {
  const ObjectContents& wanted = ObjectAccess::Contents(filter);
  std::vector<std::shared_ptr<const ConfigStoreSubObject>> selected;
  if (contents_) {
    for (const auto& subObject : contents_->subObjects) {
      const ObjectContents& sub = *ObjectAccess::Contents(*subObject);
      if (Selects(wanted, sub.name, sub.instance)) selected.push_back(subObject);
    }
    return selected;
  }
  BodyReader reader(BodyOf(stored_));
  if (reader.MostSubObjects() == 0) return selected;
  ObjectBatch<const ConfigStoreSubObject> batch(*stored_.source, reader.MostSubObjects());
  for (StoredSubObject stored; reader.NextSubObject(&stored);) {
    if (Selects(wanted, stored.name, stored.instance)) batch.Add(stored_.number, stored.part);
  }
  return batch.Share();
}

}  // namespace TavConfigStore
