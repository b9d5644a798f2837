// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// AddPolicyInfo in the configuration store.
#include <limits>

#include "support/fixture.h"

namespace QuorTest {
namespace {

using TavQuor::QuorLib;

class PolicyReplacement : public RecordingTest {};

TEST_F(PolicyReplacement, WritesEveryPolicyWithItsBlobsInOneTransaction) {
  QuorLib::AddPolicyInfo(SamplePolicies());
  EXPECT_EQ(
      ThePlatform().log,
      (Lines{
          R"(GetStore global)",
          R"(BeginTransaction)",
          R"(FilterSpecObject quor_policies/storage/tav)",
          R"(DeleteObjects quor_policies/storage/tav)",
          R"(ConfigStoreObject quor_policies/storage/tav["gold"])",
          R"(SetValue quor_policies/storage/tav["gold"] name: "gold")",
          R"(SetValue quor_policies/storage/tav["gold"] policy_id: "id-1")",
          R"(SetValue quor_policies/storage/tav["gold"] description: "fast")",
          R"(SetValue quor_policies/storage/tav["gold"] generation_number: 7)",
          R"(CreateSubObject quor_policies/storage/tav["gold"] blobs["RILK"])",
          R"(SetValue quor_policies/storage/tav["gold"].blobs["RILK"] blob: "G-rilk")",
          R"(SetValue quor_policies/storage/tav["gold"].blobs["RILK"] datastore_namespace: "RILK")",
          R"(CreateSubObject quor_policies/storage/tav["gold"] blobs["vol"])",
          R"(SetValue quor_policies/storage/tav["gold"].blobs["vol"] blob: "G-vol")",
          R"(SetValue quor_policies/storage/tav["gold"].blobs["vol"] datastore_namespace: "vol")",
          R"(SetObject quor_policies/storage/tav["gold"] writeMode 0)",
          R"(ConfigStoreObject quor_policies/storage/tav["silver"])",
          R"(SetValue quor_policies/storage/tav["silver"] name: "silver")",
          R"(SetValue quor_policies/storage/tav["silver"] policy_id: "id-2")",
          R"(SetValue quor_policies/storage/tav["silver"] description: "cheap")",
          R"(SetValue quor_policies/storage/tav["silver"] generation_number: -3)",
          R"(CreateSubObject quor_policies/storage/tav["silver"] blobs["vol"])",
          R"(SetValue quor_policies/storage/tav["silver"].blobs["vol"] blob: "S-vol")",
          R"(SetValue quor_policies/storage/tav["silver"].blobs["vol"] datastore_namespace: "vol")",
          R"(SetObject quor_policies/storage/tav["silver"] writeMode 0)",
          R"(CommitTransaction)",
      }));
  EXPECT_EQ(ThePlatform().stored, Stored(SamplePolicies(), {}));
}

TEST_F(PolicyReplacement, ReplacesTheWholeSetAndLeavesDatastoresAlone) {
  StoreSample();
  const Policies policies = {Policy("iron", "id-3", "", 1, {})};
  QuorLib::AddPolicyInfo(policies);
  EXPECT_EQ(QuorLib::ListPolicyInfo(), policies);
  EXPECT_EQ(QuorLib::ListDatastoreInfo(), SampleDatastores());
}

TEST_F(PolicyReplacement, EmptyVectorDeletesEveryPolicyAndCommits) {
  StoreSample();
  QuorLib::AddPolicyInfo({});
  EXPECT_EQ(ThePlatform().log, (Lines{
                                   "GetStore global",
                                   "BeginTransaction",
                                   "FilterSpecObject quor_policies/storage/tav",
                                   "DeleteObjects quor_policies/storage/tav",
                                   "CommitTransaction",
                               }));
  EXPECT_EQ(ThePlatform().stored, Stored({}, SampleDatastores()));
  EXPECT_EQ(QuorLib::ListPolicyInfo(), Policies());
}

TEST_F(PolicyReplacement, RecordsAreWrittenInTheCallersOrder) {
  QuorLib::AddPolicyInfo(
      {Policy("c", "3", "", 0, {}), Policy("a", "1", "", 0, {}), Policy("b", "2", "", 0, {})});
  EXPECT_EQ(CallsOf("SetObject"), (Lines{
                                      R"(SetObject quor_policies/storage/tav["c"] writeMode 0)",
                                      R"(SetObject quor_policies/storage/tav["a"] writeMode 0)",
                                      R"(SetObject quor_policies/storage/tav["b"] writeMode 0)",
                                  }));
}

TEST_F(PolicyReplacement, BlobWithAnEmptyNamespaceIsSkippedWithoutAWord) {
  QuorLib::AddPolicyInfo(
      {Policy("n", "i", "d", 1, {{"lost", ""}, {"kept", "vol"}, {"lost too", ""}})});
  EXPECT_EQ(CallsOf("CreateSubObject"),
            Lines{R"(CreateSubObject quor_policies/storage/tav["n"] blobs["vol"])"});
  EXPECT_EQ(QuorLib::ListPolicyInfo(), Policies{Policy("n", "i", "d", 1, {{"kept", "vol"}})});
  EXPECT_EQ(CallsOf("RollbackTransaction"), Lines());
}

TEST_F(PolicyReplacement, EmptyBlobIsStored) {
  const Policies policies = {Policy("n", "i", "d", 1, {{"", "vol"}})};
  QuorLib::AddPolicyInfo(policies);
  EXPECT_EQ(ThePlatform().stored, Stored(policies, {}));
  EXPECT_EQ(QuorLib::ListPolicyInfo(), policies);
}

TEST_F(PolicyReplacement, TwoRecordsOfOneNameAreWrittenToTheSameInstanceOneAfterTheOther) {
  const auto first = Policy("n", "id-1", "first", 1, {{"F", "vol"}});
  const auto second = Policy("n", "id-2", "second", 2, {{"S", "RILK"}});
  QuorLib::AddPolicyInfo({first, second});
  EXPECT_EQ(CallsOf("SetObject"),
            Lines(2, R"(SetObject quor_policies/storage/tav["n"] writeMode 0)"));
  EXPECT_EQ(CallsOf("ConfigStoreObject").size(), 2U);
  EXPECT_EQ(CallsOf("DeleteObjects").size(), 1U);
  EXPECT_EQ(ThePlatform().stored, Stored({second}, {}));
}

TEST_F(PolicyReplacement, TwoBlobsOfOneNamespaceAreSetOneAfterTheOther) {
  QuorLib::AddPolicyInfo({Policy("n", "i", "", 0, {{"first", "vol"}, {"second", "vol"}})});
  EXPECT_EQ(CallsOf("CreateSubObject"),
            Lines(2, R"(CreateSubObject quor_policies/storage/tav["n"] blobs["vol"])"));
  EXPECT_EQ(QuorLib::ListPolicyInfo(), Policies{Policy("n", "i", "", 0, {{"second", "vol"}})});
}

TEST_F(PolicyReplacement, EmptyNameIdAndDescriptionAreWrittenAsTheyAre) {
  QuorLib::AddPolicyInfo({Policy("", "", "", 0, {})});
  EXPECT_EQ(ThePlatform().log, (Lines{
                                   R"(GetStore global)",
                                   R"(BeginTransaction)",
                                   R"(FilterSpecObject quor_policies/storage/tav)",
                                   R"(DeleteObjects quor_policies/storage/tav)",
                                   R"(ConfigStoreObject quor_policies/storage/tav)",
                                   R"(SetValue quor_policies/storage/tav name: "")",
                                   R"(SetValue quor_policies/storage/tav policy_id: "")",
                                   R"(SetValue quor_policies/storage/tav description: "")",
                                   R"(SetValue quor_policies/storage/tav generation_number: 0)",
                                   R"(SetObject quor_policies/storage/tav writeMode 0)",
                                   R"(CommitTransaction)",
                               }));
}

TEST_F(PolicyReplacement, RefusalOfAnEmptyInstanceRollsTheWholeReplacementBack) {
  StoreSample();
  FailCallsOf("SetObject quor_policies/storage/tav writeMode", Failure::kStoreException);
  const Outcome outcome = Attempt([] {
    QuorLib::AddPolicyInfo({Policy("n", "i", "", 0, {}), Policy("", "i", "", 0, {})});
  });
  EXPECT_EQ(outcome, CopyOf(Failure::kStoreException));
  EXPECT_EQ(LastOf(ThePlatform().log), "RollbackTransaction");
  EXPECT_EQ(ThePlatform().stored, Stored(SamplePolicies(), SampleDatastores()));
}

TEST_F(PolicyReplacement, AnyBytesAndAnyLengthAreStored) {
  const std::string bytes = HostileBytes();
  const std::string longText(65536, 'x');
  const Policies policies = {
      Policy(bytes, bytes + "2", bytes + "3", 0, {{bytes + "4", bytes + "5"}}),
      Policy(longText, longText, longText, 0, {{longText, longText}})};
  QuorLib::AddPolicyInfo(policies);
  EXPECT_EQ(ThePlatform().stored, Stored(policies, {}));
  EXPECT_EQ(QuorLib::ListPolicyInfo(), policies);
}

TEST_F(PolicyReplacement, ExtremeGenerationNumbersComeBackAsTheyWere) {
  using Limits = std::numeric_limits<std::int64_t>;
  Policies policies;
  for (const std::int64_t number : {Limits::min(), Limits::max(), std::int64_t{0}, std::int64_t{-1},
                                    std::int64_t{1} << 31, std::int64_t{1} << 32}) {
    policies.push_back(Policy(std::to_string(number), "i", "", number, {}));
  }
  QuorLib::AddPolicyInfo(policies);
  EXPECT_EQ(QuorLib::ListPolicyInfo(), policies);
}

TEST_F(PolicyReplacement, FailingCommitIsFollowedByARollbackAndACopyOfTheException) {
  StoreSample();
  for (const Failure failure : {Failure::kStoreException, Failure::kDerivedStoreException}) {
    ThePlatform().log.clear();
    FailCallsOf("CommitTransaction", failure);
    EXPECT_EQ(Attempt([] { QuorLib::AddPolicyInfo({}); }), CopyOf(failure));
    EXPECT_EQ(ThePlatform().log, (Lines{
                                     "GetStore global",
                                     "BeginTransaction",
                                     "FilterSpecObject quor_policies/storage/tav",
                                     "DeleteObjects quor_policies/storage/tav",
                                     "CommitTransaction",
                                     "RollbackTransaction",
                                 }));
    EXPECT_EQ(ThePlatform().stored, Stored(SamplePolicies(), SampleDatastores()));
  }
}

TEST_F(PolicyReplacement, OtherExceptionPassesWithoutARollbackCallAndTheHandleIsReleased) {
  StoreSample();
  FailCallsOf("SetObject", Failure::kBadAlloc);
  EXPECT_EQ(Attempt([] { QuorLib::AddPolicyInfo(SamplePolicies()); }),
            Unchanged(Failure::kBadAlloc));
  EXPECT_EQ(CallsOf("RollbackTransaction"), Lines());
  EXPECT_EQ(ThePlatform().droppedTransactions, 1);
  EXPECT_EQ(ThePlatform().stored, Stored(SamplePolicies(), SampleDatastores()));
}

TEST_F(PolicyReplacement, CallersRecordsAreLeftAsTheyAre) {
  const Policies policies = SamplePolicies();
  QuorLib::AddPolicyInfo(policies);
  EXPECT_EQ(policies, SamplePolicies());
}

}  // namespace
}  // namespace QuorTest
