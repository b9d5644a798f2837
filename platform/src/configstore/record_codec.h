// An object's values and sub-objects as bytes: the body of a stored record.
//
//   body    u32 number of values, u32 number of sub-objects, values, sub-objects
//   value   u8 type ('s' or 'i'), u32 name length, u32 data length, name, data
//   sub     u32 name length, u32 instance length, u32 part length, name, instance, part
//   part    u32 number of values, u32 0, values
//
// Integers are little-endian; an 'i' value's data is 8 bytes. Reading checks every length against
// the bytes that are there: whatever they hold, the answer is an item, the end, or an exception.
#ifndef PLATFORM_SRC_CONFIGSTORE_RECORD_CODEC_H_
#define PLATFORM_SRC_CONFIGSTORE_RECORD_CODEC_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "tavconfigstore/object.h"
#include "util/bytes.h"

namespace TavConfigStore {

// The body of what the object holds. Raises kNoSpace when a length does not fit the format.
std::string EncodeBody(const ObjectContents& contents);

struct StoredValue {
  std::string_view name;
  ValueRef value;
};

struct StoredSubObject {
  std::string_view name;
  std::string_view instance;
  std::string_view part;
};

// Raises kCorrupt; the snapshot's own checks name the file.
[[noreturn]] void RaiseMalformedBody();

// Walks a body, or the part of a sub-object: first the values, then the sub-objects. Raises
// kCorrupt when the bytes are no body.
class BodyReader {
 public:
  explicit BodyReader(std::string_view body) : rest_(body) {
    const char* const head = Take(8);
    values_ = HostPlatform::LoadInteger<std::uint32_t>(head);
    subObjects_ = HostPlatform::LoadInteger<std::uint32_t>(head + 4);
  }

  // False after the last one.
  bool NextValue(StoredValue* value);
  // False after the last one. Passes over values that were not read.
  bool NextSubObject(StoredSubObject* subObject);
  // Nothing may follow the last item.
  void CheckEnd() const;

 private:
  // The next `size` bytes. Sizes come from 32-bit lengths, so a sum of some cannot overflow.
  const char* Take(std::uint64_t size) {
    if (size > rest_.size()) RaiseMalformedBody();
    const char* const taken = rest_.data();
    rest_.remove_prefix(size);
    return taken;
  }

  std::string_view rest_;
  std::uint32_t values_ = 0;      // still to be read
  std::uint32_t subObjects_ = 0;  // still to be read
};

// Reads the body from start to end; raises kCorrupt when it is not well-formed.
void CheckBody(std::string_view body);

// The value of that name; kAbsent when there is none.
ValueRef FindValue(std::string_view body, std::string_view name);

}  // namespace TavConfigStore

#endif  // PLATFORM_SRC_CONFIGSTORE_RECORD_CODEC_H_
