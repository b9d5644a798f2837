// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The entry points: which backend a call goes to, and the lookups that are composed of others.
#include "support/entry_points.h"

#include "support/file_catalogue.h"
#include "support/fixture.h"

namespace QuorTest {
namespace {

using TavQuor::QuorLib;

class EntryPoints : public RecordingTest {
 protected:
  void SetUp() override {
    RecordingTest::SetUp();
    StoreSample();
  }
};

TEST_F(EntryPoints, InitDoesNothingWhateverTheSwitchSays) {
  SetConfigStoreSwitch(0);
  QuorLib::Init();
  SetConfigStoreSwitch(1);
  QuorLib::Init();
  EXPECT_EQ(ThePlatform().log, Lines());
  EXPECT_EQ(ThePlatform().stored, Stored(SamplePolicies(), SampleDatastores()));
}

TEST_F(EntryPoints, NoEntryPointNeedsInit) {
  EXPECT_EQ(QuorLib::ListPolicyInfo(), SamplePolicies());
  EXPECT_EQ(QuorLib::ListDatastoreInfo(), SampleDatastores());
}

TEST_F(EntryPoints, EveryNonZeroSwitchValueSelectsTheConfigurationStore) {
  for (int value = 1; value <= 255; ++value) {
    SetConfigStoreSwitch(static_cast<unsigned char>(value));
    EXPECT_EQ(QuorLib::GetRilkPolicyBlobByName("gold"), "G-rilk") << value;
  }
}

TEST_F(EntryPoints, FlippedSwitchTakesEffectAtTheNextCall) {
  ThePlatform().file = InFile({Policy("gold", "id-1", "", 0, {{"in the file", "RILK"}})}, {});
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobByName("gold"), "G-rilk");
  SetConfigStoreSwitch(0);
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobByName("gold"), "in the file");
  SetConfigStoreSwitch(1);
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobByName("gold"), "G-rilk");
}

TEST_F(EntryPoints, FlippedSwitchCopiesNothingBetweenTheStores) {
  const Policies inFile = {Policy("n", "i", "d", 1, {})};
  SetConfigStoreSwitch(0);
  EXPECT_EQ(QuorLib::ListPolicyInfo(), Policies());
  QuorLib::AddPolicyInfo(inFile);
  SetConfigStoreSwitch(1);
  EXPECT_EQ(QuorLib::ListPolicyInfo(), SamplePolicies());
  QuorLib::AddPolicyInfo({});
  SetConfigStoreSwitch(0);
  EXPECT_EQ(QuorLib::ListPolicyInfo(), inFile);
}

TEST_F(EntryPoints, GetDefaultPolicyBlobReadsDefaultIdThenNamespaceThenBlob) {
  EXPECT_EQ(QuorLib::GetDefaultPolicyBlob("ds:///a"), "G-vol");
  EXPECT_EQ(ThePlatform().log,
            (Lines{
                R"(GetStore global)",
                R"(GetObject quor_datastores/storage/tav["ds:///a"])",
                R"(GetValue quor_datastores/storage/tav["ds:///a"] drp_policy_id: text)",
                R"(GetStore global)",
                R"(GetObject quor_datastores/storage/tav["ds:///a"])",
                R"(GetValue quor_datastores/storage/tav["ds:///a"] datastore_namespace: text)",
                R"(GetStore global)",
                R"(FilterSpecObject quor_policies/storage/tav)",
                R"(GetObjects quor_policies/storage/tav)",
                R"(GetValue quor_policies/storage/tav["gold"] policy_id: text)",
                R"(GetSubObject quor_policies/storage/tav["gold"] blobs["vol"])",
                R"(GetValue quor_policies/storage/tav["gold"].blobs["vol"] blob: text)",
            }));
}

TEST_F(EntryPoints, GetDefaultPolicyBlobOfAnUnknownUrlLooksUpNoNamespace) {
  EXPECT_EQ(QuorLib::GetDefaultPolicyBlob("ds:///none"), "");
  EXPECT_EQ(ThePlatform().log, (Lines{
                                   R"(GetStore global)",
                                   R"(GetObject quor_datastores/storage/tav["ds:///none"])",
                               }));
}

TEST_F(EntryPoints, GetDefaultPolicyBlobWithoutADefaultIdLooksUpNoNamespace) {
  ThePlatform().stored = Stored(SamplePolicies(), {Datastore("ds:///a", "vol", "")});
  EXPECT_EQ(QuorLib::GetDefaultPolicyBlob("ds:///a"), "");
  EXPECT_EQ(ThePlatform().log,
            (Lines{
                R"(GetStore global)",
                R"(GetObject quor_datastores/storage/tav["ds:///a"])",
                R"(GetValue quor_datastores/storage/tav["ds:///a"] drp_policy_id: text)",
            }));
}

