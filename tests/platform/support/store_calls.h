// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Short forms of what tests do with the configuration store all the time.
#ifndef TESTS_PLATFORM_SUPPORT_STORE_CALLS_H_
#define TESTS_PLATFORM_SUPPORT_STORE_CALLS_H_

#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "tavconfigstore/config_store.h"

namespace TavConfigStore {

// The name in place of the number in messages of failed tests.
void PrintTo(CSErrorCodes code, std::ostream* out);

}  // namespace TavConfigStore

namespace PlatformTest {

using TavConfigStore::ConfigStore;
using TavConfigStore::ConfigStoreException;
using TavConfigStore::ConfigStoreObject;
using TavConfigStore::ConfigStoreObjectId;
using TavConfigStore::ConfigStoreSubObject;
using TavConfigStore::CSErrorCodes;
using TavConfigStore::FilterSpecObject;
using TavConfigStore::SubObjectId;

using Store = std::shared_ptr<ConfigStore>;
using Object = std::shared_ptr<ConfigStoreObject>;
using Filter = std::shared_ptr<FilterSpecObject>;
using Texts = std::vector<std::string>;

inline constexpr char kKind[] = "volumes";  // the kind of tests that need just one
inline constexpr char kOtherKind[] = "hosts";

Store OpenStore();

ConfigStoreObjectId IdOf(const std::string& instance, const std::string& kind = kKind);
Filter All(const std::string& kind = kKind);
Filter One(const std::string& instance, const std::string& kind = kKind);

// An object that holds one value, "text".
Object NewObject(const std::string& instance, const std::string& text,
                 const std::string& kind = kKind);
// Its text; nothing when the object is null or has none.
std::optional<std::string> TextOf(const Object& object);

void Put(const Store& store, const std::string& instance, const std::string& text,
         const std::string& kind = kKind);
std::optional<std::string> Get(const Store& store, const std::string& instance,
                               const std::string& kind = kKind);
// Texts of all objects of the kind, in the store's order; "(none)" for one without.
Texts List(const Store& store, const std::string& kind = kKind);

// Nothing was raised.
inline constexpr CSErrorCodes kNothing = CSErrorCodes(0);

// The code of the ConfigStoreException that the call raised, or kNothing. Other exceptions pass.
template <typename Call>
CSErrorCodes CodeOf(Call call, std::string* message = nullptr) {
  try {
    call();
  } catch (const ConfigStoreException& failure) {
    if (message != nullptr) *message = failure.what();
    return failure.code();
  }
  return kNothing;
}

// The code that a write in a transaction of its own raises.
CSErrorCodes WriteCode(std::string* message = nullptr);
// The code that opening the store raises.
CSErrorCodes OpenCode(std::string* message = nullptr);

}  // namespace PlatformTest

#endif  // TESTS_PLATFORM_SUPPORT_STORE_CALLS_H_
