// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What a handle and the objects fetched through it show while the store changes.
#include <gtest/gtest.h>
#include <unistd.h>

#include <utility>
#include <vector>

#include "support/child_process.h"
#include "support/host_test.h"

namespace PlatformTest {
namespace {

using Views = HostTest;

TEST_F(Views, HandleReadsItsStateUntilItsOwnTransaction) {
  Put(OpenStore(), "a", "old");
  const Store store = OpenStore();
  Put(OpenStore(), "a", "new");
  Put(OpenStore(), "b", "new");
  EXPECT_EQ(Get(store, "a"), "old");
  EXPECT_EQ(List(store), Texts{"old"});
  store->BeginTransaction();
  EXPECT_EQ(List(store), (Texts{"new", "new"}));
}

TEST_F(Views, HandleToAHostWithoutStoreStaysEmpty) {
  const Store store = OpenStore();
  Put(OpenStore(), "a", "1");
  EXPECT_EQ(Get(store, "a"), std::nullopt);
  EXPECT_EQ(List(store), Texts{});
  EXPECT_EQ(Get(OpenStore(), "a"), "1");
}

TEST_F(Views, HandleReadsItsOwnCommitAtOnce) {
  const Store store = OpenStore();
  Put(store, "a", "1");
  EXPECT_EQ(Get(store, "a"), "1");
  Put(store, "a", "2");
  EXPECT_EQ(Get(store, "a"), "2");
  store->DeleteObjects(All());
  EXPECT_EQ(Get(store, "a"), std::nullopt);
}

TEST_F(Views, CommitOfAnotherProcessIsSeenByTheNextHandle) {
  Put(OpenStore(), "a", "1");
  EXPECT_EQ(Get(OpenStore(), "a"), "1");
  RunInChild([] { Put(OpenStore(), "a", "2"); });
  EXPECT_EQ(Get(OpenStore(), "a"), "2");
}

TEST_F(Views, FetchedObjectIsUnchangedByLaterCommits) {
  Put(OpenStore(), "a", "old");
  Put(OpenStore(), "b", "old");
  const Store store = OpenStore();
  const Object fetched = store->GetObject(IdOf("a"));
  const auto listed = store->GetObjects(All());
  Put(store, "a", "new");
  store->DeleteObjects(One("b"));
  EXPECT_EQ(TextOf(fetched), "old");
  EXPECT_EQ(TextOf(listed[0]), "old");
  EXPECT_EQ(TextOf(listed[1]), "old");
}

TEST_F(Views, FetchedObjectsOutliveTheirHandleAndTheirSnapshot) {
  const Object object = NewObject("a", "first value");
  object->CreateSubObject(SubObjectId("part", "1"))->SetValue("text", "of a part");
  OpenStore()->SetObject(object, 0);
  Store store = OpenStore();
  const Object fetched = store->GetObject(IdOf("a"));
  const auto part = fetched->GetSubObject(SubObjectId("part", "1"));
  Object within;
  store->BeginTransaction();
  Put(store, "b", "in a transaction");
  within = store->GetObject(IdOf("b"));
  store.reset();
  OpenStore()->DeleteObjects(All());
  StartAfresh();
  std::string text;
  EXPECT_EQ(TextOf(fetched), "first value");
  EXPECT_TRUE(part->GetValue("text", &text));
  EXPECT_EQ(text, "of a part");
  EXPECT_EQ(TextOf(within), "in a transaction");
}

TEST_F(Views, SubObjectOutlivesItsObject) {
  const Object object = NewObject("a", "1");
  object->CreateSubObject(SubObjectId("part", "1"))->SetValue("text", "of a part");
  OpenStore()->SetObject(object, 0);
  const auto part = OpenStore()->GetObject(IdOf("a"))->GetSubObject(SubObjectId("part", "1"));
  OpenStore()->DeleteObjects(All());
  StartAfresh();
  std::string text;
  EXPECT_TRUE(part->GetValue("text", &text));
  EXPECT_EQ(text, "of a part");
}

TEST_F(Views, ObjectFetchedInATransactionOutlivesItsRollBack) {
  const Store store = OpenStore();
  store->BeginTransaction();
  Put(store, "a", "1");
  const Object fetched = store->GetObject(IdOf("a"));
  Put(store, "a", "2");
  EXPECT_EQ(TextOf(fetched), "1") << "an object is unchanged by later writes";
  store->RollbackTransaction();
  EXPECT_EQ(TextOf(fetched), "1");
}

TEST_F(Views, ObjectMayBeWrittenThroughAnotherHandle) {
  Put(OpenStore(), "a", "1");
  const Object fetched = OpenStore()->GetObject(IdOf("a"));
  OpenStore()->DeleteObjects(All());
  OpenStore()->SetObject(fetched, 0);
  EXPECT_EQ(Get(OpenStore(), "a"), "1");
}

TEST_F(Views, AnotherHostDirectoryIsAnotherStore) {
  Put(OpenStore(), "a", "1");
  HostPlatform::UseHostDirectory(temporary_.PathOf("second"));
  EXPECT_EQ(Get(OpenStore(), "a"), std::nullopt);
  Put(OpenStore(), "a", "2");
  HostPlatform::UseHostDirectory(HostPath());
  EXPECT_EQ(Get(OpenStore(), "a"), "1");
  EXPECT_EQ(HostPlatform::HostDirectory(), HostPath());
}

TEST_F(Views, DirectoryMovedAsideTakesItsStoreAlong) {
  Put(OpenStore(), "a", "1");
  ASSERT_EQ(rename(HostPath().c_str(), temporary_.PathOf("moved").c_str()), 0);
  EXPECT_EQ(Get(OpenStore(), "a"), std::nullopt);
  HostPlatform::UseHostDirectory(temporary_.PathOf("moved"));
  EXPECT_EQ(Get(OpenStore(), "a"), "1");
}

}  // namespace
}  // namespace PlatformTest