TEST_F(EntryPoints, GetDefaultPolicyBlobOfTheEmptyUrlTouchesNoStore) {
  EXPECT_EQ(QuorLib::GetDefaultPolicyBlob(""), "");
  EXPECT_EQ(ThePlatform().log, Lines());
}

TEST_F(EntryPoints, GetDefaultPolicyBlobPassesAnEmptyNamespaceOnToTheBlobLookup) {
  ThePlatform().stored = Stored(SamplePolicies(), {Datastore("ds:///a", "", "id-1")});
  EXPECT_EQ(QuorLib::GetDefaultPolicyBlob("ds:///a"), "");
  // Both reads of the datastore are made; the blob lookup answers an empty namespace by itself.
  EXPECT_EQ(CallsOf("GetObject").size(), 2U);
  EXPECT_EQ(CallsOf("GetObjects").size(), 0U);
}

TEST_F(EntryPoints, GetDefaultPolicyBlobWithoutABlobForTheNamespaceIsEmptyFromTheBlobLookup) {
  EXPECT_EQ(QuorLib::GetDefaultPolicyBlob("ds:///b"), "");
  EXPECT_EQ(LastOf(ThePlatform().log),
            R"(GetSubObject quor_policies/storage/tav["silver"] blobs["RILK"])");
}

TEST_F(EntryPoints, GetPolicyBlobByIdTakesThePolicyIdFirstAndTheUrlSecond) {
  EXPECT_EQ(QuorLib::GetPolicyBlobById("id-2", "ds:///a"), "S-vol");
  EXPECT_EQ(ThePlatform().log,
            (Lines{
                R"(GetStore global)",
                R"(GetObject quor_datastores/storage/tav["ds:///a"])",
                R"(GetValue quor_datastores/storage/tav["ds:///a"] datastore_namespace: text)",
                R"(GetStore global)",
                R"(FilterSpecObject quor_policies/storage/tav)",
                R"(GetObjects quor_policies/storage/tav)",
                R"(GetValue quor_policies/storage/tav["gold"] policy_id: text)",
                R"(GetValue quor_policies/storage/tav["silver"] policy_id: text)",
                R"(GetSubObject quor_policies/storage/tav["silver"] blobs["vol"])",
                R"(GetValue quor_policies/storage/tav["silver"].blobs["vol"] blob: text)",
            }));
}

TEST_F(EntryPoints, GetPolicyBlobByIdOfAnUnknownDatastoreLooksTheBlobUpWithAnEmptyNamespace) {
  EXPECT_EQ(QuorLib::GetPolicyBlobById("id-1", "ds:///none"), "");
  // An empty namespace is answered by the blob lookup without a store access of its own.
  EXPECT_EQ(ThePlatform().log, (Lines{
                                   R"(GetStore global)",
                                   R"(GetObject quor_datastores/storage/tav["ds:///none"])",
                               }));
}

TEST_F(EntryPoints, GetPolicyBlobByIdOfAnEmptyIdStillReadsTheNamespace) {
  EXPECT_EQ(QuorLib::GetPolicyBlobById("", "ds:///a"), "");
  EXPECT_EQ(CallsOf("GetObject").size(), 1U);
  EXPECT_EQ(CallsOf("GetObjects").size(), 0U);
}

TEST_F(EntryPoints, RilkLookupsUseTheNamespaceRilkWhateverTheDatastoresHave) {
  ThePlatform().stored =
      Stored({Policy("n", "i", "", 0, {{"other", "rilk"}, {"blob", "RILK"}, {"third", "vol"}})},
             {Datastore("ds:///a", "vol", "i"), Datastore("ds:///b", "rilk", "i")});
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobById("i"), "blob");
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobByName("n"), "blob");
  EXPECT_EQ(CallsOf("GetSubObject"),
            Lines(2, R"(GetSubObject quor_policies/storage/tav["n"] blobs["RILK"])"));
}

TEST_F(EntryPoints, BlobsAreReturnedByteForByte) {
  const std::string blob = HostileBytes();
  ThePlatform().stored = Stored({Policy("n", "i", "", 0, {{blob, "RILK"}, {blob, "vol"}})},
                                {Datastore("ds:///a", "vol", "i")});
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobById("i"), blob);
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobByName("n"), blob);
  EXPECT_EQ(QuorLib::GetDefaultPolicyBlob("ds:///a"), blob);
  EXPECT_EQ(QuorLib::GetPolicyBlobById("i", "ds:///a"), blob);
}

