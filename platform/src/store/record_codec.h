// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Codec of a stored record's body: an object's values and sub-objects.
//
//   body    u32 number of values, u32 number of sub-objects, values, sub-objects
//   value   u8 type ('s' or 'i'), u32 name length, u32 data length, name, data
//   sub     u32 name length, u32 instance length, u32 part length, name, instance, part
//   part    u32 number of values, u32 0, values
//
// Integers are little-endian; the data of an 'i' value is 8 bytes. Reading checks every length
// against the available bytes and is safe for any bytes.
#ifndef PLATFORM_SRC_STORE_RECORD_CODEC_H_
#define PLATFORM_SRC_STORE_RECORD_CODEC_H_

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "services/bytes.h"
#include "tavconfigstore/object.h"

namespace TavConfigStore {

// Encoded values in a growing buffer.
class EncodedValues {
 public:
  std::uint32_t count() const { return count_; }
  std::string_view bytes() const { return {bytes_.get(), size_}; }

  // Appends uninitialised memory for one more value.
  char* Add(std::size_t size);
  // Removes an encoded value, which must lie in bytes().
  void Remove(std::string_view value);

 private:
  std::uint32_t count_ = 0;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
  std::unique_ptr<char[]> bytes_;
};

// Sets the value of that name, replacing an existing one. Raises kNoSpace if a length exceeds the
// format.
void SetValue(std::string_view name, std::string_view text, EncodedValues* values);
void SetValue(std::string_view name, std::int64_t integer, EncodedValues* values);

// An encoded record: kind, instance and body, concatenated.
struct EncodedRecord {
  std::unique_ptr<char[]> bytes;
  std::size_t size = 0;
  std::size_t kindSize = 0;
  std::size_t keySize = 0;  // of kind and instance together

  std::string_view kind() const { return {bytes.get(), kindSize}; }
  std::string_view instance() const { return {bytes.get() + kindSize, keySize - kindSize}; }
  std::string_view body() const { return {bytes.get() + keySize, size - keySize}; }
};

// Encodes an object. Raises like SetValue().
EncodedRecord EncodeRecord(const ObjectContents& contents);
// Copies a record that is already encoded.
EncodedRecord CopyRecord(std::string_view kind, std::string_view instance, std::string_view body);

inline constexpr std::size_t kBodyHead = 8;
inline constexpr std::size_t kValueHead = 9;
inline constexpr std::size_t kSubObjectHead = 12;

inline constexpr char kStringType = 's';
inline constexpr char kIntegerType = 'i';

struct StoredValue {
  std::string_view name;
  char type = 0;
  std::string_view data;

  bool IsString() const { return type == kStringType; }
};

struct StoredSubObject {
  std::string_view name;
  std::string_view instance;
  std::string_view part;
};

// Raises kCorrupt without a file name, which the snapshot's own checks give.
[[noreturn]] void RaiseMalformedBody();

// Iterates over a body or the part of a sub-object: first values, then sub-objects. Raises kCorrupt
// if the bytes are malformed.
class BodyReader {
 public:
  explicit BodyReader(std::string_view body) : rest_(body) {
    const char* const head = Take(kBodyHead);
    values_ = HostPlatform::LoadInteger<std::uint32_t>(head);
    subObjects_ = HostPlatform::LoadInteger<std::uint32_t>(head + 4);
  }
  explicit BodyReader(const EncodedValues& values)
      : rest_(values.bytes()), values_(values.count()) {}

  // False after the last one.
  bool NextValue(StoredValue* value) {
    if (values_ == 0) return false;
    --values_;
    const char* const head = Take(kValueHead);
    const std::uint64_t nameLength = HostPlatform::LoadInteger<std::uint32_t>(head + 1);
    const std::uint64_t dataLength = HostPlatform::LoadInteger<std::uint32_t>(head + 5);
    const char* const name = Take(nameLength + dataLength);
    value->name = std::string_view(name, HostPlatform::CheckedSize(nameLength));
    value->type = head[0];
    value->data = std::string_view(name + nameLength, HostPlatform::CheckedSize(dataLength));
    return true;
  }
  // False after the last one. Skips unread values.
  bool NextSubObject(StoredSubObject* subObject);
  // Upper bound of the remaining sub-objects, from their count and the remaining bytes.
  std::size_t MostSubObjects() const {
    return std::min<std::size_t>(subObjects_, rest_.size() / kSubObjectHead);
  }
  // Raises kCorrupt if bytes follow the last item.
  void CheckEnd() const;
  // The unread bytes.
  std::string_view rest() const { return rest_; }

 private:
  // Consumes `size` bytes. Sizes are sums of few 32-bit lengths and cannot overflow.
  const char* Take(std::uint64_t size) {
    if (size > rest_.size()) RaiseMalformedBody();
    const char* const taken = rest_.data();
    rest_.remove_prefix(HostPlatform::CheckedSize(size));
    return taken;
  }

  std::string_view rest_;
  std::uint32_t values_ = 0;      // still to be read
  std::uint32_t subObjects_ = 0;  // still to be read
};

// Reads the body from start to end; raises kCorrupt when it is not well-formed.
void CheckBody(std::string_view body);

// The values of a body, still encoded.
EncodedValues CopyValues(std::string_view body);

// The value of that name; kAbsent when there is none.
ValueRef FindValue(std::string_view body, std::string_view name);
ValueRef FindValue(const EncodedValues& values, std::string_view name);

}  // namespace TavConfigStore

#endif  // PLATFORM_SRC_STORE_RECORD_CODEC_H_
