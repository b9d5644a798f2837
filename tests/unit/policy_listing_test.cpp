// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// ListPolicyInfo in the configuration store.
#include "support/fixture.h"

namespace QuorTest {
namespace {

using TavQuor::QuorLib;

class PolicyListing : public RecordingTest {
 protected:
  void SetUp() override {
    RecordingTest::SetUp();
    StoreSample();
  }
};

TEST_F(PolicyListing, ReadsEveryPolicyAndItsBlobsInTheStoresOrder) {
  EXPECT_EQ(QuorLib::ListPolicyInfo(), SamplePolicies());
  EXPECT_EQ(
      ThePlatform().log,
      (Lines{
          R"(GetStore global)",
          R"(FilterSpecObject quor_policies/storage/tav)",
          R"(GetObjects quor_policies/storage/tav)",
          R"(GetValue quor_policies/storage/tav["gold"] name: text)",
          R"(GetValue quor_policies/storage/tav["gold"] policy_id: text)",
          R"(GetValue quor_policies/storage/tav["gold"] description: text)",
          R"(GetValue quor_policies/storage/tav["gold"] generation_number: integer)",
          R"(FilterSpecObject blobs//)",
          R"(GetSubObjectInstances quor_policies/storage/tav["gold"] blobs//)",
          R"(GetValue quor_policies/storage/tav["gold"].blobs["RILK"] blob: text)",
          R"(GetValue quor_policies/storage/tav["gold"].blobs["RILK"] datastore_namespace: text)",
          R"(GetValue quor_policies/storage/tav["gold"].blobs["vol"] blob: text)",
          R"(GetValue quor_policies/storage/tav["gold"].blobs["vol"] datastore_namespace: text)",
          R"(GetValue quor_policies/storage/tav["silver"] name: text)",
          R"(GetValue quor_policies/storage/tav["silver"] policy_id: text)",
          R"(GetValue quor_policies/storage/tav["silver"] description: text)",
          R"(GetValue quor_policies/storage/tav["silver"] generation_number: integer)",
          R"(FilterSpecObject blobs//)",
          R"(GetSubObjectInstances quor_policies/storage/tav["silver"] blobs//)",
          R"(GetValue quor_policies/storage/tav["silver"].blobs["vol"] blob: text)",
          R"(GetValue quor_policies/storage/tav["silver"].blobs["vol"] datastore_namespace: text)",
      }));
}

TEST_F(PolicyListing, EmptyStoreListsNothing) {
  ThePlatform().stored = Stored({}, SampleDatastores());
  EXPECT_EQ(QuorLib::ListPolicyInfo(), Policies());
  EXPECT_EQ(ThePlatform().log, (Lines{
                                   "GetStore global",
                                   "FilterSpecObject quor_policies/storage/tav",
                                   "GetObjects quor_policies/storage/tav",
                               }));
}

TEST_F(PolicyListing, NeitherPoliciesNorBlobsAreSorted) {
  const Policies policies = {Policy("z", "3", "", 0, {{"1", "z"}, {"2", "a"}, {"3", "m"}}),
                             Policy("a", "2", "", 0, {}), Policy("m", "1", "", 0, {})};
  ThePlatform().stored = Stored(policies, {});
  EXPECT_EQ(QuorLib::ListPolicyInfo(), policies);
}

TEST_F(PolicyListing, StoredValuesAreReadBackAndNotTheInstanceKeys) {
  Recording::StoredObject stored = Stored(Policy("name", "id", "d", 4, {{"B", "namespace"}}));
  stored.instance = "another key";
  stored.subObjects[0].instance = "another namespace";
  ThePlatform().stored = {stored};
  EXPECT_EQ(QuorLib::ListPolicyInfo(),
            Policies{Policy("name", "id", "d", 4, {{"B", "namespace"}})});
}

TEST_F(PolicyListing, MissingTextValuesReadAsEmptyAndAreNotTakenFromThePolicyBefore) {
  Recording::StoredObject bare = Stored(Policy("bare", "", "", 0, {{"", "vol"}}));
  bare.values.clear();
  bare.values["generation_number"] = 12LL;
  bare.subObjects[0].values.clear();
  ThePlatform().stored.push_back(bare);
  Policies expected = SamplePolicies();
  expected.push_back(Policy("", "", "", 12, {{"", ""}}));
  EXPECT_EQ(QuorLib::ListPolicyInfo(), expected);
}

TEST_F(PolicyListing, SubObjectsOfOtherNamesAreNotBlobs) {
  ThePlatform().stored[0].subObjects.push_back({"notes", "vol", {{"blob", std::string("X")}}});
  EXPECT_EQ(QuorLib::ListPolicyInfo(), SamplePolicies());
}

TEST_F(PolicyListing, ObjectsOfOtherKindsAreNotPolicies) {
  Recording::StoredObject other = ThePlatform().stored[0];
  other.group = "network";
  ThePlatform().stored.push_back(other);
  EXPECT_EQ(QuorLib::ListPolicyInfo(), SamplePolicies());
}

TEST_F(PolicyListing, PolicyWithAValueOfTheWrongTypeIsLeftOut) {
  for (const char* key : {"name", "policy_id", "description"}) {
    StoreSample();
    ThePlatform().stored[0].values[key] = 5LL;
    EXPECT_EQ(QuorLib::ListPolicyInfo(), Policies{SamplePolicies()[1]}) << key;
  }
  StoreSample();
  ThePlatform().stored[0].values["generation_number"] = std::string("7");
  EXPECT_EQ(QuorLib::ListPolicyInfo(), Policies{SamplePolicies()[1]});
}

TEST_F(PolicyListing, PolicyWithAnUnreadableBlobIsLeftOutWhole) {
  FailCallsOf(R"(GetValue quor_policies/storage/tav["gold"].blobs["vol"])",
              Failure::kDerivedStoreException);
  EXPECT_EQ(QuorLib::ListPolicyInfo(), Policies{SamplePolicies()[1]});
}

TEST_F(PolicyListing, EveryPolicyUnreadableListsNothingAndRaisesNothing) {
  FailCallsOf("GetValue", Failure::kStoreException);
  EXPECT_EQ(QuorLib::ListPolicyInfo(), Policies());
  EXPECT_EQ(CallsOf("GetValue").size(), 2U);
}

TEST_F(PolicyListing, FailingEnumerationIsRaisedAsTheStoreThrewIt) {
  FailCallsOf("GetObjects", Failure::kDerivedStoreException);
  EXPECT_EQ(Attempt([] { QuorLib::ListPolicyInfo(); }), Unchanged(Failure::kDerivedStoreException));
}

TEST_F(PolicyListing, OtherExceptionWhileReadingAPolicyIsRaisedUnchanged) {
  FailCallsOf(R"(GetValue quor_policies/storage/tav["silver"])", Failure::kBriskException);
  EXPECT_EQ(Attempt([] { QuorLib::ListPolicyInfo(); }), Unchanged(Failure::kBriskException));
}

}  // namespace
}  // namespace QuorTest
