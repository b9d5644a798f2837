#include "configstore/record_codec.h"

#include <limits>

#include "configstore/failure.h"
#include "configstore/object_contents.h"

namespace TavConfigStore {

using HostPlatform::AppendInteger;
using HostPlatform::LoadInteger;

namespace {

constexpr char kStringType = 's';
constexpr char kIntegerType = 'i';

void StoreLength(std::size_t length, char* bytes) {
  if (length > std::numeric_limits<std::uint32_t>::max()) {
    throw ConfigStoreException("the configuration store holds no value of 4 GiB or more", kNoSpace);
  }
  HostPlatform::StoreInteger(static_cast<std::uint32_t>(length), bytes);
}

constexpr std::size_t kRoomForMoreValues = 120;

// The head and name of a value; `dataSize` bytes are to follow.
void AppendHead(char type, std::string_view name, std::size_t dataSize, std::string* bytes) {
  const std::size_t wanted = bytes->size() + kValueHead + name.size() + dataSize;
  if (wanted > bytes->capacity()) bytes->reserve(wanted + kRoomForMoreValues);
  char head[kValueHead];
  head[0] = type;
  StoreLength(name.size(), head + 1);
  StoreLength(dataSize, head + 5);
  bytes->append(head, sizeof head).append(name);
}

// Takes the value of that name away, if there is one.
void RemoveValue(std::string_view name, EncodedValues* values) {
  BodyReader reader(*values);
  std::size_t start = 0;
  for (StoredValue stored; reader.NextValue(&stored);) {
    const std::size_t end = values->bytes.size() - reader.rest().size();
    if (stored.name == name) {
      values->bytes.erase(start, end - start);
      --values->count;
      return;
    }
    start = end;
  }
}

std::size_t SizeOf(const ObjectContents& contents) {
  std::size_t size = kBodyHead + contents.values.bytes.size();
  for (const auto& subObject : contents.subObjects) {
    const ObjectContents& sub = *ObjectAccess::Contents(*subObject);
    size += kSubObjectHead + sub.name.size() + sub.instance.size() + SizeOf(sub);
  }
  return size;
}

void AppendBody(const ObjectContents& contents, std::string* bytes) {
  char head[kBodyHead];
  StoreLength(contents.values.count, head);
  StoreLength(contents.subObjects.size(), head + 4);
  bytes->append(head, sizeof head).append(contents.values.bytes);
  for (const auto& subObject : contents.subObjects) {
    const ObjectContents& sub = *ObjectAccess::Contents(*subObject);
    char subHead[kSubObjectHead];
    StoreLength(sub.name.size(), subHead);
    StoreLength(sub.instance.size(), subHead + 4);
    StoreLength(SizeOf(sub), subHead + 8);
    bytes->append(subHead, sizeof subHead).append(sub.name).append(sub.instance);
    AppendBody(sub, bytes);
  }
}

}  // namespace

void SetValue(std::string_view name, std::string_view text, EncodedValues* values) {
  RemoveValue(name, values);
  AppendHead(kStringType, name, text.size(), &values->bytes);
  values->bytes.append(text);
  ++values->count;
}

void SetValue(std::string_view name, std::int64_t integer, EncodedValues* values) {
  RemoveValue(name, values);
  AppendHead(kIntegerType, name, sizeof integer, &values->bytes);
  AppendInteger(integer, &values->bytes);
  ++values->count;
}

EncodedRecord EncodeRecord(const ObjectContents& contents) {
  EncodedRecord record;
  record.kindSize = contents.kind.size();
  record.keySize = contents.kind.size() + contents.instance.size();
  record.bytes.reserve(record.keySize + SizeOf(contents));
  record.bytes.append(contents.kind).append(contents.instance);
  AppendBody(contents, &record.bytes);
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
  subObject->name = std::string_view(name, nameLength);
  subObject->instance = std::string_view(name + nameLength, instanceLength);
  subObject->part = std::string_view(name + nameLength + instanceLength, partLength);
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
    if (part.NextSubObject(&nested)) RaiseMalformedBody();  // sub-objects have none of their own
    part.CheckEnd();
  }
  reader.CheckEnd();
}

EncodedValues CopyValues(std::string_view body) {
  BodyReader reader(body);
  const std::string_view all = reader.rest();
  EncodedValues values;
  for (StoredValue stored; reader.NextValue(&stored);)
    ++values.count;
  values.bytes = all.substr(0, all.size() - reader.rest().size());
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
