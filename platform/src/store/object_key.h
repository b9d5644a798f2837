// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Encoding of object identifiers.
//
// The three strings that name a kind, each with its length as prefix, then the instance:
//   3:tav,7:storage,13:quor_policies,Gold tier
// The encoding is injective for any bytes, and every key of a kind has the encoded kind as prefix.
#ifndef PLATFORM_SRC_STORE_OBJECT_KEY_H_
#define PLATFORM_SRC_STORE_OBJECT_KEY_H_

#include <string>
#include <string_view>

#include "tavconfigstore/object_id.h"

namespace TavConfigStore {

std::string EncodeKind(const ConfigStoreObjectId& id);

// The three strings of an encoded kind; `ok` is false for other bytes.
struct DecodedKind {
  bool ok = false;
  std::string_view component;
  std::string_view group;
  std::string_view key;
};
DecodedKind DecodeKind(std::string_view kind);

}  // namespace TavConfigStore

#endif  // PLATFORM_SRC_STORE_OBJECT_KEY_H_
