// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Objects: named values and sub-objects. A fetched object is a copy here, which is simple; a
// platform that cares decodes a value when it is asked for.
#include "tavconfigstore/object.h"

#include "contents.h"
#include "tavconfigstore/exception.h"

namespace TavConfigStore {

const std::string kEmptyString;
const std::string sGlobalNamespace = "global";

namespace {

template <typename Type>
bool CopyValue(const ObjectContents& contents, const char* key, Type* value) {
  const auto found = contents.values.find(key);
  if (found == contents.values.end()) return false;
  const Type* const stored = std::get_if<Type>(&found->second);
  if (stored == nullptr) {
    throw ConfigStoreException(std::string(key) + ": the value is of the other type", kWrongType);
  }
  *value = *stored;
  return true;
}

std::unique_ptr<ObjectContents> ContentsFor(const ConfigStoreObjectId& id) {
  auto contents = std::make_unique<ObjectContents>();
  contents->id = id;
  return contents;
}

std::unique_ptr<ObjectContents> ContentsOf(const Example::Record& record) {
  auto contents = ContentsFor(record.id);
  contents->values = record.values;
  for (const Example::SubRecord& sub : record.subRecords) {
    auto object = std::make_shared<ConfigStoreSubObject>(sub.id);
    ObjectAccess::Contents(*object).values = sub.values;
    contents->subObjects.emplace_back(sub.id, std::move(object));
  }
  return contents;
}

bool SameId(const SubObjectId& a, const SubObjectId& b) {
  return a.name == b.name && a.instance == b.instance;
}

}  // namespace

ReadOnlyObject::ReadOnlyObject(std::unique_ptr<ObjectContents> contents)
    : contents_(std::move(contents)) {}
ReadOnlyObject::ReadOnlyObject(const std::shared_ptr<const RecordSource>* source,
                               std::uint32_t number, std::string_view /*body*/)
    : contents_(ContentsOf((*source)->records().at(number))) {}
ReadOnlyObject::~ReadOnlyObject() = default;

bool ReadOnlyObject::GetValue(const char* key, std::string* value) const {
  return CopyValue(*contents_, key, value);
}
bool ReadOnlyObject::GetValue(const char* key, long long* value) const {
  return CopyValue(*contents_, key, value);
}

const void* ReadOnlyObject::GetJsonDocPtr() const {
  return nullptr;
}
ValueRef ReadOnlyObject::GetValuePtrDefault(const char* /*key*/) const {
  return ValueRef();
}
ValueRef ReadOnlyObject::GetValuePtr(const char* key) const {
  const auto found = contents_->values.find(key);
  ValueRef value;
  if (found == contents_->values.end()) return value;
  if (const auto* const text = std::get_if<std::string>(&found->second)) {
    value.type = ValueRef::Type::kString;
    value.text = *text;
  } else {
    value.type = ValueRef::Type::kInteger;
    value.integer = std::get<long long>(found->second);
  }
  return value;
}

WritableObject::WritableObject(std::unique_ptr<ObjectContents> contents)
    : ReadOnlyObject(std::move(contents)) {}
WritableObject::WritableObject(const std::shared_ptr<const RecordSource>* source,
                               std::uint32_t number, std::string_view body)
    : ReadOnlyObject(source, number, body) {}
WritableObject::~WritableObject() = default;

void WritableObject::SetValue(const char* key, const std::string& value) {
  contents_->values[key] = value;
}
void WritableObject::SetValue(const char* key, long long value) {
  contents_->values[key] = value;
}

FilterSpecObject::FilterSpecObject(const ConfigStoreObjectId& id)
    : WritableObject(ContentsFor(id)) {}
FilterSpecObject::~FilterSpecObject() = default;

ConfigStoreSubObject::ConfigStoreSubObject(const SubObjectId& /*id*/)
    : WritableObject(std::make_unique<ObjectContents>()) {}
ConfigStoreSubObject::~ConfigStoreSubObject() = default;

ConfigStoreObject::ConfigStoreObject(const ConfigStoreObjectId& id)
    : WritableObject(ContentsFor(id)) {}
ConfigStoreObject::ConfigStoreObject(const std::shared_ptr<const RecordSource>* source,
                                     std::uint32_t number, std::string_view body)
    : WritableObject(source, number, body) {}
ConfigStoreObject::~ConfigStoreObject() = default;

std::shared_ptr<const ConfigStoreSubObject> ConfigStoreObject::GetSubObject(
    const SubObjectId& id) const {
  for (const auto& [subId, subObject] : contents_->subObjects) {
    if (SameId(subId, id)) return subObject;
  }
  return nullptr;
}

std::shared_ptr<ConfigStoreSubObject> ConfigStoreObject::CreateSubObject(const SubObjectId& id) {
  for (const auto& [subId, subObject] : contents_->subObjects) {
    if (SameId(subId, id)) return subObject;
  }
  return contents_->subObjects.emplace_back(id, std::make_shared<ConfigStoreSubObject>(id)).second;
}

std::vector<std::shared_ptr<const ConfigStoreSubObject>> ConfigStoreObject::GetSubObjectInstances(
    const std::shared_ptr<FilterSpecObject>& filter) const {
  const ConfigStoreObjectId& wanted = ObjectAccess::Contents(*filter).id;
  std::vector<std::shared_ptr<const ConfigStoreSubObject>> selected;
  for (const auto& [id, subObject] : contents_->subObjects) {
    if (id.name != wanted.key) continue;
    if (wanted.instance.empty() || wanted.instance == id.instance) selected.push_back(subObject);
  }
  return selected;
}

}  // namespace TavConfigStore
