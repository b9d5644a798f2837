// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The two blob lookups in the configuration store: by policy identifier and by policy name.
#include "support/backends.h"
#include "support/fixture.h"

namespace QuorTest {
namespace {

class PolicyLookup : public RecordingTest {
 protected:
  void SetUp() override {
    RecordingTest::SetUp();
    StoreSample();
  }
};

TEST_F(PolicyLookup, ByNameFetchesOnePolicyAndReadsOneBlob) {
  EXPECT_EQ(kStoreBackend.GetPolicyBlobByName("gold", "vol"), "G-vol");
  EXPECT_EQ(ThePlatform().log,
            (Lines{
                R"(GetStore global)",
                R"(GetObject quor_policies/storage/tav["gold"])",
                R"(GetSubObject quor_policies/storage/tav["gold"] blobs["vol"])",
                R"(GetValue quor_policies/storage/tav["gold"].blobs["vol"] blob: text)",
            }));
}

TEST_F(PolicyLookup, ByIdReadsIdentifiersUntilOneMatches) {
  EXPECT_EQ(kStoreBackend.GetPolicyBlob("id-1", "vol"), "G-vol");
  EXPECT_EQ(ThePlatform().log,
            (Lines{
                R"(GetStore global)",
                R"(FilterSpecObject quor_policies/storage/tav)",
                R"(GetObjects quor_policies/storage/tav)",
                R"(GetValue quor_policies/storage/tav["gold"] policy_id: text)",
                R"(GetSubObject quor_policies/storage/tav["gold"] blobs["vol"])",
                R"(GetValue quor_policies/storage/tav["gold"].blobs["vol"] blob: text)",
            }));
}

TEST_F(PolicyLookup, ByIdWithoutAMatchReadsEveryIdentifierAndNoBlob) {
  EXPECT_EQ(kStoreBackend.GetPolicyBlob("id-none", "vol"), "");
  EXPECT_EQ(ThePlatform().log,
            (Lines{
                R"(GetStore global)",
                R"(FilterSpecObject quor_policies/storage/tav)",
                R"(GetObjects quor_policies/storage/tav)",
                R"(GetValue quor_policies/storage/tav["gold"] policy_id: text)",
                R"(GetValue quor_policies/storage/tav["silver"] policy_id: text)",
            }));
}

TEST_F(PolicyLookup, ByNameOfAnUnknownPolicyIsEmpty) {
  EXPECT_EQ(kStoreBackend.GetPolicyBlobByName("copper", "vol"), "");
  EXPECT_EQ(ThePlatform().log, (Lines{
                                   R"(GetStore global)",
                                   R"(GetObject quor_policies/storage/tav["copper"])",
                               }));
}

TEST_F(PolicyLookup, EmptyArgumentIsAnsweredWithoutTouchingTheStore) {
  EXPECT_EQ(kStoreBackend.GetPolicyBlob("", "vol"), "");
  EXPECT_EQ(kStoreBackend.GetPolicyBlob("id-1", ""), "");
  EXPECT_EQ(kStoreBackend.GetPolicyBlob("", ""), "");
  EXPECT_EQ(kStoreBackend.GetPolicyBlobByName("", "vol"), "");
  EXPECT_EQ(kStoreBackend.GetPolicyBlobByName("gold", ""), "");
  EXPECT_EQ(kStoreBackend.GetPolicyBlobByName("", ""), "");
  EXPECT_EQ(ThePlatform().log, Lines());
}

// A stored policy may have an empty identifier or name, and a blob an empty namespace.
TEST_F(PolicyLookup, EmptyArgumentFindsNothingEvenWhereTheStoreHasSuchARecord) {
  ThePlatform().stored = Stored({Policy("", "", "", 0, {{"B", ""}, {"C", "vol"}})}, {});
  EXPECT_EQ(kStoreBackend.GetPolicyBlob("", "vol"), "");
  EXPECT_EQ(kStoreBackend.GetPolicyBlobByName("", "vol"), "");
  EXPECT_EQ(kStoreBackend.GetPolicyBlobByName("", ""), "");
}

TEST_F(PolicyLookup, FirstListedPolicyOfTwoWithOneIdAnswers) {
  ThePlatform().stored = Stored({Policy("z", "id", "", 0, {{"from z", "vol"}}),
                                 Policy("a", "id", "", 0, {{"from a", "vol"}})},
                                {});
  EXPECT_EQ(kStoreBackend.GetPolicyBlob("id", "vol"), "from z");
}

// The first match is taken for good; a later policy of the same identifier is no second chance.
TEST_F(PolicyLookup, FirstMatchWithoutTheBlobIsEmptyEvenIfALaterMatchHasIt) {
  ThePlatform().stored =
      Stored({Policy("z", "id", "", 0, {}), Policy("a", "id", "", 0, {{"from a", "vol"}})}, {});
  EXPECT_EQ(kStoreBackend.GetPolicyBlob("id", "vol"), "");
}

TEST_F(PolicyLookup, PolicyWithoutABlobForTheNamespaceIsEmpty) {
  EXPECT_EQ(kStoreBackend.GetPolicyBlob("id-2", "RILK"), "");
  EXPECT_EQ(kStoreBackend.GetPolicyBlobByName("silver", "RILK"), "");
  EXPECT_EQ(LastOf(ThePlatform().log),
            R"(GetSubObject quor_policies/storage/tav["silver"] blobs["RILK"])");
}

TEST_F(PolicyLookup, NamespaceThatDiffersOnlyInCaseFindsNoBlob) {
  EXPECT_EQ(kStoreBackend.GetPolicyBlob("id-1", "rilk"), "");
  EXPECT_EQ(kStoreBackend.GetPolicyBlob("id-1", "VOL"), "");
  EXPECT_EQ(kStoreBackend.GetPolicyBlobByName("gold", "rilk"), "");
  EXPECT_EQ(kStoreBackend.GetPolicyBlobByName("gold", "VOL"), "");
}

TEST_F(PolicyLookup, IdOrNameThatDiffersOnlyInCaseMatchesNoPolicy) {
  EXPECT_EQ(kStoreBackend.GetPolicyBlob("ID-1", "vol"), "");
  EXPECT_EQ(kStoreBackend.GetPolicyBlobByName("Gold", "vol"), "");
}

TEST_F(PolicyLookup, IdsAreComparedWholeWithLengthAndZeroBytesAndNeverTrimmed) {
  const std::string withZero("id\0x", 4);
  ThePlatform().stored = Stored({Policy("long", "id-1 ", "", 0, {{"long", "vol"}}),
                                 Policy("prefix", "id", "", 0, {{"prefix", "vol"}}),
                                 Policy("zero", withZero, "", 0, {{"zero", "vol"}})},
                                {});
  EXPECT_EQ(kStoreBackend.GetPolicyBlob("id-1", "vol"), "");
  EXPECT_EQ(kStoreBackend.GetPolicyBlob("id-1 ", "vol"), "long");
  EXPECT_EQ(kStoreBackend.GetPolicyBlob("id", "vol"), "prefix");
  EXPECT_EQ(kStoreBackend.GetPolicyBlob(withZero, "vol"), "zero");
  EXPECT_EQ(kStoreBackend.GetPolicyBlob(std::string("id\0y", 4), "vol"), "");
}

TEST_F(PolicyLookup, PolicyWithoutAnIdentifierIsPassedOver) {
  ThePlatform().stored[0].values.erase("policy_id");
  EXPECT_EQ(kStoreBackend.GetPolicyBlob("id-1", "vol"), "");
  EXPECT_EQ(kStoreBackend.GetPolicyBlob("id-2", "vol"), "S-vol");
}

TEST_F(PolicyLookup, BlobInstanceWithoutTheBlobValueIsEmpty) {
  ThePlatform().stored[0].subObjects[0].values.erase("blob");
  EXPECT_EQ(kStoreBackend.GetPolicyBlob("id-1", "RILK"), "");
  EXPECT_EQ(kStoreBackend.GetPolicyBlobByName("gold", "RILK"), "");
}

TEST_F(PolicyLookup, BlobIsFoundByItsInstanceKeyAndNotByItsNamespaceValue) {
  ThePlatform().stored[0].subObjects[0].values["datastore_namespace"] = std::string("other");
  EXPECT_EQ(kStoreBackend.GetPolicyBlobByName("gold", "RILK"), "G-rilk");
  EXPECT_EQ(kStoreBackend.GetPolicyBlobByName("gold", "other"), "");
}

TEST_F(PolicyLookup, PolicyIsFoundByNameThroughItsInstanceKeyAndNotByItsNameValue) {
  ThePlatform().stored[0].values["name"] = std::string("other");
  EXPECT_EQ(kStoreBackend.GetPolicyBlobByName("gold", "RILK"), "G-rilk");
  EXPECT_EQ(kStoreBackend.GetPolicyBlobByName("other", "RILK"), "");
}

}  // namespace
}  // namespace QuorTest
