// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Reset in the configuration store.
#include "support/fixture.h"

namespace QuorTest {
namespace {

using TavQuor::QuorLib;

const Lines kWholeReset = {
    "GetStore global",
    "BeginTransaction",
    "FilterSpecObject quor_policies/storage/tav",
    "DeleteObjects quor_policies/storage/tav",
    "FilterSpecObject quor_datastores/storage/tav",
    "DeleteObjects quor_datastores/storage/tav",
    "CommitTransaction",
};

class ResetTest : public RecordingTest {
 protected:
  void SetUp() override {
    RecordingTest::SetUp();
    StoreSample();
  }
};

TEST_F(ResetTest, DeletesPoliciesThenDatastoresInOneTransaction) {
  QuorLib::Reset();
  EXPECT_EQ(ThePlatform().log, kWholeReset);
  EXPECT_EQ(ThePlatform().stored, Recording::StoredSet());
}

TEST_F(ResetTest, EmptyStoreIsResetTheSameWay) {
  ThePlatform().stored.clear();
  QuorLib::Reset();
  EXPECT_EQ(ThePlatform().log, kWholeReset);
}

TEST_F(ResetTest, ObjectsOfOthersAreLeftAlone) {
  Recording::StoredObject other = ThePlatform().stored[0];
  other.component = "another";
  ThePlatform().stored.push_back(other);
  QuorLib::Reset();
  EXPECT_EQ(ThePlatform().stored, Recording::StoredSet{other});
}

TEST_F(ResetTest, StillCommitsWhenBothDeletionsFail) {
  for (const Failure failure : {Failure::kStoreException, Failure::kDerivedStoreException}) {
    ThePlatform().log.clear();
    FailCallsOf("DeleteObjects", failure);
    EXPECT_EQ(Attempt([] { QuorLib::Reset(); }), Outcome());
    EXPECT_EQ(ThePlatform().log, kWholeReset);
    EXPECT_EQ(ThePlatform().stored, Stored(SamplePolicies(), SampleDatastores()));
  }
}

TEST_F(ResetTest, RefusedDeletionOfPoliciesStillDeletesDatastores) {
  FailCallsOf("DeleteObjects quor_policies", Failure::kStoreException);
  EXPECT_EQ(Attempt([] { QuorLib::Reset(); }), Outcome());
  EXPECT_EQ(ThePlatform().log, kWholeReset);
  EXPECT_EQ(ThePlatform().stored, Stored(SamplePolicies(), {}));
}

TEST_F(ResetTest, OtherExceptionInADeletionPassesAndNothingIsDeleted) {
  FailCallsOf("DeleteObjects quor_datastores", Failure::kBriskException);
  EXPECT_EQ(Attempt([] { QuorLib::Reset(); }), Unchanged(Failure::kBriskException));
  EXPECT_EQ(CallsOf("CommitTransaction"), Lines());
  EXPECT_EQ(CallsOf("RollbackTransaction"), Lines());
  EXPECT_EQ(ThePlatform().stored, Stored(SamplePolicies(), SampleDatastores()));
}

TEST_F(ResetTest, FailingBeginOrCommitIsRolledBackAndACopyIsRaised) {
  for (const char* call : {"BeginTransaction", "CommitTransaction"}) {
    ThePlatform().log.clear();
    FailCallsOf(call, Failure::kDerivedStoreException);
    EXPECT_EQ(Attempt([] { QuorLib::Reset(); }), CopyOf(Failure::kDerivedStoreException));
    EXPECT_EQ(CallsOf("RollbackTransaction").size(), 1U);
    EXPECT_EQ(LastOf(ThePlatform().log), "RollbackTransaction");
    EXPECT_EQ(ThePlatform().stored, Stored(SamplePolicies(), SampleDatastores()));
  }
}

TEST_F(ResetTest, AfterItEverythingIsAnsweredAsNotFound) {
  QuorLib::Reset();
  EXPECT_EQ(QuorLib::ListPolicyInfo(), Policies());
  EXPECT_EQ(QuorLib::ListDatastoreInfo(), Datastores());
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobById("id-1"), "");
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobByName("gold"), "");
  EXPECT_EQ(QuorLib::GetDefaultPolicyBlob("ds:///a"), "");
  EXPECT_EQ(QuorLib::GetPolicyBlobById("id-1", "ds:///a"), "");
}

}  // namespace
}  // namespace QuorTest
