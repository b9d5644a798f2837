// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Transactions of the configuration store: what becomes of changes, and when.
#include <gtest/gtest.h>

#include <utility>

#include "support/host_test.h"

namespace PlatformTest {
namespace {

using namespace TavConfigStore;  // NOLINT(google-build-using-namespace): the error codes

using Transactions = HostTest;

TEST_F(Transactions, CommittedChangesAreThereForTheNextHandle) {
  const Store store = OpenStore();
  store->BeginTransaction();
  Put(store, "a", "1");
  Put(store, "b", "2");
  store->CommitTransaction();
  EXPECT_EQ(Get(OpenStore(), "a"), "1");
  EXPECT_EQ(Get(OpenStore(), "b"), "2");
}

TEST_F(Transactions, OneThatIsOpenShowsItsOwnChangesToItsHandle) {
  Put(OpenStore(), "stays", "old");
  Put(OpenStore(), "changes", "old");
  Put(OpenStore(), "goes", "old");
  const Store store = OpenStore();
  store->BeginTransaction();
  Put(store, "changes", "new");
  Put(store, "comes", "new");
  store->DeleteObjects(One("goes"));
  EXPECT_EQ(Get(store, "stays"), "old");
  EXPECT_EQ(Get(store, "changes"), "new");
  EXPECT_EQ(Get(store, "comes"), "new");
  EXPECT_EQ(Get(store, "goes"), std::nullopt);
  EXPECT_EQ(List(store), (Texts{"old", "new", "new"}));
  EXPECT_EQ(store->GetObjects(One("changes")).size(), 1U);
  EXPECT_EQ(store->GetObjects(One("goes")).size(), 0U);
}

TEST_F(Transactions, AnotherHandleSeesNothingBeforeTheCommit) {
  Put(OpenStore(), "a", "old");
  const Store writer = OpenStore();
  writer->BeginTransaction();
  Put(writer, "a", "new");
  Put(writer, "b", "new");
  EXPECT_EQ(List(OpenStore()), Texts{"old"});
  writer->CommitTransaction();
  EXPECT_EQ(List(OpenStore()), (Texts{"new", "new"}));
}

TEST_F(Transactions, RolledBackChangesAreGone) {
  Put(OpenStore(), "a", "old");
  const Store store = OpenStore();
  store->BeginTransaction();
  Put(store, "a", "new");
  Put(store, "b", "new");
  store->DeleteObjects(All());
  Put(store, "c", "new");
  store->RollbackTransaction();
  EXPECT_EQ(List(store), Texts{"old"});
  EXPECT_EQ(List(OpenStore()), Texts{"old"});
}

// The transaction read the newest state; the handle does not go back behind it.
TEST_F(Transactions, RollBackLeavesTheHandleWithWhatTheTransactionBeganWith) {
  const Store store = OpenStore();
  Put(OpenStore(), "a", "of another");
  store->BeginTransaction();
  EXPECT_EQ(Get(store, "a"), "of another");
  store->RollbackTransaction();
  EXPECT_EQ(Get(store, "a"), "of another");
}

TEST_F(Transactions, DroppingTheHandleRollsBack) {
  Put(OpenStore(), "a", "old");
  {
    const Store store = OpenStore();
    store->BeginTransaction();
    Put(store, "a", "new");
  }
  EXPECT_EQ(List(OpenStore()), Texts{"old"});
  HostPlatform::UseLockTimeout(0);
  EXPECT_EQ(WriteCode(), kNothing) << "the lock is free again";
}

TEST_F(Transactions, RollBackReleasesTheLock) {
  const Store store = OpenStore();
  store->BeginTransaction();
  HostPlatform::UseLockTimeout(0);
  EXPECT_EQ(WriteCode(), kBusy);
  store->RollbackTransaction();
  EXPECT_EQ(WriteCode(), kNothing);
}

TEST_F(Transactions, CommitReleasesTheLock) {
  const Store store = OpenStore();
  store->BeginTransaction();
  store->CommitTransaction();
  HostPlatform::UseLockTimeout(0);
  EXPECT_EQ(WriteCode(), kNothing);
}

TEST_F(Transactions, SecondBeginOnOneHandleIsAUsageErrorAndKeepsTheFirst) {
  const Store store = OpenStore();
  store->BeginTransaction();
  Put(store, "a", "1");
  EXPECT_EQ(CodeOf([&] { store->BeginTransaction(); }), kUsage);
  Put(store, "b", "2");
  store->CommitTransaction();
  EXPECT_EQ(List(OpenStore()), (Texts{"1", "2"}));
}

TEST_F(Transactions, SecondOneOfTheSameThreadIsBusyAtTheDeadlineInsteadOfADeadlock) {
  const Store first = OpenStore();
  const Store second = OpenStore();
  first->BeginTransaction();
  HostPlatform::UseLockTimeout(50);
  EXPECT_EQ(CodeOf([&] { second->BeginTransaction(); }), kBusy);
  first->RollbackTransaction();
  second->BeginTransaction();
  Put(second, "a", "1");
  second->CommitTransaction();
  EXPECT_EQ(Get(OpenStore(), "a"), "1");
}

TEST_F(Transactions, CommitWithoutBeginIsAUsageError) {
  const Store store = OpenStore();
  EXPECT_EQ(CodeOf([&] { store->CommitTransaction(); }), kUsage);
  store->BeginTransaction();
  store->CommitTransaction();
  EXPECT_EQ(CodeOf([&] { store->CommitTransaction(); }), kUsage) << "it has ended";
}

TEST_F(Transactions, RollBackWithoutBeginDoesNothing) {
  Put(OpenStore(), "a", "1");
  const Store store = OpenStore();
  store->RollbackTransaction();
  store->RollbackTransaction();
  EXPECT_EQ(List(store), Texts{"1"});
}

TEST_F(Transactions, SecondRollBackDoesNothing) {
  const Store store = OpenStore();
  store->BeginTransaction();
  store->RollbackTransaction();
  store->RollbackTransaction();
  Put(store, "a", "1");
  EXPECT_EQ(List(store), Texts{"1"});
}

TEST_F(Transactions, OneHandleHasOneAfterTheOther) {
  const Store store = OpenStore();
  for (int i = 0; i < 5; ++i) {
    store->BeginTransaction();
    Put(store, "commits", std::to_string(i));
    store->CommitTransaction();
    store->BeginTransaction();
    Put(store, "rolls back", std::to_string(i));
    store->RollbackTransaction();
  }
  EXPECT_EQ(List(store), Texts{"4"});
}

TEST_F(Transactions, EmptyOneCommits) {
  Put(OpenStore(), "a", "1");
  const Store store = OpenStore();
  store->BeginTransaction();
  store->CommitTransaction();
  EXPECT_EQ(List(store), Texts{"1"});
}

TEST_F(Transactions, EmptyOneOnANewHostLeavesAnEmptyStore) {
  const Store store = OpenStore();
  store->BeginTransaction();
  store->CommitTransaction();
  StartAfresh();
  EXPECT_EQ(List(OpenStore()), Texts{});
  EXPECT_EQ(Get(OpenStore(), "a"), std::nullopt);
}

TEST_F(Transactions, WriteOutsideOfOneIsATransactionOfItsOwn) {
  const Store store = OpenStore();
  Put(store, "a", "1");
  EXPECT_EQ(Get(OpenStore(), "a"), "1");
  store->DeleteObjects(One("a"));
  EXPECT_EQ(Get(OpenStore(), "a"), std::nullopt);
  EXPECT_EQ(CodeOf([&] { store->CommitTransaction(); }), kUsage) << "none is left open";
}

TEST_F(Transactions, FailedWriteOutsideOfOneLeavesNoneOpen) {
  const Store holder = OpenStore();
  holder->BeginTransaction();
  HostPlatform::UseLockTimeout(0);
  const Store store = OpenStore();
  EXPECT_EQ(CodeOf([&] { Put(store, "a", "1"); }), kBusy);
  EXPECT_EQ(CodeOf([&] { store->CommitTransaction(); }), kUsage);
  holder->RollbackTransaction();
  Put(store, "a", "2");
  EXPECT_EQ(Get(OpenStore(), "a"), "2");
}

TEST_F(Transactions, BeginReadsTheNewestStateAlsoOnAnOldHandle) {
  const Store old = OpenStore();
  Put(OpenStore(), "a", "1");
  EXPECT_EQ(Get(old, "a"), std::nullopt);
  old->BeginTransaction();
  EXPECT_EQ(Get(old, "a"), "1");
  Put(old, "b", "2");
  old->CommitTransaction();
  EXPECT_EQ(List(OpenStore()), (Texts{"1", "2"})) << "nothing of the other writer is lost";
}

TEST_F(Transactions, WriteOutsideOfOneOnAnOldHandleLosesNothingOfOthers) {
  const Store old = OpenStore();
  Put(OpenStore(), "a", "1");
  Put(old, "b", "2");
  EXPECT_EQ(List(old), (Texts{"1", "2"}));
}

TEST_F(Transactions, SetThenDeleteThenSetWithinOneLeavesTheLast) {
  const Store store = OpenStore();
  store->BeginTransaction();
  Put(store, "a", "1");
  store->DeleteObjects(One("a"));
  EXPECT_EQ(Get(store, "a"), std::nullopt);
  Put(store, "a", "2");
  Put(store, "a", "3");
  store->CommitTransaction();
  EXPECT_EQ(List(OpenStore()), Texts{"3"});
}

TEST_F(Transactions, DeleteAllThenSetWithinOneLeavesOnlyWhatWasSet) {
  Put(OpenStore(), "a", "old");
  Put(OpenStore(), "b", "old");
  const Store store = OpenStore();
  store->BeginTransaction();
  Put(store, "c", "before");
  store->DeleteObjects(All());
  EXPECT_EQ(List(store), Texts{});
  Put(store, "b", "new");
  EXPECT_EQ(Get(store, "a"), std::nullopt);
  store->CommitTransaction();
  EXPECT_EQ(List(OpenStore()), Texts{"new"});
}

TEST_F(Transactions, UnknownNamespaceIsAUsageError) {
  EXPECT_EQ(CodeOf([] { ConfigStore::GetStore("another"); }), kUsage);
  EXPECT_EQ(CodeOf([] { ConfigStore::GetStore(""); }), kUsage);
  EXPECT_EQ(CodeOf([] { ConfigStore::GetStore(sGlobalNamespace); }), kNothing);
}

}  // namespace
}  // namespace PlatformTest
