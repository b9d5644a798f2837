// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Objects and sub-objects: what is set on them, stored, and read back.
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <utility>

#include "support/host_test.h"

namespace PlatformTest {
namespace {

using namespace TavConfigStore;  // NOLINT(google-build-using-namespace): the error codes

class Objects : public HostTest {
 protected:
  // As a process sees it that was started after the object was stored.
  Object Stored(const Object& object, const std::string& instance = "a") {
    OpenStore()->SetObject(object, 0);
    StartAfresh();
    return OpenStore()->GetObject(IdOf(instance));
  }

  static Object New() { return std::make_shared<ConfigStoreObject>(IdOf("a")); }
};

std::string Text(const ReadOnlyObject& object, const char* key) {
  std::string text = "(untouched)";
  object.GetValue(key, &text);
  return text;
}

long long Number(const ReadOnlyObject& object, const char* key) {
  long long number = -4711;
  object.GetValue(key, &number);
  return number;
}

Filter SubObjects(const std::string& name, const std::string& instance = "") {
  return std::make_shared<FilterSpecObject>(ConfigStoreObjectId(name, "", "", instance));
}

TEST_F(Objects, OneThatWasNeverStoredIsNull) {
  EXPECT_EQ(OpenStore()->GetObject(IdOf("a")), nullptr) << "on a host without a store";
  Put(OpenStore(), "b", "1");
  EXPECT_EQ(OpenStore()->GetObject(IdOf("a")), nullptr);
  EXPECT_EQ(OpenStore()->GetObject(IdOf("b", kOtherKind)), nullptr);
}

TEST_F(Objects, ValuesOfBothTypesComeBackAsTheyWere) {
  const Object object = New();
  object->SetValue("text", "words");
  object->SetValue("empty", "");
  object->SetValue("number", 42LL);
  const Object stored = Stored(object);
  EXPECT_EQ(Text(*stored, "text"), "words");
  EXPECT_EQ(Text(*stored, "empty"), "");
  EXPECT_EQ(Number(*stored, "number"), 42);
}

TEST_F(Objects, IntegersKeepAll64Bits) {
  const Object object = New();
  object->SetValue("smallest", std::numeric_limits<long long>::min());
  object->SetValue("largest", std::numeric_limits<long long>::max());
  object->SetValue("minus one", -1LL);
  object->SetValue("zero", 0LL);
  for (const Object& read : {object, Stored(object)}) {
    EXPECT_EQ(Number(*read, "smallest"), std::numeric_limits<long long>::min());
    EXPECT_EQ(Number(*read, "largest"), std::numeric_limits<long long>::max());
    EXPECT_EQ(Number(*read, "minus one"), -1);
    EXPECT_EQ(Number(*read, "zero"), 0);
  }
}

TEST_F(Objects, MissingValueLeavesTheOutputUntouched) {
  const Object object = New();
  object->SetValue("text", "words");
  for (const Object& read : {object, Stored(object)}) {
    std::string text = "untouched";
    long long number = 7;
    EXPECT_FALSE(read->GetValue("absent", &text));
    EXPECT_FALSE(read->GetValue("absent", &number));
    EXPECT_FALSE(read->GetValue("", &text));
    EXPECT_FALSE(read->GetValue("tex", &text));
    EXPECT_FALSE(read->GetValue("text2", &text));
    EXPECT_EQ(text, "untouched");
    EXPECT_EQ(number, 7);
  }
}

TEST_F(Objects, ValueOfTheOtherTypeIsRaisedAndLeavesTheOutputUntouched) {
  const Object object = New();
  object->SetValue("text", "12");
  object->SetValue("number", 12LL);
  for (const Object& read : {object, Stored(object)}) {
    std::string text = "untouched";
    long long number = 7;
    std::string message;
    EXPECT_EQ(CodeOf([&] { read->GetValue("number", &text); }, &message), kWrongType);
    EXPECT_NE(message.find("number"), std::string::npos) << message;
    EXPECT_EQ(CodeOf([&] { read->GetValue("text", &number); }), kWrongType);
    EXPECT_EQ(text, "untouched");
    EXPECT_EQ(number, 7);
  }
}

TEST_F(Objects, SetValueReplacesAlsoByTheOtherType) {
  const Object object = New();
  object->SetValue("value", "words");
  object->SetValue("value", 5LL);
  EXPECT_EQ(Number(*object, "value"), 5);
  object->SetValue("value", "other words");
  EXPECT_EQ(Text(*Stored(object), "value"), "other words");
}

TEST_F(Objects, ValueWithEmptyNameIsAValueLikeOthers) {
  const Object object = New();
  object->SetValue("", "nameless");
  EXPECT_EQ(Text(*Stored(object), ""), "nameless");
}

TEST_F(Objects, OneWithoutValuesIsStored) {
  const Object stored = Stored(New());
  ASSERT_NE(stored, nullptr);
  EXPECT_EQ(Text(*stored, "text"), "(untouched)");
  EXPECT_EQ(stored->GetSubObject(SubObjectId("part", "1")), nullptr);
}

TEST_F(Objects, EmptyInstanceIsAnInstanceLikeOthers) {
  Put(OpenStore(), "", "nameless");
  Put(OpenStore(), "a", "named");
  EXPECT_EQ(Get(OpenStore(), ""), "nameless");
  EXPECT_EQ(List(OpenStore()), (Texts{"nameless", "named"}));
  Put(OpenStore(), "", "nameless again");
  EXPECT_EQ(List(OpenStore()), (Texts{"nameless again", "named"}));
}

TEST_F(Objects, EveryPartOfTheIdentifierTellsThemApart) {
  const Store store = OpenStore();
  const ConfigStoreObjectId ids[] = {{"k", "g", "c", "i"}, {"K", "g", "c", "i"},
                                     {"k", "G", "c", "i"}, {"k", "g", "C", "i"},
                                     {"k", "g", "c", "I"}, {"g", "k", "c", "i"}};
  for (const ConfigStoreObjectId& id : ids) {
    const auto object = std::make_shared<ConfigStoreObject>(id);
    object->SetValue("all", id.key + id.group + id.component + id.instance);
    store->SetObject(object, 0);
  }
  for (const ConfigStoreObjectId& id : ids) {
    EXPECT_EQ(Text(*OpenStore()->GetObject(id), "all"),
              id.key + id.group + id.component + id.instance);
  }
}

TEST_F(Objects, SetObjectReplacesTheWholeObject) {
  const Object first = New();
  first->SetValue("old", "1");
  first->SetValue("both", "1");
  first->CreateSubObject(SubObjectId("part", "1"))->SetValue("value", "1");
  OpenStore()->SetObject(first, 0);
  const Object second = New();
  second->SetValue("both", "2");
  const Object stored = Stored(second);
  EXPECT_EQ(Text(*stored, "old"), "(untouched)");
  EXPECT_EQ(Text(*stored, "both"), "2");
  EXPECT_EQ(stored->GetSubObject(SubObjectId("part", "1")), nullptr);
}

TEST_F(Objects, NullObjectIsAUsageError) {
  EXPECT_EQ(CodeOf([] { OpenStore()->SetObject(nullptr, 0); }), kUsage);
  const Store store = OpenStore();
  store->BeginTransaction();
  EXPECT_EQ(CodeOf([&] { store->SetObject(nullptr, 0); }), kUsage);
}

TEST_F(Objects, OtherWriteModesAreUsageErrorsAndWriteNothing) {
  for (const std::int32_t mode : {1, -1, 2, std::numeric_limits<std::int32_t>::min()}) {
    EXPECT_EQ(CodeOf([&] { OpenStore()->SetObject(NewObject("a", "1"), mode); }), kUsage) << mode;
  }
  EXPECT_EQ(Get(OpenStore(), "a"), std::nullopt);
}

TEST_F(Objects, SetValueAfterSetObjectDoesNotReachTheStore) {
  const Store store = OpenStore();
  store->BeginTransaction();
  const Object object = NewObject("a", "as stored");
  store->SetObject(object, 0);
  object->SetValue("text", "changed later");
  EXPECT_EQ(Get(store, "a"), "as stored");
  store->CommitTransaction();
  EXPECT_EQ(Get(store, "a"), "as stored");
}

TEST_F(Objects, SetValueOnAFetchedOneDoesNotChangeWhatIsStored) {
  Put(OpenStore(), "a", "stored");
  const Object fetched = OpenStore()->GetObject(IdOf("a"));
  fetched->SetValue("text", "changed");
  EXPECT_EQ(TextOf(fetched), "changed");
  EXPECT_EQ(Get(OpenStore(), "a"), "stored");
}

TEST_F(Objects, SubObjectsComeBackByNameAndInstance) {
  const Object object = New();
  object->CreateSubObject(SubObjectId("part", "1"))->SetValue("value", "one");
  object->CreateSubObject(SubObjectId("part", "2"))->SetValue("value", "two");
  object->CreateSubObject(SubObjectId("piece", "1"))->SetValue("value", 3LL);
  object->CreateSubObject(SubObjectId("", ""))->SetValue("value", "nameless");
  for (const Object& read : {object, Stored(object)}) {
    EXPECT_EQ(Text(*read->GetSubObject(SubObjectId("part", "1")), "value"), "one");
    EXPECT_EQ(Text(*read->GetSubObject(SubObjectId("part", "2")), "value"), "two");
    EXPECT_EQ(Number(*read->GetSubObject(SubObjectId("piece", "1")), "value"), 3);
    EXPECT_EQ(Text(*read->GetSubObject(SubObjectId("", "")), "value"), "nameless");
    EXPECT_EQ(read->GetSubObject(SubObjectId("piece", "2")), nullptr);
    EXPECT_EQ(read->GetSubObject(SubObjectId("part", "")), nullptr);
    EXPECT_EQ(read->GetSubObject(SubObjectId("par", "t1")), nullptr);
  }
}

TEST_F(Objects, CreateSubObjectOfAnExistingOneReturnsThatOne) {
  const Object object = New();
  const auto first = object->CreateSubObject(SubObjectId("part", "1"));
  first->SetValue("value", "kept");
  EXPECT_EQ(object->CreateSubObject(SubObjectId("part", "1")), first);
  const Object stored = Stored(object);
  const auto again = stored->CreateSubObject(SubObjectId("part", "1"));
  EXPECT_EQ(Text(*again, "value"), "kept");
  again->SetValue("more", "added");
  EXPECT_EQ(stored->GetSubObjectInstances(SubObjects("part")).size(), 1U);
  EXPECT_EQ(Text(*stored->GetSubObject(SubObjectId("part", "1")), "more"), "added");
}

TEST_F(Objects, SubObjectFilterSelectsByNameAndInstanceInTheOrderOfCreation) {
  const Object object = New();
  for (const char* instance : {"z", "a", "m", ""}) {
    object->CreateSubObject(SubObjectId("part", instance))->SetValue("value", instance);
    object->CreateSubObject(SubObjectId("piece", instance))->SetValue("value", "another name");
  }
  object->CreateSubObject(SubObjectId("part", "z"));
  for (const Object& read : {object, Stored(object)}) {
    Texts values;
    for (const auto& part : read->GetSubObjectInstances(SubObjects("part"))) {
      values.push_back(Text(*part, "value"));
    }
    EXPECT_EQ(values, (Texts{"z", "a", "m", ""}));
    const auto one = read->GetSubObjectInstances(SubObjects("part", "m"));
    ASSERT_EQ(one.size(), 1U);
    EXPECT_EQ(Text(*one[0], "value"), "m");
    EXPECT_TRUE(read->GetSubObjectInstances(SubObjects("part", "none")).empty());
    EXPECT_TRUE(read->GetSubObjectInstances(SubObjects("none")).empty());
  }
}

TEST_F(Objects, SubObjectFilterThatIsNullOrHasValuesIsAUsageError) {
  const Object object = New();
  const Object stored = Stored(object);
  for (const Object& read : {object, stored}) {
    EXPECT_EQ(CodeOf([&] { read->GetSubObjectInstances(nullptr); }), kUsage);
    const Filter filter = SubObjects("part");
    filter->SetValue("value", "x");
    EXPECT_EQ(CodeOf([&] { read->GetSubObjectInstances(filter); }), kUsage);
  }
}

TEST_F(Objects, FetchedOneIsChangedAndWrittenBackWithItsSubObjects) {
  const Object object = New();
  object->SetValue("kept", "1");
  object->SetValue("changed", "1");
  object->CreateSubObject(SubObjectId("part", "kept"))->SetValue("value", "1");
  object->CreateSubObject(SubObjectId("part", "changed"))->SetValue("value", "1");
  const Object fetched = Stored(object);
  fetched->SetValue("changed", "2");
  fetched->CreateSubObject(SubObjectId("part", "changed"))->SetValue("value", "2");
  fetched->CreateSubObject(SubObjectId("part", "new"))->SetValue("value", "2");
  const Object stored = Stored(fetched);
  EXPECT_EQ(Text(*stored, "kept"), "1");
  EXPECT_EQ(Text(*stored, "changed"), "2");
  EXPECT_EQ(Text(*stored->GetSubObject(SubObjectId("part", "kept")), "value"), "1");
  EXPECT_EQ(Text(*stored->GetSubObject(SubObjectId("part", "changed")), "value"), "2");
  EXPECT_EQ(Text(*stored->GetSubObject(SubObjectId("part", "new")), "value"), "2");
  EXPECT_EQ(stored->GetSubObjectInstances(SubObjects("part")).size(), 3U);
}

TEST_F(Objects, FetchedOneIsWrittenBackUnchanged) {
  const Object object = New();
  object->SetValue("value", "1");
  object->CreateSubObject(SubObjectId("part", "1"))->SetValue("value", "2");
  const Object fetched = Stored(object);
  OpenStore()->DeleteObjects(All());
  const Object stored = Stored(fetched);
  EXPECT_EQ(Text(*stored, "value"), "1");
  EXPECT_EQ(Text(*stored->GetSubObject(SubObjectId("part", "1")), "value"), "2");
}

TEST_F(Objects, OneFetchedWithinATransactionIsWrittenBackInIt) {
  const Store store = OpenStore();
  store->BeginTransaction();
  Put(store, "a", "1");
  const Object fetched = store->GetObject(IdOf("a"));
  fetched->SetValue("more", "2");
  store->SetObject(fetched, 0);
  store->SetObject(store->GetObject(IdOf("a")), 0);
  store->CommitTransaction();
  EXPECT_EQ(Get(store, "a"), "1");
  EXPECT_EQ(Text(*store->GetObject(IdOf("a")), "more"), "2");
}

TEST_F(Objects, ValuesOfOneMebibyteComeBackAsTheyWere) {
  std::string megabyte(1 << 20, '\0');
  for (std::size_t i = 0; i < megabyte.size(); ++i) {
    megabyte[i] = static_cast<char>(i * 2654435761U >> 11);
  }
  const Object object = New();
  object->SetValue("value", megabyte);
  object->CreateSubObject(SubObjectId("part", "1"))->SetValue("value", megabyte + "2");
  const Object stored = Stored(object);
  EXPECT_TRUE(Text(*stored, "value") == megabyte);
  EXPECT_TRUE(Text(*stored->GetSubObject(SubObjectId("part", "1")), "value") == megabyte + "2");
}

// The snapshot is written in pieces of half a megabyte: records end before, at and behind their
// ends.
TEST_F(Objects, RecordsOfAllSizesAroundTheSizeOfAPieceComeBackTogether) {
  const auto valueOf = [](int i) {
    return std::string((512U << 10) - 300 + static_cast<std::size_t>(i), static_cast<char>(i));
  };
  const Store store = OpenStore();
  store->BeginTransaction();
  for (int i = 0; i < 40; ++i)
    Put(store, std::to_string(i), i % 4 == 3 ? "short" : valueOf(8 * i));
  store->CommitTransaction();
  for (int i = 0; i < 40; ++i)
    EXPECT_TRUE(Get(OpenStore(), std::to_string(i)) == (i % 4 == 3 ? "short" : valueOf(8 * i)))
        << i;
}

TEST_F(Objects, ManyValuesAndSubObjectsComeBackAsTheyWere) {
  const Object object = New();
  for (int i = 0; i < 500; ++i) {
    object->SetValue(("value " + std::to_string(i)).c_str(), i * 3LL);
    object->CreateSubObject(SubObjectId("part", std::to_string(i)))->SetValue("value", i * 5LL);
  }
  const Object stored = Stored(object);
  for (int i = 0; i < 500; ++i) {
    EXPECT_EQ(Number(*stored, ("value " + std::to_string(i)).c_str()), i * 3LL);
    EXPECT_EQ(Number(*stored->GetSubObject(SubObjectId("part", std::to_string(i))), "value"),
              i * 5LL);
  }
}

TEST_F(Objects, NoneHasAJsonDocumentOrDefaults) {
  const Object stored = Stored(NewObject("a", "1"));
  EXPECT_EQ(stored->GetJsonDocPtr(), nullptr);
  EXPECT_EQ(stored->GetValuePtrDefault("text").type, ValueRef::Type::kAbsent);
  EXPECT_EQ(stored->GetValuePtr("text").text, "1");
  EXPECT_EQ(stored->GetValuePtr("absent").type, ValueRef::Type::kAbsent);
}

}  // namespace
}  // namespace PlatformTest
