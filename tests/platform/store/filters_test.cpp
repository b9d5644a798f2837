// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Which objects a filter selects, and in which order they are listed.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "support/host_test.h"

namespace PlatformTest {
namespace {

using namespace TavConfigStore;  // NOLINT(google-build-using-namespace): the error codes

using Filters = HostTest;
using Order = HostTest;

TEST_F(Filters, WithoutInstanceSelectsTheWholeKindAndNoOther) {
  const Store store = OpenStore();
  Put(store, "a", "1");
  Put(store, "b", "2");
  Put(store, "a", "another kind", kOtherKind);
  EXPECT_EQ(List(store), (Texts{"1", "2"}));
  store->DeleteObjects(All());
  EXPECT_EQ(List(store), Texts{});
  EXPECT_EQ(List(store, kOtherKind), Texts{"another kind"});
}

TEST_F(Filters, WithInstanceSelectsThatOne) {
  const Store store = OpenStore();
  Put(store, "a", "1");
  Put(store, "b", "2");
  Put(store, "ab", "3");
  const auto selected = store->GetObjects(One("b"));
  ASSERT_EQ(selected.size(), 1U);
  EXPECT_EQ(TextOf(selected[0]), "2");
  store->DeleteObjects(One("a"));
  EXPECT_EQ(List(store), (Texts{"2", "3"}));
}

TEST_F(Filters, ThatSelectNothingAreNoError) {
  const Store store = OpenStore();
  EXPECT_TRUE(store->GetObjects(All()).empty());
  EXPECT_TRUE(store->GetObjects(One("a")).empty());
  store->DeleteObjects(All());
  store->DeleteObjects(One("a"));
  Put(store, "b", "1");
  EXPECT_TRUE(store->GetObjects(One("a")).empty());
  EXPECT_TRUE(store->GetObjects(All(kOtherKind)).empty());
  store->DeleteObjects(One("a"));
  store->DeleteObjects(All(kOtherKind));
  EXPECT_EQ(List(store), Texts{"1"});
}

TEST_F(Filters, WithoutInstanceSelectOneWithEmptyInstanceToo) {
  const Store store = OpenStore();
  Put(store, "", "nameless");
  Put(store, "a", "named");
  EXPECT_EQ(List(store), (Texts{"nameless", "named"}));
  store->DeleteObjects(All());
  EXPECT_EQ(Get(store, ""), std::nullopt);
}

TEST_F(Filters, WithValuesAreUsageErrorsAndDeleteNothing) {
  const Store store = OpenStore();
  Put(store, "a", "1");
  const Filter filter = All();
  filter->SetValue("text", "1");
  EXPECT_EQ(CodeOf([&] { store->GetObjects(filter); }), kUsage);
  EXPECT_EQ(CodeOf([&] { store->DeleteObjects(filter); }), kUsage);
  EXPECT_EQ(List(store), Texts{"1"});
}

TEST_F(Filters, NullOnesAreUsageErrors) {
  const Store store = OpenStore();
  EXPECT_EQ(CodeOf([&] { store->GetObjects(nullptr); }), kUsage);
  EXPECT_EQ(CodeOf([&] { store->DeleteObjects(nullptr); }), kUsage);
  store->BeginTransaction();
  EXPECT_EQ(CodeOf([&] { store->GetObjects(nullptr); }), kUsage);
  EXPECT_EQ(CodeOf([&] { store->DeleteObjects(nullptr); }), kUsage);
}

TEST_F(Filters, CanBeUsedAgain) {
  const Store store = OpenStore();
  const Filter all = All();
  Put(store, "a", "1");
  EXPECT_EQ(store->GetObjects(all).size(), 1U);
  Put(store, "b", "1");
  EXPECT_EQ(store->GetObjects(all).size(), 2U);
  store->DeleteObjects(all);
  EXPECT_EQ(store->GetObjects(all).size(), 0U);
}

TEST_F(Order, IsThatOfTheFirstWriteWhateverTheNames) {
  const Store store = OpenStore();
  store->BeginTransaction();
  for (const char* instance : {"m", "z", "a", "", "b"})
    Put(store, instance, instance);
  EXPECT_EQ(List(store), (Texts{"m", "z", "a", "", "b"})) << "in the transaction";
  store->CommitTransaction();
  EXPECT_EQ(List(OpenStore()), (Texts{"m", "z", "a", "", "b"}));
}

TEST_F(Order, IsKeptWhenAnObjectIsReplaced) {
  const Store store = OpenStore();
  for (const char* instance : {"c", "b", "a"})
    Put(store, instance, instance);
  Put(store, "c", "c again");
  Put(store, "b", "b again");
  EXPECT_EQ(List(store), (Texts{"c again", "b again", "a"}));
  store->BeginTransaction();
  Put(store, "d", "d");
  Put(store, "e", "e");
  Put(store, "d", "d again");
  Put(store, "c", "c, third");
  store->CommitTransaction();
  EXPECT_EQ(List(store), (Texts{"c, third", "b again", "a", "d again", "e"}));
}

TEST_F(Order, PutsOneThatWasDeletedAndWrittenAgainLast) {
  const Store store = OpenStore();
  for (const char* instance : {"a", "b", "c"})
    Put(store, instance, instance);
  store->DeleteObjects(One("a"));
  Put(store, "a", "a");
  EXPECT_EQ(List(store), (Texts{"b", "c", "a"})) << "across commits";
  store->BeginTransaction();
  store->DeleteObjects(One("b"));
  Put(store, "b", "b");
  Put(store, "d", "d");
  store->DeleteObjects(One("d"));
  Put(store, "e", "e");
  Put(store, "d", "d");
  EXPECT_EQ(List(store), (Texts{"c", "a", "b", "e", "d"}));
  store->CommitTransaction();
  EXPECT_EQ(List(OpenStore()), (Texts{"c", "a", "b", "e", "d"}));
}

TEST_F(Order, StartsAnewWhenTheKindWasReplaced) {
  const Store store = OpenStore();
  for (const char* instance : {"a", "b", "c"})
    Put(store, instance, instance);
  store->BeginTransaction();
  store->DeleteObjects(All());
  for (const char* instance : {"c", "a", "b"})
    Put(store, instance, instance);
  store->CommitTransaction();
  EXPECT_EQ(List(OpenStore()), (Texts{"c", "a", "b"}));
}

TEST_F(Order, OfOneKindDoesNotDependOnOthers) {
  const Store store = OpenStore();
  for (const char* instance : {"b", "a"}) {
    Put(store, instance, instance, kOtherKind);
    Put(store, instance, instance);
  }
  store->BeginTransaction();
  Put(store, "c", "c", kOtherKind);
  store->DeleteObjects(One("b"));
  Put(store, "0", "0", "a new kind");
  Put(store, "c", "c");
  store->CommitTransaction();
  store->DeleteObjects(One("a", kOtherKind));
  Put(store, "b", "b");
  EXPECT_EQ(List(store), (Texts{"a", "c", "b"}));
  EXPECT_EQ(List(store, kOtherKind), (Texts{"b", "c"}));
  EXPECT_EQ(List(store, "a new kind"), Texts{"0"});
}

TEST_F(Order, IsKeptOverManyCommitsAndRestarts) {
  Texts expected;
  for (int i = 0; i < 40; ++i) {
    const std::string instance = std::to_string(i * 7919 % 1000);
    Put(OpenStore(), instance, instance);
    expected.push_back(instance);
    if (i % 5 == 0) StartAfresh();
  }
  EXPECT_EQ(List(OpenStore()), expected);
}

}  // namespace
}  // namespace PlatformTest
