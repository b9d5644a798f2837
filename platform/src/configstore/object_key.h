// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Object identifiers as bytes.
//
// The three strings that name a kind, each with its length in front, then the instance as it is:
//   3:tav,7:storage,13:quor_policies,Gold tier
// Whatever bytes the strings hold, two identifiers are written alike only if they are equal, and
// every object of a kind starts with the bytes of the kind.
#ifndef PLATFORM_SRC_CONFIGSTORE_OBJECT_KEY_H_
#define PLATFORM_SRC_CONFIGSTORE_OBJECT_KEY_H_

#include <string>
#include <string_view>

#include "tavconfigstore/object_id.h"

namespace TavConfigStore {

std::string EncodeKind(const ConfigStoreObjectId& id);

// The three strings of an encoded kind; `ok` is false when it is not one.
struct DecodedKind {
  bool ok = false;
  std::string_view component;
  std::string_view group;
  std::string_view key;
};
DecodedKind DecodeKind(std::string_view kind);

}  // namespace TavConfigStore

#endif  // PLATFORM_SRC_CONFIGSTORE_OBJECT_KEY_H_
