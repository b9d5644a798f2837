// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Objects of the configuration store: named values, and sub-objects that hold named values.
//
// A fetched object is a view of the snapshot that it was read from and keeps that snapshot alive;
// values and sub-objects are decoded when they are asked for. The first change to it takes a copy.
// An object that was made by std::make_shared() can hand out shared pointers to itself; fetched
// ones are held by the pointers that the store returned. Nothing reaches the store before
// ConfigStore::SetObject(). An object is used by one thread at a time; distinct objects are
// independent.
#ifndef TAVCONFIGSTORE_OBJECT_H_
#define TAVCONFIGSTORE_OBJECT_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/export.h"
#include "tavconfigstore/object_id.h"

namespace TavConfigStore {

class ConfigStoreSubObject;
class FilterSpecObject;

// The platform's own, defined in its sources: what a changed or new object holds, and where the
// bytes of a fetched one are.
struct ObjectContents;
class RecordSource;
struct ObjectAccess;

// Where a fetched object is. The block of memory that the object is in holds the pointer to its
// source, and with it keeps the bytes in place.
struct StoredRecord {
  const std::shared_ptr<const RecordSource>* source = nullptr;  // null: not fetched from the store
  std::uint32_t number = 0;                                     // which record of the source
  std::string_view body;  // its bytes, when known; of a sub-object its part of them
};

// A value in place, valid until its object is changed or released.
struct ValueRef {
  // What there is. kAbsent: nothing.
  enum class Type {
    kAbsent,   // no value
    kString,   // a byte string, in `text`
    kInteger,  // a number, in `integer`
  };
  Type type = Type::kAbsent;  // which of the two below holds the value
  std::string_view text;      // of a kString
  long long integer = 0;      // of a kInteger
};

// What every object can be asked.
class PLATFORM_API BaseObject {
 public:
  // The JSON document that the object was read from; null, since this platform keeps none.
  virtual const void* GetJsonDocPtr() const = 0;
  // The value of that name; kAbsent when there is none.
  virtual ValueRef GetValuePtr(const char* key) const = 0;
  // The value that the object's schema gives where the object has none; kAbsent, since objects of
  // this platform have no schema.
  virtual ValueRef GetValuePtrDefault(const char* key) const = 0;

 protected:
  ~BaseObject() = default;
};

// An object whose values can be read.
class PLATFORM_API ReadOnlyObject : public BaseObject {
 public:
  ReadOnlyObject(const ReadOnlyObject&) = delete;
  ReadOnlyObject& operator=(const ReadOnlyObject&) = delete;

  // Copies the value named `key` to `*value` and returns true. Returns false and leaves `*value`
  // as it is when there is none. Raises ConfigStoreException (kWrongType) when the value is of the
  // other type.
  bool GetValue(const char* key, std::string* value) const;
  bool GetValue(const char* key, long long* value) const;

  const void* GetJsonDocPtr() const override;
  ValueRef GetValuePtr(const char* key) const override;
  ValueRef GetValuePtrDefault(const char* key) const override;

 protected:
  // A new object, or one that was fetched.
  explicit ReadOnlyObject(std::unique_ptr<ObjectContents> contents);
  ReadOnlyObject(const std::shared_ptr<const RecordSource>* source, std::uint32_t number,
                 std::string_view body);
  ~ReadOnlyObject();

  StoredRecord stored_;                       // of a fetched object
  std::unique_ptr<ObjectContents> contents_;  // once set, used instead of stored_
};

// An object whose values can be set.
class PLATFORM_API WritableObject : public ReadOnlyObject {
 public:
  // Sets the value named `key`, of either type, in place of one that has the name already.
  void SetValue(const char* key, const std::string& value);
  void SetValue(const char* key, long long value);

 protected:
  // A new object, or one that was fetched.
  explicit WritableObject(std::unique_ptr<ObjectContents> contents);
  WritableObject(const std::shared_ptr<const RecordSource>* source, std::uint32_t number,
                 std::string_view body);
  ~WritableObject();

  // The contents, copied from where they are stored before the first change.
  ObjectContents& MutableContents() {
    if (!contents_) CopyContents();
    return *contents_;
  }

 private:
  void CopyContents();
};

// Selects objects: with an identifier whose instance is empty every object of the kind, otherwise
// the one of that instance. Likewise for sub-objects, where the identifier's key is their name.
class PLATFORM_API FilterSpecObject final : public WritableObject,
                                            public std::enable_shared_from_this<FilterSpecObject> {
 public:
  // A filter for the identifier.
  explicit FilterSpecObject(const ConfigStoreObjectId& id);
  ~FilterSpecObject();

  friend struct ObjectAccess;
};

// A named part of an object, with values of its own.
class PLATFORM_API ConfigStoreSubObject final
    : public WritableObject,
      public std::enable_shared_from_this<ConfigStoreSubObject> {
 public:
  // An empty sub-object, or one that was fetched. Made by the object that it is a part of.
  explicit ConfigStoreSubObject(const SubObjectId& id);
  ConfigStoreSubObject(const std::shared_ptr<const RecordSource>* source, std::uint32_t number,
                       std::string_view body);
  ~ConfigStoreSubObject();

  friend struct ObjectAccess;
};

// A unit of the store, with values and sub-objects.
class PLATFORM_API ConfigStoreObject final
    : public WritableObject,
      public std::enable_shared_from_this<ConfigStoreObject> {
 public:
  // An empty object, for SetObject(), or one that was fetched, as the store makes it.
  explicit ConfigStoreObject(const ConfigStoreObjectId& id);
  ConfigStoreObject(const std::shared_ptr<const RecordSource>* source, std::uint32_t number,
                    std::string_view body);
  ~ConfigStoreObject();

  // The sub-object, for reading; null when there is none.
  std::shared_ptr<const ConfigStoreSubObject> GetSubObject(const SubObjectId& id) const;

  // The sub-object, for writing; one that exists already is returned as it is. What is set on it
  // belongs to this object.
  std::shared_ptr<ConfigStoreSubObject> CreateSubObject(const SubObjectId& id);

  // The sub-objects that the filter selects, in the order of their creation.
  std::vector<std::shared_ptr<const ConfigStoreSubObject>> GetSubObjectInstances(
      const std::shared_ptr<FilterSpecObject>& filter) const;

  friend struct ObjectAccess;
};

}  // namespace TavConfigStore

#endif  // TAVCONFIGSTORE_OBJECT_H_
