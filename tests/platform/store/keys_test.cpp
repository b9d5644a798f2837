// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Identifiers and values of every length and of every byte.
#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "support/host_test.h"

namespace PlatformTest {
namespace {

using Keys = HostTest;

std::string EveryByte() {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte)
    bytes.push_back(static_cast<char>(byte));
  return bytes;
}

// Lengths around what other stores allow, and bytes that text-based formats or this store's key
// encoding (lengths, ':' and ',') could trip over.
std::vector<std::string> HostileStrings() {
  using namespace std::string_literals;  // NOLINT(google-build-using-namespace): embedded NULs
  return {"",
          "x",
          "\0"s,
          "\0\0"s,
          "a\0b"s,
          "a\0"s,
          "a",
          "\xff",
          "\xc3\x28",
          "\xed\xa0\x80",
          "\xf8\x88\x80\x80\x80",
          ":",
          ",",
          "0:,",
          "1:a,",
          "3:a",
          "12",
          "5:tests,",
          "/",
          "\\",
          "\"",
          "'",
          "\n",
          "\r\n",
          " ",
          "..",
          "%s%n",
          EveryByte(),
          std::string(255, 'k'),
          std::string(256, 'k'),
          std::string(511, 'k'),
          std::string(512, 'k'),
          std::string(512, '\0'),
          std::string(65535, 'k'),
          std::string(65536, 'k'),
          std::string(65536, ',')};
}

void SetMarked(const Store& store, const ConfigStoreObjectId& id, const std::string& mark) {
  const auto object = std::make_shared<ConfigStoreObject>(id);
  object->SetValue("text", mark);
  store->SetObject(object, 0);
}

TEST_F(Keys, InstancesOfHostileLengthsAndBytesAreKeptApart) {
  const std::vector<std::string> strings = HostileStrings();
  const Store store = OpenStore();
  store->BeginTransaction();
  Texts marks;
  for (std::size_t i = 0; i < strings.size(); ++i) {
    Put(store, strings[i], std::to_string(i));
    marks.push_back(std::to_string(i));
  }
  for (std::size_t i = 0; i < strings.size(); ++i)
    EXPECT_EQ(Get(store, strings[i]), marks[i]);
  store->CommitTransaction();
  StartAfresh();
  for (std::size_t i = 0; i < strings.size(); ++i)
    EXPECT_EQ(Get(OpenStore(), strings[i]), marks[i]);
  EXPECT_EQ(List(OpenStore()), marks);
}

TEST_F(Keys, EveryPartOfAnIdentifierMayBeHostile) {
  const std::vector<std::string> strings = HostileStrings();
  const Store store = OpenStore();
  store->BeginTransaction();
  for (std::size_t i = 0; i < strings.size(); ++i) {
    SetMarked(store, {strings[i], "group", "component", "i"}, "key " + std::to_string(i));
    SetMarked(store, {"key", strings[i], "component", "i"}, "group " + std::to_string(i));
    SetMarked(store, {"key", "group", strings[i], "i"}, "component " + std::to_string(i));
  }
  store->CommitTransaction();
  StartAfresh();
  const Store reader = OpenStore();
  const auto textOf = [&](const ConfigStoreObjectId& id) { return TextOf(reader->GetObject(id)); };
  const auto kindOf = [&](const ConfigStoreObjectId& id) {
    return reader->GetObjects(std::make_shared<FilterSpecObject>(id)).size();
  };
  for (std::size_t i = 0; i < strings.size(); ++i) {
    EXPECT_EQ(textOf({strings[i], "group", "component", "i"}), "key " + std::to_string(i));
    EXPECT_EQ(textOf({"key", strings[i], "component", "i"}), "group " + std::to_string(i));
    EXPECT_EQ(textOf({"key", "group", strings[i], "i"}), "component " + std::to_string(i));
    EXPECT_EQ(kindOf({strings[i], "group", "component"}), 1U);
    EXPECT_EQ(kindOf({"key", strings[i], "component"}), 1U);
    EXPECT_EQ(kindOf({"key", "group", strings[i]}), 1U);
  }
}

// Identifiers that an encoding without lengths, with other separators or with another order of the
// parts would write alike.
std::vector<ConfigStoreObjectId> CollidingIds() {
  std::vector<ConfigStoreObjectId> ids;
  const std::vector<std::string> parts = {"",     "a",   "aa",   ",",     ":",
                                          "1:a,", "0:,", "1",    "1:",    "1:a,0:,",
                                          "a,",   ",a",  "0:,a", "a,0:,", "1:a,1:a,"};
  for (const std::string& key : parts) {
    for (const std::string& group : parts) {
      for (const std::string& component : {parts[0], parts[1], parts[5], parts[6]}) {
        for (const std::string& instance : {parts[0], parts[1], parts[5], parts[6]}) {
          ids.emplace_back(key, group, component, instance);
        }
      }
    }
  }
  return ids;
}

TEST_F(Keys, CraftedToCollideAreKeptApart) {
  const std::vector<ConfigStoreObjectId> ids = CollidingIds();
  ASSERT_EQ(ids.size(), 15U * 15 * 4 * 4);
  const Store store = OpenStore();
  store->BeginTransaction();
  for (std::size_t i = 0; i < ids.size(); ++i)
    SetMarked(store, ids[i], std::to_string(i));
  store->CommitTransaction();
  StartAfresh();
  const Store reader = OpenStore();
  for (std::size_t i = 0; i < ids.size(); ++i) {
    ASSERT_EQ(TextOf(reader->GetObject(ids[i])), std::to_string(i))
        << ids[i].key << '|' << ids[i].group << '|' << ids[i].component << '|' << ids[i].instance;
  }
}

TEST_F(Keys, CraftedToCollideAreAbsentWhileTheirLookAlikeIsStored) {
  SetMarked(OpenStore(), {"k", "g", "c", "instance"}, "stored");
  const Store store = OpenStore();
  const ConfigStoreObjectId lookAlikes[] = {{"", "", "", "1:c,1:g,1:k,instance"},
                                            {"1:k,instance", "g", "c", ""},
                                            {"k", "g", "c", ""},
                                            {"k", "g", "c", "instanc"},
                                            {"k", "g", "c", "instance2"},
                                            {"k", "g,1:k", "c", "instance"},
                                            {"k,", "g", "c", "instance"},
                                            {"c", "g", "k", "instance"},
                                            {"k", "c", "g", "instance"},
                                            {"ki", "g", "c", "nstance"},
                                            {"k", "", "cg", "instance"},
                                            {"k", "g", "c", std::string("instance\0", 9)}};
  for (const ConfigStoreObjectId& id : lookAlikes) {
    EXPECT_EQ(store->GetObject(id), nullptr)
        << id.key << '|' << id.group << '|' << id.component << '|' << id.instance;
  }
}

TEST_F(Keys, DeletingOneLeavesItsLookAlikes) {
  const Store store = OpenStore();
  store->BeginTransaction();
  for (const std::string& instance : HostileStrings())
    Put(store, instance, "text");
  store->CommitTransaction();
  const std::size_t all = HostileStrings().size();
  std::size_t deleted = 0;
  for (const std::string& instance : HostileStrings()) {
    if (instance.empty()) continue;  // selects all
    store->DeleteObjects(One(instance));
    ++deleted;
    ASSERT_EQ(List(store).size(), all - deleted);
  }
  EXPECT_EQ(Get(store, ""), "text");
}

TEST_F(Keys, ValuesAndSubObjectsMayBeHostileToo) {
  const std::vector<std::string> strings = HostileStrings();
  const auto object = std::make_shared<ConfigStoreObject>(IdOf("a"));
  for (std::size_t i = 0; i < strings.size(); ++i) {
    object->SetValue(std::to_string(i).c_str(), strings[i]);
    const auto part = object->CreateSubObject(SubObjectId("part", strings[i]));
    part->SetValue("text", strings[i]);
    part->SetValue("number", static_cast<long long>(i));
    object->CreateSubObject(SubObjectId(strings[i], "1"))->SetValue("text", strings[i]);
  }
  OpenStore()->SetObject(object, 0);
  StartAfresh();
  const Object stored = OpenStore()->GetObject(IdOf("a"));
  for (std::size_t i = 0; i < strings.size(); ++i) {
    std::string text;
    long long number = -1;
    ASSERT_TRUE(stored->GetValue(std::to_string(i).c_str(), &text));
    EXPECT_TRUE(text == strings[i]) << i;
    const auto part = stored->GetSubObject(SubObjectId("part", strings[i]));
    ASSERT_NE(part, nullptr);
    ASSERT_TRUE(part->GetValue("text", &text) && part->GetValue("number", &number));
    EXPECT_TRUE(text == strings[i] && number == static_cast<long long>(i)) << i;
    ASSERT_TRUE(stored->GetSubObject(SubObjectId(strings[i], "1"))->GetValue("text", &text));
    EXPECT_TRUE(text == strings[i]) << i;
  }
}

TEST_F(Keys, NamesOfValuesMayBeHostileToo) {
  const auto object = std::make_shared<ConfigStoreObject>(IdOf("a"));
  std::set<std::string> names;
  for (const std::string& name : HostileStrings()) {
    if (name.find('\0') == std::string::npos) names.insert(name);  // they end at a NUL
  }
  ASSERT_GT(names.size(), 25U);
  for (const std::string& name : names)
    object->SetValue(name.c_str(), "value of " + name);
  OpenStore()->SetObject(object, 0);
  StartAfresh();
  const Object stored = OpenStore()->GetObject(IdOf("a"));
  for (const std::string& name : names) {
    std::string text;
    ASSERT_TRUE(stored->GetValue(name.c_str(), &text));
    EXPECT_TRUE(text == "value of " + name) << name;
  }
}

}  // namespace
}  // namespace PlatformTest
