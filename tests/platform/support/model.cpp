// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "support/model.h"

#include <algorithm>
#include <memory>

namespace PlatformTest {
namespace {

using namespace std::string_literals;  // NOLINT(google-build-using-namespace): embedded NULs

const std::vector<std::string> kValueNames = {"", "a", "b", "text", "\xff", "1:a,"};
const std::vector<std::string> kPartNames = {"", "part", "1:a,"};
const std::vector<std::string> kPartInstances = {"", "1", "\0"s, "part"};

std::string WithLength(const std::string& text) {
  return std::to_string(text.size()) + ':' + text + ' ';
}

std::string Describe(const std::variant<std::string, long long>& value) {
  const auto* const text = std::get_if<std::string>(&value);
  return text != nullptr ? "text " + WithLength(*text)
                         : "number " + std::to_string(std::get<long long>(value)) + ' ';
}

std::string Describe(const Values& values) {
  std::string text;
  for (const std::string& name : kValueNames) {
    const auto found = values.find(name);
    if (found != values.end()) text += WithLength(name) + Describe(found->second);
  }
  return text;
}

Values ValuesOf(const TavConfigStore::ReadOnlyObject& object) {
  Values values;
  for (const std::string& name : kValueNames) {
    std::string text;
    long long number = 0;
    switch (object.GetValuePtr(name.c_str()).type) {
      case TavConfigStore::ValueRef::Type::kString:
        if (object.GetValue(name.c_str(), &text)) values[name] = text;
        break;
      case TavConfigStore::ValueRef::Type::kInteger:
        if (object.GetValue(name.c_str(), &number)) values[name] = number;
        break;
      case TavConfigStore::ValueRef::Type::kAbsent:
        break;
    }
  }
  return values;
}

std::variant<std::string, long long> RandomValue(Random* random) {
  if (random->OneIn(6)) return static_cast<long long>(random->Number());
  if (random->OneIn(2)) return random->Of(std::vector<std::string>{"", "x", "same", "same\0"s});
  return random->Bytes(random->OneIn(10) ? 5000 : 40);
}

void SetValue(TavConfigStore::WritableObject* object, const std::string& name,
              const std::variant<std::string, long long>& value) {
  std::visit([&](const auto& held) { object->SetValue(name.c_str(), held); }, value);
}

Values RandomValues(Random* random) {
  Values values;
  for (const std::string& name : kValueNames) {
    if (random->OneIn(2)) values[name] = RandomValue(random);
  }
  return values;
}

Values* FindPart(Contents* contents, const std::pair<std::string, std::string>& id) {
  for (auto& [partId, values] : contents->subObjects) {
    if (partId == id) return &values;
  }
  return nullptr;
}

}  // namespace

const std::vector<std::string>& Kinds() {
  static const std::vector<std::string> kinds = {"volumes", "", "1:a,", "\xff\0"s};
  return kinds;
}

const std::vector<std::string>& ValueNames() {
  return kValueNames;
}

const std::vector<std::string>& Instances() {
  static const std::vector<std::string> instances = {
      "",     "a", "b",       "c",  "d",       "e",      "a\0"s,    "\0"s,  "\xff",
      "1:a,", ",", "volumes", "ab", "1:a,0:,", "a b\nc", "6:tests", "long", std::string(300, 'k')};
  return instances;
}

const std::vector<State::Entry>& State::Of(const std::string& kind) const {
  static const std::vector<Entry> none;
  const auto found = kinds_.find(kind);
  return found == kinds_.end() ? none : found->second;
}

const Contents* State::Find(const std::string& kind, const std::string& instance) const {
  for (const auto& [name, contents] : Of(kind)) {
    if (name == instance) return &contents;
  }
  return nullptr;
}

void State::Set(const std::string& kind, const std::string& instance, Contents contents) {
  std::vector<Entry>& entries = kinds_[kind];
  for (auto& [name, stored] : entries) {
    if (name != instance) continue;
    stored = std::move(contents);
    return;
  }
  entries.emplace_back(instance, std::move(contents));
}

void State::Delete(const std::string& kind, const std::string& instance) {
  std::erase_if(kinds_[kind], [&](const Entry& entry) { return entry.first == instance; });
}

Contents RandomContents(Random* random) {
  Contents contents;
  contents.values = RandomValues(random);
  for (std::size_t parts = random->Below(4); parts != 0; --parts) {
    const std::pair id(random->Of(kPartNames), random->Of(kPartInstances));
    if (FindPart(&contents, id) == nullptr) {
      contents.subObjects.emplace_back(id, RandomValues(random));
    }
  }
  return contents;
}

void ChangeAlike(Random* random, ConfigStoreObject* object, Contents* contents) {
  const std::string& name = random->Of(kValueNames);
  const auto value = RandomValue(random);
  if (random->OneIn(2)) {
    SetValue(object, name, value);
    contents->values[name] = value;
    return;
  }
  const std::pair id(random->Of(kPartNames), random->Of(kPartInstances));
  SetValue(object->CreateSubObject(SubObjectId(id.first, id.second)).get(), name, value);
  Values* part = FindPart(contents, id);
  if (part == nullptr) part = &contents->subObjects.emplace_back(id, Values()).second;
  (*part)[name] = value;
}

Object ToObject(const std::string& kind, const std::string& instance, const Contents& contents) {
  const auto object = std::make_shared<ConfigStoreObject>(IdOf(instance, kind));
  for (const auto& [name, value] : contents.values)
    SetValue(object.get(), name, value);
  for (const auto& [id, values] : contents.subObjects) {
    const auto part = object->CreateSubObject(SubObjectId(id.first, id.second));
    for (const auto& [name, value] : values)
      SetValue(part.get(), name, value);
  }
  return object;
}

std::string Describe(const Contents& contents) {
  std::string text = Describe(contents.values);
  for (const std::string& name : kPartNames) {
    for (const auto& [id, values] : contents.subObjects) {
      if (id.first == name) text += "listed " + Describe(values);
    }
    for (const std::string& instance : kPartInstances) {
      for (const auto& [id, values] : contents.subObjects) {
        if (id == std::pair(name, instance)) {
          text += "part " + WithLength(name) + WithLength(instance) + Describe(values);
        }
      }
    }
  }
  return text;
}

std::string Describe(const ConfigStoreObject& object) {
  std::string text = Describe(ValuesOf(object));
  for (const std::string& name : kPartNames) {
    const auto filter = std::make_shared<FilterSpecObject>(ConfigStoreObjectId(name, "", ""));
    for (const auto& part : object.GetSubObjectInstances(filter)) {
      text += "listed " + Describe(ValuesOf(*part));
    }
    for (const std::string& instance : kPartInstances) {
      if (const auto part = object.GetSubObject(SubObjectId(name, instance))) {
        text += "part " + WithLength(name) + WithLength(instance) + Describe(ValuesOf(*part));
      }
    }
  }
  return text;
}

std::string Describe(const Contents* contents) {
  return contents != nullptr ? Describe(*contents) : kAbsent;
}

std::string Describe(const Object& object) {
  return object ? Describe(*object) : kAbsent;
}

Texts DescribeAll(const State& state, const std::string& kind) {
  Texts texts;
  for (const auto& [instance, contents] : state.Of(kind))
    texts.push_back(Describe(contents));
  return texts;
}

Texts DescribeAll(const std::vector<Object>& objects) {
  Texts texts;
  for (const Object& object : objects)
    texts.push_back(Describe(object));
  return texts;
}

}  // namespace PlatformTest
