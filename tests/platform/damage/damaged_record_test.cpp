// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// One damaged record among good ones: it is told from an absent one and hides no other.
#include <gtest/gtest.h>

#include <string>

#include "damage/damage_test.h"

namespace PlatformTest {
namespace {

using namespace TavConfigStore;  // NOLINT(google-build-using-namespace): the error codes

class DamagedRecord : public DamageTest {
 protected:
  void DamageBeta() { StoreDamaged(SampleWith("text of beta", "text 0f")); }
  // In the record's key; the first place is in the record, the directory names kinds only.
  void DamageKeyOfBeta() { StoreDamaged(SampleWith("beta", "bata")); }

  void StoreDamaged(std::string bytes) {
    damaged_ = std::move(bytes);
    StoreBytes(damaged_);
  }

  // The damaged file is still there, byte for byte, and nothing else was left behind.
  void ExpectUntouched() const {
    EXPECT_TRUE(ReadFile(SnapshotPath()) == damaged_);
    EXPECT_EQ(NamesIn(HostPath()), (Texts{"config-store.cdb", "config-store.lock", "features"}));
  }

  // A list of the kind as a careful caller makes it: records that cannot be read are left out.
  static Texts ListReadable(const std::string& kind) {
    Texts texts;
    for (const Object& object : OpenStore()->GetObjects(All(kind))) {
      CodeOf([&] { texts.push_back(Describe(object)); });
    }
    return texts;
  }

