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
constexpr std::size_t kBodyHead = 8;
constexpr std::size_t kValueHead = 9;
constexpr std::size_t kSubObjectHead = 12;

void AppendLength(std::size_t length, std::string* bytes) {
  if (length > std::numeric_limits<std::uint32_t>::max()) {
    throw ConfigStoreException("the configuration store holds no value of 4 GiB or more", kNoSpace);
  }
  AppendInteger(static_cast<std::uint32_t>(length), bytes);
}

void AppendValue(const NamedValue& named, std::string* bytes) {
  const auto* const text = std::get_if<std::string>(&named.value);
  bytes->push_back(text != nullptr ? kStringType : kIntegerType);
  AppendLength(named.name.size(), bytes);
  AppendLength(text != nullptr ? text->size() : sizeof(std::int64_t), bytes);
  bytes->append(named.name);
  if (text != nullptr) {
    bytes->append(*text);
  } else {
    AppendInteger(static_cast<std::int64_t>(std::get<long long>(named.value)), bytes);
  }
}

std::size_t SizeOf(const ObjectContents& contents) {
  std::size_t size = kBodyHead;
  for (const NamedValue& named : contents.values) {
    const auto* const text = std::get_if<std::string>(&named.value);
    size +=
        kValueHead + named.name.size() + (text != nullptr ? text->size() : sizeof(std::int64_t));
  }
  for (const auto& subObject : contents.subObjects) {
    const ObjectContents& sub = *ObjectAccess::Contents(*subObject);
    size += kSubObjectHead + sub.name.size() + sub.instance.size() + SizeOf(sub);
  }
  return size;
}

void AppendBody(const ObjectContents& contents, std::string* bytes) {
  AppendLength(contents.values.size(), bytes);
  AppendLength(contents.subObjects.size(), bytes);
  for (const NamedValue& named : contents.values)
    AppendValue(named, bytes);
  for (const auto& subObject : contents.subObjects) {
    const ObjectContents& sub = *ObjectAccess::Contents(*subObject);
    AppendLength(sub.name.size(), bytes);
    AppendLength(sub.instance.size(), bytes);
    AppendLength(SizeOf(sub), bytes);
    bytes->append(sub.name);
    bytes->append(sub.instance);
    AppendBody(sub, bytes);
  }
}

}  // namespace

std::string EncodeBody(const ObjectContents& contents) {
  std::string bytes;
  bytes.reserve(SizeOf(contents));
  AppendBody(contents, &bytes);
  return bytes;
}

void RaiseMalformedBody() {
  RaiseCorrupt("configuration store record", "its lengths do not add up");
}

bool BodyReader::NextValue(StoredValue* value) {
  if (values_ == 0) return false;
  --values_;
  const char* const head = Take(kValueHead);
  const std::uint64_t nameLength = LoadInteger<std::uint32_t>(head + 1);
  const std::uint64_t dataLength = LoadInteger<std::uint32_t>(head + 5);
  const char* const name = Take(nameLength + dataLength);
  const char* const data = name + nameLength;
  value->name = std::string_view(name, nameLength);
  if (head[0] == kStringType) {
    value->value = {ValueRef::Type::kString, std::string_view(data, dataLength), 0};
  } else if (head[0] == kIntegerType && dataLength == sizeof(std::int64_t)) {
    value->value = {ValueRef::Type::kInteger, {}, LoadInteger<std::int64_t>(data)};
  } else {
    RaiseMalformedBody();
  }
  return true;
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

void CheckBody(std::string_view body) {
  BodyReader reader(body);
  StoredSubObject subObject;
  while (reader.NextSubObject(&subObject)) {
    BodyReader part(subObject.part);
    StoredSubObject nested;
    if (part.NextSubObject(&nested)) RaiseMalformedBody();  // sub-objects have none of their own
    part.CheckEnd();
  }
  reader.CheckEnd();
}

ValueRef FindValue(std::string_view body, std::string_view name) {
  BodyReader reader(body);
  for (StoredValue stored; reader.NextValue(&stored);) {
    if (stored.name == name) return stored.value;
  }
  return ValueRef();
}

}  // namespace TavConfigStore
