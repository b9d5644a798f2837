// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "store/record_codec.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "errors/store_failure.h"
#include "store/object_contents.h"

namespace TavConfigStore {

using HostPlatform::CheckedSize;
using HostPlatform::LoadInteger;
using HostPlatform::PutBytes;

namespace {

constexpr std::size_t kRoomForMoreValues = 120;

[[noreturn]] void RaiseTooLong() {
  throw ConfigStoreException("the configuration store holds no value of 4 GiB or more", kNoSpace);
}

inline void CheckLength(std::size_t length) {
  if (length > std::numeric_limits<std::uint32_t>::max()) RaiseTooLong();
}

inline char* PutLength(std::size_t length, char* at) {
  CheckLength(length);
  return HostPlatform::PutInteger(static_cast<std::uint32_t>(length), at);
}

// Checks both lengths before it adds the value, which would otherwise stay incomplete.
void AppendValue(char type, std::string_view name, std::string_view data, EncodedValues* values) {
  CheckLength(name.size());
  CheckLength(data.size());
  char* at = values->Add(kValueHead + name.size() + data.size());
  *at++ = type;
  at = PutLength(name.size(), at);
  at = PutLength(data.size(), at);
  PutBytes(data, PutBytes(name, at));
}

// Removes an earlier value of that name than the last one.
void RemoveFormerValue(std::string_view name, EncodedValues* values) {
  BodyReader reader(*values);
  const char* start = reader.rest().data();
  StoredValue stored;
  for (std::uint32_t left = values->count(); left > 1 && reader.NextValue(&stored); --left) {
    const char* const end = reader.rest().data();
    if (stored.name == name) return values->Remove({start, static_cast<std::size_t>(end - start)});
    start = end;
  }
}

std::size_t SizeOf(const ObjectContents& contents) {
  std::size_t size = kBodyHead + contents.values.bytes().size();
  for (const auto& subObject : contents.subObjects) {
    const ObjectContents& sub = *ObjectAccess::Contents(*subObject);
    size += kSubObjectHead + sub.name.size() + sub.instance.size() + SizeOf(sub);
  }
  return size;
}

char* PutBody(const ObjectContents& contents, char* at) {
  at = PutLength(contents.values.count(), at);
  at = PutLength(contents.subObjects.size(), at);
  at = PutBytes(contents.values.bytes(), at);
  for (const auto& subObject : contents.subObjects) {
    const ObjectContents& sub = *ObjectAccess::Contents(*subObject);
    at = PutLength(sub.name.size(), at);
    at = PutLength(sub.instance.size(), at);
    at = PutLength(SizeOf(sub), at);
    at = PutBytes(sub.name, at);
    at = PutBytes(sub.instance, at);
    at = PutBody(sub, at);
  }
  return at;
}

// A record with its key; the body is uninitialised.
EncodedRecord NewRecord(std::string_view kind, std::string_view instance, std::size_t bodySize) {
  EncodedRecord record;
  record.kindSize = kind.size();
  record.keySize = kind.size() + instance.size();
  record.size = record.keySize + bodySize;
  record.bytes = std::make_unique_for_overwrite<char[]>(record.size);
  PutBytes(instance, PutBytes(kind, record.bytes.get()));
  return record;
}

}  // namespace

void SetValue(std::string_view name, std::string_view text, EncodedValues* values) {
  AppendValue(kStringType, name, text, values);
  RemoveFormerValue(name, values);
}

void SetValue(std::string_view name, std::int64_t integer, EncodedValues* values) {
  char data[sizeof integer];
  HostPlatform::StoreInteger(integer, data);
  AppendValue(kIntegerType, name, {data, sizeof data}, values);
  RemoveFormerValue(name, values);
}

char* EncodedValues::Add(std::size_t size) {
  if (!bytes_ || size > capacity_ - size_) {
    const std::size_t wanted = size_ + size + std::max(kRoomForMoreValues, size_ / 2);
    auto larger = std::make_unique_for_overwrite<char[]>(wanted);
    PutBytes(bytes(), larger.get());
    bytes_ = std::move(larger);
    capacity_ = wanted;
  }
  char* const added = bytes_.get() + size_;
  size_ += size;
  ++count_;
  return added;
}

void EncodedValues::Remove(std::string_view value) {
  char* const start = bytes_.get() + (value.data() - bytes_.get());
  std::copy(start + value.size(), bytes_.get() + size_, start);
  size_ -= value.size();
  --count_;
}

EncodedRecord EncodeRecord(const ObjectContents& contents) {
  EncodedRecord record = NewRecord(contents.kind, contents.instance, SizeOf(contents));
  PutBody(contents, record.bytes.get() + record.keySize);
  return record;
}

EncodedRecord CopyRecord(std::string_view kind, std::string_view instance, std::string_view body) {
  EncodedRecord record = NewRecord(kind, instance, body.size());
  PutBytes(body, record.bytes.get() + record.keySize);
  return record;
}

void RaiseMalformedBody() {
  RaiseCorrupt("configuration store record", "its lengths do not add up");
}

bool BodyReader::NextSubObject(StoredSubObject* subObject) {
  for (StoredValue passed; NextValue(&passed);) {
  }
  if (subObjects_ == 0) return false;
  --subObjects_;
  const char* const head = Take(kSubObjectHead);
  const std::uint64_t nameLength = LoadInteger<std::uint32_t>(head);
  const std::uint64_t instanceLength = LoadInteger<std::uint32_t>(head + 4);
  const std::uint64_t partLength = LoadInteger<std::uint32_t>(head + 8);
  const char* const name = Take(nameLength + instanceLength + partLength);
  subObject->name = std::string_view(name, CheckedSize(nameLength));
  subObject->instance = std::string_view(name + nameLength, CheckedSize(instanceLength));
  subObject->part = std::string_view(name + nameLength + instanceLength, CheckedSize(partLength));
  return true;
}

void BodyReader::CheckEnd() const {
  if (!rest_.empty()) RaiseMalformedBody();
}

namespace {

ValueRef Decode(const StoredValue& stored) {
  if (stored.type == kStringType) return {ValueRef::Type::kString, stored.data, 0};
  if (stored.type != kIntegerType || stored.data.size() != sizeof(std::int64_t)) {
    RaiseMalformedBody();
  }
  return {ValueRef::Type::kInteger, {}, LoadInteger<std::int64_t>(stored.data.data())};
}

inline ValueRef FindValue(BodyReader* reader, std::string_view name) {
  for (StoredValue stored; reader->NextValue(&stored);) {
    if (stored.name == name) return Decode(stored);
  }
  return ValueRef();
}

void CheckValues(BodyReader* reader) {
  for (StoredValue stored; reader->NextValue(&stored);)
    Decode(stored);
}

}  // namespace

void CheckBody(std::string_view body) {
  BodyReader reader(body);
  CheckValues(&reader);
  for (StoredSubObject subObject; reader.NextSubObject(&subObject);) {
    BodyReader part(subObject.part);
    CheckValues(&part);
    StoredSubObject nested;
    if (part.NextSubObject(&nested)) RaiseMalformedBody();  // sub-objects do not nest
    part.CheckEnd();
  }
  reader.CheckEnd();
}

EncodedValues CopyValues(std::string_view body) {
  BodyReader reader(body);
  EncodedValues values;
  for (StoredValue stored; reader.NextValue(&stored);)
    AppendValue(stored.type, stored.name, stored.data, &values);
  return values;
}

ValueRef FindValue(std::string_view body, std::string_view name) {
  BodyReader reader(body);
  return FindValue(&reader, name);
}

ValueRef FindValue(const EncodedValues& values, std::string_view name) {
  BodyReader reader(values);
  return FindValue(&reader, name);
}

}  // namespace TavConfigStore
