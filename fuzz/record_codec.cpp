// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Any bytes as body of a record: well-formed or refused, and what is well-formed can be copied
// value by value into an object that reads the same.
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "expect.h"
#include "services/bytes.h"
#include "store/object_contents.h"
#include "store/record_codec.h"
#include "tavconfigstore/exception.h"

namespace {

using Fuzz::Expect;
using namespace TavConfigStore;  // NOLINT(google-build-using-namespace): all of it

bool SameValue(const ValueRef& a, const ValueRef& b) {
  return a.type == b.type && a.text == b.text && a.integer == b.integer;
}

// Takes over what the first value of each name says, as a reader sees it.
void CopyValuesOf(std::string_view body, EncodedValues* copy) {
  BodyReader reader(body);
  for (StoredValue value; reader.NextValue(&value);) {
    const ValueRef found = FindValue(body, value.name);
    if (found.type == ValueRef::Type::kString) SetValue(value.name, found.text, copy);
    if (found.type == ValueRef::Type::kInteger) {
      SetValue(value.name, std::int64_t{found.integer}, copy);
    }
  }
}

void ExpectSameValues(std::string_view body, const EncodedValues& copy) {
  BodyReader reader(body);
  for (StoredValue value; reader.NextValue(&value);) {
    Expect(SameValue(FindValue(body, value.name), FindValue(copy, value.name)),
           "a copied value is the same");
  }
}

void CopyAndCompare(std::string_view body) {
  const EncodedValues whole = CopyValues(body);
  ExpectSameValues(body, whole);
  ObjectContents contents;
  contents.kind = "kind";
  contents.instance = "instance";
  CopyValuesOf(body, &contents.values);
  const EncodedRecord record = EncodeRecord(contents);
  Expect(record.kind() == "kind" && record.instance() == "instance", "the key is as it was given");
  CheckBody(record.body());
  ExpectSameValues(body, contents.values);
  BodyReader reader(body);
  for (StoredSubObject sub; reader.NextSubObject(&sub);)
    CopyAndCompare(sub.part);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  const auto bytes = std::make_unique<char[]>(size);  // a read behind it is noticed
  if (size != 0) std::memcpy(bytes.get(), data, size);
  const std::string_view body(bytes.get(), size);
  try {
    CheckBody(body);
  } catch (const ConfigStoreException&) {
    return 0;
  }
  CopyAndCompare(body);  // raises nothing any more
  return 0;
}
