// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The recording platform itself, so far as other tests rely on it.
#include "support/fixture.h"
#include "tavconfigstore/config_store.h"

namespace QuorTest {
namespace {

using TavConfigStore::ConfigStore;
using TavConfigStore::ConfigStoreException;
using TavConfigStore::ConfigStoreObject;
using TavConfigStore::ConfigStoreObjectId;
using TavConfigStore::FilterSpecObject;
using TavConfigStore::sGlobalNamespace;

const ConfigStoreObjectId kOne("key", "group", "component", "one");

class RecordingPlatform : public RecordingTest {
 protected:
  static void Write(ConfigStore& store, const std::string& value) {
    const auto object = std::make_shared<ConfigStoreObject>(kOne);
    object->SetValue("value", value);
    store.SetObject(object, 0);
  }

  static std::string Read(ConfigStore& store) {
    std::string value = "absent";
    const auto object = store.GetObject(kOne);
    if (object) object->GetValue("value", &value);
    return value;
  }
};

TEST_F(RecordingPlatform, ChangesAreSeenByOthersOnlyAfterTheCommit) {
  const auto writer = ConfigStore::GetStore(sGlobalNamespace);
  const auto reader = ConfigStore::GetStore(sGlobalNamespace);
  writer->BeginTransaction();
  Write(*writer, "new");
  EXPECT_EQ(Read(*writer), "new");
  EXPECT_EQ(Read(*reader), "absent");
  writer->CommitTransaction();
  EXPECT_EQ(Read(*reader), "new");
}

TEST_F(RecordingPlatform, RollbackDiscardsChanges) {
  const auto store = ConfigStore::GetStore(sGlobalNamespace);
  Write(*store, "old");
  store->BeginTransaction();
  Write(*store, "new");
  store->DeleteObjects(
      std::make_shared<FilterSpecObject>(ConfigStoreObjectId("key", "group", "component")));
  EXPECT_EQ(Read(*store), "absent");
  store->RollbackTransaction();
  EXPECT_EQ(Read(*store), "old");
}

TEST_F(RecordingPlatform, ReleasedHandleDropsItsTransaction) {
  {
    const auto store = ConfigStore::GetStore(sGlobalNamespace);
    store->BeginTransaction();
    Write(*store, "new");
  }
  EXPECT_EQ(ThePlatform().droppedTransactions, 1);
  EXPECT_EQ(Read(*ConfigStore::GetStore(sGlobalNamespace)), "absent");
}

TEST_F(RecordingPlatform, CommitWithoutATransactionAndASecondBeginAreRefused) {
  const auto store = ConfigStore::GetStore(sGlobalNamespace);
  EXPECT_THROW(store->CommitTransaction(), ConfigStoreException);
  store->BeginTransaction();
  EXPECT_THROW(store->BeginTransaction(), ConfigStoreException);
}

TEST_F(RecordingPlatform, FailedCallHasNoEffect) {
  const auto store = ConfigStore::GetStore(sGlobalNamespace);
  FailCallsOf("SetObject", Failure::kStoreException);
  EXPECT_EQ(Attempt([&] { Write(*store, "new"); }), Unchanged(Failure::kStoreException));
  EXPECT_EQ(Read(*store), "absent");
}

TEST_F(RecordingPlatform, WhatIsAliveIsCounted) {
  const auto store = ConfigStore::GetStore(sGlobalNamespace);
  const auto object = std::make_shared<ConfigStoreObject>(kOne);
  object->CreateSubObject(TavConfigStore::SubObjectId("part", "1"));
  EXPECT_EQ(ThePlatform().liveHandles, 1);
  EXPECT_EQ(ThePlatform().liveObjects, 2);
}

TEST_F(RecordingPlatform, FailuresAreToldApartByTypeMessageCodeAttachmentAndDetail) {
  const Outcome derived = Unchanged(Failure::kDerivedStoreException);
  const Outcome copy = CopyOf(Failure::kDerivedStoreException);
  EXPECT_NE(derived, copy);
  EXPECT_NE(derived.type, "TavConfigStore::ConfigStoreException");
  EXPECT_EQ(derived.attachment, copy.attachment);
  EXPECT_NE(derived.attachment, nullptr);
  EXPECT_EQ(Unchanged(Failure::kStoreException), CopyOf(Failure::kStoreException));
  EXPECT_NE(Unchanged(Failure::kStoreException).code, derived.code);
  EXPECT_EQ(Unchanged(Failure::kBriskException).type, "Brisk::Lib::BriskException");
  EXPECT_EQ(Unchanged(Failure::kBadAlloc).type, "std::bad_alloc");
}

}  // namespace
}  // namespace QuorTest
