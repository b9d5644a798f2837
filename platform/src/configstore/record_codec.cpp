#include "configstore/record_codec.h"

#include <limits>

#include "configstore/failure.h"
#include "configstore/object_contents.h"
#include "util/bytes.h"

namespace TavConfigStore {

using HostPlatform::AppendInteger;
using HostPlatform::LoadInteger;

namespace {

constexpr char kStringType = 's';
constexpr char kIntegerType = 'i';

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
  std::size_t size = 8;
  for (const NamedValue& named : contents.values) {
    const auto* const text = std::get_if<std::string>(&named.value);
    size += 9 + named.name.size() + (text != nullptr ? text->size() : sizeof(std::int64_t));
  }
  for (const auto& subObject : contents.subObjects) {
    const ObjectContents& sub = *ObjectAccess::Contents(*subObject);
    size += 12 + sub.name.size() + sub.instance.size() + SizeOf(sub);
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

// Caught and named with the path by the snapshot; bytes in memory have no other place.
[[noreturn]] void RaiseMalformed() {
  RaiseCorrupt("configuration store record", "its lengths do not add up");
}

}  // namespace

std::string EncodeBody(const ObjectContents& contents) {
  std::string bytes;
  bytes.reserve(SizeOf(contents));
  AppendBody(contents, &bytes);
  return bytes;
}

BodyReader::BodyReader(std::string_view body) : rest_(body) {
  values_ = TakeLength();
  subObjects_ = TakeLength();
}

bool BodyReader::NextValue(StoredValue* value) {
  if (values_ == 0) return false;
  --values_;
  const char type = Take(1)[0];
  const std::uint32_t nameLength = TakeLength();
  const std::uint32_t dataLength = TakeLength();
  value->name = Take(nameLength);
  const std::string_view data = Take(dataLength);
  if (type == kStringType) {
    value->value = {ValueRef::Type::kString, data, 0};
  } else if (type == kIntegerType && dataLength == sizeof(std::int64_t)) {
    value->value = {ValueRef::Type::kInteger, {}, LoadInteger<std::int64_t>(data.data())};
  } else {
    RaiseMalformed();
  }
  return true;
}

bool BodyReader::NextSubObject(StoredSubObject* subObject) {
  for (StoredValue passed; NextValue(&passed);) {
  }
  if (subObjects_ == 0) return false;
  --subObjects_;
  const std::uint32_t nameLength = TakeLength();
  const std::uint32_t instanceLength = TakeLength();
  const std::uint32_t partLength = TakeLength();
  subObject->name = Take(nameLength);
  subObject->instance = Take(instanceLength);
  subObject->part = Take(partLength);
  return true;
}

void BodyReader::CheckEnd() {
  if (!rest_.empty()) RaiseMalformed();
}

std::uint32_t BodyReader::TakeLength() {
  return LoadInteger<std::uint32_t>(Take(sizeof(std::uint32_t)).data());
}

std::string_view BodyReader::Take(std::size_t size) {
  if (size > rest_.size()) RaiseMalformed();
  const std::string_view taken = rest_.substr(0, size);
  rest_.remove_prefix(size);
  return taken;
}

void CheckBody(std::string_view body) {
  BodyReader reader(body);
  StoredSubObject subObject;
  while (reader.NextSubObject(&subObject)) {
    BodyReader part(subObject.part);
    StoredSubObject nested;
    if (part.NextSubObject(&nested)) RaiseMalformed();  // sub-objects have none of their own
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
