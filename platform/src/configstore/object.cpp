#include "tavconfigstore/object.h"

#include <algorithm>
#include <string>
#include <utility>

#include "configstore/failure.h"
#include "configstore/object_contents.h"
#include "configstore/object_key.h"
#include "configstore/record_codec.h"

namespace TavConfigStore {
namespace {

std::unique_ptr<ObjectContents> NewContents(std::string kind, std::string name,
                                            std::string instance) {
  auto contents = std::make_unique<ObjectContents>();
  contents->kind = std::move(kind);
  contents->name = std::move(name);
  contents->instance = std::move(instance);
  return contents;
}

// Of a sub-object its part, otherwise the record's body.
std::string_view BodyOf(const StoredRecord& stored) {
  return stored.part.data() != nullptr ? stored.part : stored.source->Read(stored.number).body;
}

[[noreturn]] void RaiseWrongType(const char* key, const char* wanted) {
  throw ConfigStoreException(std::string("value \"") + key + "\" is not " + wanted, kWrongType);
}

template <typename Value>
void SetNamedValue(ObjectContents& contents, const char* key, const Value& value) {
  for (NamedValue& named : contents.values) {
    if (named.name == key) {
      named.value = value;
      return;
    }
  }
  contents.values.push_back({key, value});
}

void CopyValues(std::string_view body, ObjectContents* contents) {
  BodyReader reader(body);
  for (StoredValue stored; reader.NextValue(&stored);) {
    NamedValue& named = contents->values.emplace_back();
    named.name = stored.name;
    if (stored.value.type == ValueRef::Type::kString) {
      named.value = std::string(stored.value.text);
    } else {
      named.value = stored.value.integer;
    }
  }
}

bool Selects(const ObjectContents& filter, std::string_view name, std::string_view instance) {
  return filter.name == name && (filter.instance.empty() || filter.instance == instance);
}

std::shared_ptr<ConfigStoreSubObject> FindSubObject(const ObjectContents& contents,
                                                    const SubObjectId& id) {
  for (const auto& subObject : contents.subObjects) {
    const ObjectContents& sub = *ObjectAccess::Contents(*subObject);
    if (sub.name == id.name && sub.instance == id.instance) return subObject;
  }
  return nullptr;
}

}  // namespace

const ObjectContents& ObjectAccess::Contents(const std::shared_ptr<FilterSpecObject>& filter) {
  if (!filter) RaiseUsage("the configuration store was given no filter");
  if (!filter->contents_->values.empty()) {
    RaiseUsage("the configuration store selects by identifier, not by value");
  }
  return *filter->contents_;
}

// ReadOnlyObject

ReadOnlyObject::ReadOnlyObject(std::unique_ptr<ObjectContents> contents)
    : contents_(std::move(contents)) {}

ReadOnlyObject::ReadOnlyObject(StoredRecord stored) : stored_(std::move(stored)) {}

ReadOnlyObject::~ReadOnlyObject() = default;

bool ReadOnlyObject::GetValue(const char* key, std::string* value) const {
  ValueRef found = GetValuePtr(key);
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
  if (!contents_) return FindValue(BodyOf(stored_), key);
  for (const NamedValue& named : contents_->values) {
    if (named.name != key) continue;
    if (const auto* text = std::get_if<std::string>(&named.value)) {
      return {ValueRef::Type::kString, *text, 0};
    }
    return {ValueRef::Type::kInteger, {}, std::get<long long>(named.value)};
  }
  return ValueRef();
}

ValueRef ReadOnlyObject::GetValuePtrDefault(const char*) const {
  return ValueRef();
}

// WritableObject

WritableObject::WritableObject(std::unique_ptr<ObjectContents> contents)
    : ReadOnlyObject(std::move(contents)) {}

WritableObject::WritableObject(StoredRecord stored) : ReadOnlyObject(std::move(stored)) {}

WritableObject::~WritableObject() = default;

void WritableObject::SetValue(const char* key, const std::string& value) {
  SetNamedValue(MutableContents(), key, value);
}

void WritableObject::SetValue(const char* key, long long value) {
  SetNamedValue(MutableContents(), key, value);
}

// A fetched object becomes one of its own, sub-objects included, before its first change.
ObjectContents& WritableObject::MutableContents() {
  if (contents_) return *contents_;
  const RecordSource::Record record = stored_.source->Read(stored_.number);
  auto contents = NewContents(std::string(record.kind), {}, std::string(record.instance));
  CopyValues(record.body, contents.get());
  BodyReader reader(record.body);
  for (StoredSubObject stored; reader.NextSubObject(&stored);) {
    auto subObject = std::make_shared<ConfigStoreSubObject>(
        SubObjectId(std::string(stored.name), std::string(stored.instance)));
    CopyValues(stored.part, ObjectAccess::Contents(*subObject));
    contents->subObjects.push_back(std::move(subObject));
  }
  contents_ = std::move(contents);
  return *contents_;
}

// FilterSpecObject

FilterSpecObject::FilterSpecObject(const ConfigStoreObjectId& id)
    : WritableObject(NewContents(EncodeKind(id), id.key, id.instance)) {}

FilterSpecObject::~FilterSpecObject() = default;

// ConfigStoreSubObject

ConfigStoreSubObject::ConfigStoreSubObject(const SubObjectId& id)
    : WritableObject(NewContents({}, id.name, id.instance)) {}

ConfigStoreSubObject::ConfigStoreSubObject(StoredRecord stored)
    : WritableObject(std::move(stored)) {}

ConfigStoreSubObject::~ConfigStoreSubObject() = default;

// ConfigStoreObject

ConfigStoreObject::ConfigStoreObject(const ConfigStoreObjectId& id)
    : WritableObject(NewContents(EncodeKind(id), {}, id.instance)) {}

ConfigStoreObject::ConfigStoreObject(StoredRecord stored) : WritableObject(std::move(stored)) {}

ConfigStoreObject::~ConfigStoreObject() = default;

std::shared_ptr<const ConfigStoreSubObject> ConfigStoreObject::GetSubObject(
    const SubObjectId& id) const {
  if (contents_) return FindSubObject(*contents_, id);
  BodyReader reader(BodyOf(stored_));
  for (StoredSubObject stored; reader.NextSubObject(&stored);) {
    if (stored.name == id.name && stored.instance == id.instance) {
      return std::make_shared<ConfigStoreSubObject>(
          StoredRecord{stored_.source, stored_.number, stored.part});
    }
  }
  return nullptr;
}

std::shared_ptr<ConfigStoreSubObject> ConfigStoreObject::CreateSubObject(const SubObjectId& id) {
  ObjectContents& contents = MutableContents();
  if (auto existing = FindSubObject(contents, id)) return existing;
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
  for (StoredSubObject stored; reader.NextSubObject(&stored);) {
    if (Selects(wanted, stored.name, stored.instance)) {
      selected.push_back(std::make_shared<ConfigStoreSubObject>(
          StoredRecord{stored_.source, stored_.number, stored.part}));
    }
  }
  return selected;
}

}  // namespace TavConfigStore