  std::string damaged_;
};

TEST_F(DamagedRecord, IsRaisedWithPathAndReasonWhenItIsRead) {
  DamageBeta();
  std::string message;
  EXPECT_EQ(CodeOf([] { Get(OpenStore(), "beta"); }, &message), kCorrupt);
  EXPECT_NE(message.find(SnapshotPath()), std::string::npos) << message;
  EXPECT_NE(message.find("checksum"), std::string::npos) << message;
  EXPECT_EQ(CodeOf([] { OpenStore()->GetObjects(One("beta")).at(0)->GetValuePtr("text"); }),
            kCorrupt);
}

TEST_F(DamagedRecord, IsRaisedByEveryWayToLookAtIt) {
  DamageBeta();
  const Object damaged = OpenStore()->GetObjects(All()).at(2);
  for (int times = 0; times < 2; ++times) {
    std::string text = "untouched";
    EXPECT_EQ(CodeOf([&] { damaged->GetValue("text", &text); }), kCorrupt);
    EXPECT_EQ(CodeOf([&] { damaged->GetValue("absent", &text); }), kCorrupt);
    EXPECT_EQ(CodeOf([&] { damaged->GetSubObject(SubObjectId("part", "1")); }), kCorrupt);
    EXPECT_EQ(CodeOf([&] { damaged->GetSubObjectInstances(One("", "part")); }), kCorrupt);
    EXPECT_EQ(CodeOf([&] { damaged->CreateSubObject(SubObjectId("part", "1")); }), kCorrupt);
    EXPECT_EQ(CodeOf([&] { damaged->SetValue("text", "new"); }), kCorrupt);
    EXPECT_EQ(CodeOf([&] { OpenStore()->SetObject(damaged, 0); }), kCorrupt);
    EXPECT_EQ(text, "untouched");
  }
  ExpectUntouched();
}

TEST_F(DamagedRecord, HidesNoOther) {
  DamageBeta();
  EXPECT_EQ(ListReadable(kKind),
            (Texts{Describe(sample_.Find(kKind, "alpha")), Describe(sample_.Find(kKind, ""))}));
  EXPECT_EQ(ListReadable(kOtherKind), DescribeAll(sample_, kOtherKind));
  EXPECT_EQ(Get(OpenStore(), "alpha"), "text of alpha");
  EXPECT_EQ(OpenStore()->GetObject(IdOf("absent")), nullptr);
}

TEST_F(DamagedRecord, WithADamagedKeyDoesNotReadAsAbsent) {
  DamageKeyOfBeta();
  EXPECT_EQ(CodeOf([] { OpenStore()->GetObject(IdOf("beta")); }), kCorrupt);
  EXPECT_EQ(CodeOf([] { OpenStore()->GetObjects(One("beta")); }), kCorrupt);
  EXPECT_EQ(OpenStore()->GetObject(IdOf("bata")), nullptr) << "nobody stored this one";
  EXPECT_EQ(OpenStore()->GetObjects(All()).size(), 3U);
  EXPECT_EQ(ListReadable(kKind).size(), 2U);
}

TEST_F(DamagedRecord, IsNeverOverwrittenByAWriteToAnother) {
  DamageBeta();
  EXPECT_EQ(CodeOf([] { Put(OpenStore(), "alpha", "new"); }), kCorrupt);
  EXPECT_EQ(CodeOf([] { Put(OpenStore(), "new", "new"); }), kCorrupt);
  EXPECT_EQ(CodeOf([] { Put(OpenStore(), "alpha", "new", kOtherKind); }), kCorrupt);
  EXPECT_EQ(CodeOf([] { OpenStore()->DeleteObjects(One("alpha")); }), kCorrupt);
  EXPECT_EQ(CodeOf([] { OpenStore()->DeleteObjects(All(kOtherKind)); }), kCorrupt);
  ExpectUntouched();
}

TEST_F(DamagedRecord, FailsTheCommitWhichIsThenRolledBack) {
  DamageBeta();
  const Store store = OpenStore();
  store->BeginTransaction();
  Put(store, "alpha", "new");
  EXPECT_EQ(CodeOf([&] { store->CommitTransaction(); }), kCorrupt);
  EXPECT_EQ(CodeOf([&] { store->CommitTransaction(); }), kCorrupt) << "it is still open";
  store->RollbackTransaction();
  EXPECT_EQ(Get(store, "alpha"), "text of alpha");
  ExpectUntouched();
  HostPlatform::UseLockTimeout(0);
  EXPECT_EQ(CodeOf([&] { store->BeginTransaction(); }), kNothing) << "the lock is free";
}

TEST_F(DamagedRecord, IsHealedByReplacingItsKind) {
  for (const bool key : {false, true}) {
    key ? DamageKeyOfBeta() : DamageBeta();
    const Store store = OpenStore();
    store->BeginTransaction();
    store->DeleteObjects(All());
    Put(store, "beta", "healed");
    store->CommitTransaction();
    EXPECT_EQ(List(OpenStore()), Texts{"healed"});
    EXPECT_EQ(ListReadable(kOtherKind), DescribeAll(sample_, kOtherKind));
    EXPECT_EQ(WriteCode(), kNothing);
  }
}

TEST_F(DamagedRecord, IsHealedByWritingOrDeletingThatObject) {
  DamageBeta();
  Put(OpenStore(), "beta", "healed");
  EXPECT_EQ(ListReadable(kKind).size(), 3U);
  EXPECT_EQ(Get(OpenStore(), "beta"), "healed");
  DamageBeta();
  OpenStore()->DeleteObjects(One("beta"));
  EXPECT_EQ(ListReadable(kKind).size(), 2U);
}

TEST_F(DamagedRecord, WithADamagedKeyIsNotWrittenASecondTime) {
  DamageKeyOfBeta();
  EXPECT_EQ(CodeOf([] { Put(OpenStore(), "beta", "second"); }), kCorrupt);
  EXPECT_EQ(CodeOf([] { OpenStore()->DeleteObjects(One("beta")); }), kCorrupt);
  ExpectUntouched();
}

TEST_F(DamagedRecord, ThatWasGoodWhenItWasMappedIsStillServedToItsReaders) {
  const Object fetched = OpenStore()->GetObject(IdOf("beta"));
  DamageBeta();  // in a new file: the mapped one keeps its bytes
  EXPECT_EQ(TextOf(fetched), "text of beta");
}

}  // namespace
}  // namespace PlatformTest
