// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "support/store_calls.h"

namespace TavConfigStore {

void PrintTo(CSErrorCodes code, std::ostream* out) {
  static constexpr const char* kNames[] = {
      "nothing",  "kBusy",      "kCorrupt", "kNoSpace",     "kPermissionDenied",
      "kIoError", "kWrongType", "kUsage",   "kUnsupported", "kInsecure"};
  *out << kNames[code];
}

}  // namespace TavConfigStore

namespace PlatformTest {
namespace {

constexpr char kComponent[] = "tests";
constexpr char kGroup[] = "platform";
constexpr char kText[] = "text";

}  // namespace

Store OpenStore() {
  return ConfigStore::GetStore(TavConfigStore::sGlobalNamespace);
}

ConfigStoreObjectId IdOf(const std::string& instance, const std::string& kind) {
  return ConfigStoreObjectId(kind, kGroup, kComponent, instance);
}

Filter All(const std::string& kind) {
  return One("", kind);
}

Filter One(const std::string& instance, const std::string& kind) {
  return std::make_shared<FilterSpecObject>(IdOf(instance, kind));
}

Object NewObject(const std::string& instance, const std::string& text, const std::string& kind) {
  const auto object = std::make_shared<ConfigStoreObject>(IdOf(instance, kind));
  object->SetValue(kText, text);
  return object;
}

std::optional<std::string> TextOf(const Object& object) {
  std::string text;
  if (!object || !object->GetValue(kText, &text)) return std::nullopt;
  return text;
}

void Put(const Store& store, const std::string& instance, const std::string& text,
         const std::string& kind) {
  store->SetObject(NewObject(instance, text, kind), 0);
}

std::optional<std::string> Get(const Store& store, const std::string& instance,
                               const std::string& kind) {
  return TextOf(store->GetObject(IdOf(instance, kind)));
}

Texts List(const Store& store, const std::string& kind) {
  Texts texts;
  for (const Object& object : store->GetObjects(All(kind))) {
    texts.push_back(TextOf(object).value_or("(none)"));
  }
  return texts;
}

CSErrorCodes WriteCode(std::string* message) {
  return CodeOf([] { Put(OpenStore(), "written", "text"); }, message);
}

CSErrorCodes OpenCode(std::string* message) {
  return CodeOf([] { OpenStore(); }, message);
}

}  // namespace PlatformTest
