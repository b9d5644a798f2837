// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Objects of the recording platform. Making a filter or an object and every operation on one is a
// store call that a test can make fail.
#include "tavconfigstore/object.h"

#include "recording/contents.h"
#include "recording/getters.h"
#include "recording/platform.h"
#include "tavconfigstore/exception.h"

namespace TavConfigStore {

using Recording::Label;
using Recording::LogStoreCall;
using Recording::Quoted;

const std::string kEmptyString;
const std::string sGlobalNamespace = "global";

namespace {

std::unique_ptr<ObjectContents> NewContents(const ConfigStoreObjectId& id) {
  auto contents = std::make_unique<ObjectContents>();
  contents->id = id;
  contents->label = Label(id);
  return contents;
}

std::unique_ptr<ObjectContents> FetchedContents(const RecordSource& source, std::uint32_t number) {
  const Recording::StoredObject& record = source.Record(number);
  auto contents =
      NewContents(ConfigStoreObjectId(record.key, record.group, record.component, record.instance));
  contents->values = record.values;
  for (const auto& [name, instance, values] : record.subObjects) {
    const SubObjectId id(name, instance);
    auto subObject = std::make_shared<ConfigStoreSubObject>(id);
    ObjectAccess::Contents(*subObject).label = contents->label + "." + Label(id);
    ObjectAccess::Contents(*subObject).values = values;
    contents->subObjects.emplace_back(id, std::move(subObject));
  }
  return contents;
}

[[noreturn]] void RaiseWrongType(const std::string& label, const char* key) {
  throw ConfigStoreException(label + " " + key + " is of another type", kWrongType);
}

bool SameId(const SubObjectId& a, const SubObjectId& b) {
  return a.name == b.name && a.instance == b.instance;
}

}  // namespace

ReadOnlyObject::ReadOnlyObject(std::unique_ptr<ObjectContents> contents)
    : contents_(std::move(contents)) {
  ++Recording::ThePlatform().liveObjects;
}

ReadOnlyObject::~ReadOnlyObject() {
  --Recording::ThePlatform().liveObjects;
}

bool ReadOnlyObject::GetValue(const char* key, std::string* value) const {
  const std::string line = "GetValue " + contents_->label + " " + key + ": text";
  if (!value->empty()) Recording::getters.notEmpty.push_back(line);
  LogStoreCall(line);
  const ValueRef found = GetValuePtr(key);
  if (found.type == ValueRef::Type::kAbsent) return Recording::Answer(line, false, value);
  if (found.type != ValueRef::Type::kString) RaiseWrongType(contents_->label, key);
  value->assign(found.text);
  return Recording::Answer(line, true, value);
}

bool ReadOnlyObject::GetValue(const char* key, long long* value) const {
  const std::string line = "GetValue " + contents_->label + " " + key + ": integer";
  if (*value != 0) Recording::getters.notEmpty.push_back(line);
  LogStoreCall(line);
  const ValueRef found = GetValuePtr(key);
  if (found.type == ValueRef::Type::kAbsent) return false;
  if (found.type != ValueRef::Type::kInteger) RaiseWrongType(contents_->label, key);
  *value = found.integer;
  return Recording::Answer(line, true);
}

const void* ReadOnlyObject::GetJsonDocPtr() const {
  return nullptr;
}

ValueRef ReadOnlyObject::GetValuePtr(const char* key) const {
  ValueRef found;
  const auto position = contents_->values.find(key);
  if (position == contents_->values.end()) return found;
  if (const auto* text = std::get_if<std::string>(&position->second)) {
    found.type = ValueRef::Type::kString;
    found.text = *text;
  } else {
    found.type = ValueRef::Type::kInteger;
    found.integer = std::get<long long>(position->second);
  }
  return found;
}

ValueRef ReadOnlyObject::GetValuePtrDefault(const char*) const {
  return ValueRef();
}

WritableObject::WritableObject(std::unique_ptr<ObjectContents> contents)
    : ReadOnlyObject(std::move(contents)) {}

WritableObject::~WritableObject() = default;

void WritableObject::SetValue(const char* key, const std::string& value) {
  LogStoreCall("SetValue " + contents_->label + " " + key + ": " + Quoted(value));
  contents_->values[key] = value;
}

void WritableObject::SetValue(const char* key, long long value) {
  LogStoreCall("SetValue " + contents_->label + " " + key + ": " + std::to_string(value));
  contents_->values[key] = value;
}

FilterSpecObject::FilterSpecObject(const ConfigStoreObjectId& id)
    : WritableObject(NewContents(id)) {
  LogStoreCall("FilterSpecObject " + contents_->label);
}

FilterSpecObject::~FilterSpecObject() = default;

ConfigStoreSubObject::ConfigStoreSubObject(const SubObjectId& id)
    : WritableObject(NewContents(ConfigStoreObjectId(id.name, "", "", id.instance))) {}

ConfigStoreSubObject::~ConfigStoreSubObject() = default;

ConfigStoreObject::ConfigStoreObject(const ConfigStoreObjectId& id)
    : WritableObject(NewContents(id)) {
  LogStoreCall("ConfigStoreObject " + contents_->label);
}

ConfigStoreObject::ConfigStoreObject(const std::shared_ptr<const RecordSource>* source,
                                     std::uint32_t number, std::string_view)
    : WritableObject(FetchedContents(**source, number)) {}

ConfigStoreObject::~ConfigStoreObject() = default;

std::shared_ptr<const ConfigStoreSubObject> ConfigStoreObject::GetSubObject(
    const SubObjectId& id) const {
  LogStoreCall("GetSubObject " + contents_->label + " " + Label(id));
  for (const auto& [existing, subObject] : contents_->subObjects) {
    if (SameId(existing, id)) return subObject;
  }
  return nullptr;
}

std::shared_ptr<ConfigStoreSubObject> ConfigStoreObject::CreateSubObject(const SubObjectId& id) {
  LogStoreCall("CreateSubObject " + contents_->label + " " + Label(id));
  for (const auto& [existing, subObject] : contents_->subObjects) {
    if (SameId(existing, id)) return subObject;
  }
  auto subObject = std::make_shared<ConfigStoreSubObject>(id);
  ObjectAccess::Contents(*subObject).label = contents_->label + "." + Label(id);
  contents_->subObjects.emplace_back(id, subObject);
  return subObject;
}

std::vector<std::shared_ptr<const ConfigStoreSubObject>> ConfigStoreObject::GetSubObjectInstances(
    const std::shared_ptr<FilterSpecObject>& filter) const {
  const ConfigStoreObjectId& wanted = ObjectAccess::Contents(*filter).id;
  LogStoreCall("GetSubObjectInstances " + contents_->label + " " + Label(wanted));
  std::vector<std::shared_ptr<const ConfigStoreSubObject>> selected;
  for (const auto& [id, subObject] : contents_->subObjects) {
    if (id.name != wanted.key) continue;
    if (wanted.instance.empty() || id.instance == wanted.instance) selected.push_back(subObject);
  }
  return selected;
}

}  // namespace TavConfigStore