TEST_F(EntryPoints, GetDbHashReadsPoliciesThenDatastoresAndReturnsThemInThatOrder) {
  const auto [policies, datastores] = QuorLib::GetDbHash();
  EXPECT_EQ(policies, "c6c8a9a412ed8388d4877a186f4feda6");
  EXPECT_EQ(datastores, "3e44728d5a9e2f5e4fe33b177d9ead89");
  EXPECT_EQ(CallsOf("GetObjects"), (Lines{"GetObjects quor_policies/storage/tav",
                                          "GetObjects quor_datastores/storage/tav"}));
  EXPECT_EQ(CallsOf("GetStore").size(), 2U);
}

TEST_F(EntryPoints, GetDbHashOfAnEmptyCatalogueIsTwoEmptyStrings) {
  ThePlatform().stored.clear();
  EXPECT_EQ(QuorLib::GetDbHash(), std::make_pair(std::string(), std::string()));
  EXPECT_EQ(CallsOf("CryptoHash_ComputeMD5"), Lines());
}

// One run per entry point that touches records, over each of the two backends.
class EachEntryPoint : public EntryPoints, public testing::WithParamInterface<EntryPoint> {
 protected:
  // Calls the entry point with the sample in the selected backend and nothing in the other.
  static std::string CallOverTheSample(unsigned char switchValue) {
    RestartPlatform();
    SetConfigStoreSwitch(switchValue);
    if (switchValue != 0) {
      StoreSample();
    } else {
      ThePlatform().file = InFile(SamplePolicies(), SampleDatastores());
    }
    return GetParam().call();
  }

  // Flips the switch inside the first store call. A call that looked at it again, between two
  // primitives say, would go on in the other backend.
  static void ExpectThatAFlipInsideTheCallChangesNothing(unsigned char switchValue) {
    const std::string undisturbed = CallOverTheSample(switchValue);
    const Lines log = ThePlatform().log;
    const Recording::StoredSet stored = ThePlatform().stored;
    const Recording::FileTree file = ThePlatform().file;
    ASSERT_GE(log.size(), 2U);

    RestartPlatform();
    SetConfigStoreSwitch(switchValue);
    StoreSample();
    ThePlatform().file = InFile(SamplePolicies(), SampleDatastores());
    ThePlatform().duringStoreCall = [switchValue](int call, const std::string&) {
      if (call == 1) SetConfigStoreSwitch(switchValue == 0 ? 1 : 0);
    };
    EXPECT_EQ(GetParam().call(), undisturbed);
    EXPECT_EQ(ThePlatform().log, log);
    const bool isStore = switchValue != 0;
    EXPECT_EQ(ThePlatform().stored,
              isStore ? stored : Stored(SamplePolicies(), SampleDatastores()));
    EXPECT_EQ(ThePlatform().file, isStore ? InFile(SamplePolicies(), SampleDatastores()) : file);
  }
};

TEST_P(EachEntryPoint, ReadsTheSwitchOncePerCall) {
  ExpectThatAFlipInsideTheCallChangesNothing(1);
  ExpectThatAFlipInsideTheCallChangesNothing(0);
}

TEST_P(EachEntryPoint, GoesToTheFileAndTouchesNoStoreWhileTheSwitchIsClear) {
  const std::string expected = CallOverTheSample(1);
  EXPECT_EQ(CallOverTheSample(0), expected);
  EXPECT_GE(ThePlatform().locks, 1);
  EXPECT_EQ(ThePlatform().storeCalls, 0);
  EXPECT_EQ(ThePlatform().stored, Recording::StoredSet());
}

TEST_P(EachEntryPoint, GoesToTheStoreAndTouchesNoFileWhileTheSwitchIsSet) {
  const std::string expected = CallOverTheSample(0);
  EXPECT_EQ(CallOverTheSample(1), expected);
  EXPECT_GE(ThePlatform().storeCalls, 2);
  EXPECT_EQ(ThePlatform().fileCalls, 0);
  EXPECT_EQ(ThePlatform().file, Recording::FileTree());
}

std::string EntryPointName(const testing::TestParamInfo<EntryPoint>& entryPoint) {
  return entryPoint.param.name;
}

INSTANTIATE_TEST_SUITE_P(, EachEntryPoint, testing::ValuesIn(AllEntryPoints()), &EntryPointName);

}  // namespace
}  // namespace QuorTest
