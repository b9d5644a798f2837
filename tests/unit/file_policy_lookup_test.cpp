// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The two blob lookups in the configuration file: by policy identifier and by policy name.
#include "support/backends.h"
#include "support/file_fixture.h"

namespace QuorTest {
namespace {

// One of the two lookups, the key that it compares and the arguments for the sample.
struct PolicyKey {
  std::string name;
  std::string (*find)(const std::string& wanted, const std::string& blobNamespace);
  std::string key;
  std::string gold;
  std::string silver;
};

class FilePolicyLookup : public FileTest, public testing::WithParamInterface<PolicyKey> {
 protected:
  static std::string Find(const std::string& wanted, const std::string& blobNamespace) {
    return GetParam().find(wanted, blobNamespace);
  }

  // A policy with that identifier and that name.
  static TavQuor::QuorPolicyInfo Known(const std::string& key, Blobs blobs) {
    return Policy(key, key, "", 0, std::move(blobs));
  }

  static void StorePolicies(const Policies& policies) {
    ThePlatform().file = InFile(policies, SampleDatastores());
  }

  static Lines Scan(const Lines& calls) {
    Lines whole = {"SynchronizedConfigFile", "GetBranch /Quor/Policy-Info",
                   "GetArray /Quor/Policy-Info policy", "GetInstances policy"};
    whole.insert(whole.end(), calls.begin(), calls.end());
    whole.push_back("Unlock");
    return whole;
  }

  static std::string ReadingKeyOf(const std::string& instance) {
    return "GetValue " + instance + " " + GetParam().key + ": text";
  }
};

TEST_P(FilePolicyLookup, ReadsKeysUntilOneMatchesAndNamespacesUntilOneMatches) {
  EXPECT_EQ(Find(GetParam().gold, "vol"), "G-vol");
  EXPECT_EQ(ThePlatform().log, Scan({
                                   ReadingKeyOf("policy[0]"),
                                   "GetArray policy[0] blobs",
                                   "GetInstances policy[0].blobs",
                                   "GetValue policy[0].blobs[0] datastore-namespace: text",
                                   "GetValue policy[0].blobs[1] datastore-namespace: text",
                                   "GetValue policy[0].blobs[1] blob: text",
                                   R"(Base64_EasyDecode "Ry12b2w=")",
                               }));
}

TEST_P(FilePolicyLookup, ScanEndsAtTheFirstEntryThatAnswers) {
  EXPECT_EQ(Find(GetParam().gold, "RILK"), "G-rilk");
  EXPECT_EQ(ThePlatform().log, Scan({
                                   ReadingKeyOf("policy[0]"),
                                   "GetArray policy[0] blobs",
                                   "GetInstances policy[0].blobs",
                                   "GetValue policy[0].blobs[0] datastore-namespace: text",
                                   "GetValue policy[0].blobs[0] blob: text",
                                   R"(Base64_EasyDecode "Ry1yaWxr")",
                               }));
}

TEST_P(FilePolicyLookup, WithoutAMatchEveryKeyIsReadAndNoBlob) {
  EXPECT_EQ(Find("none", "vol"), "");
  EXPECT_EQ(ThePlatform().log, Scan({ReadingKeyOf("policy[0]"), ReadingKeyOf("policy[1]")}));
}

TEST_P(FilePolicyLookup, PolicyWithoutABlobForTheNamespaceIsEmpty) {
  EXPECT_EQ(Find(GetParam().silver, "RILK"), "");
  EXPECT_EQ(ThePlatform().log, Scan({
                                   ReadingKeyOf("policy[0]"),
                                   ReadingKeyOf("policy[1]"),
                                   "GetArray policy[1] blobs",
                                   "GetInstances policy[1].blobs",
                                   "GetValue policy[1].blobs[0] datastore-namespace: text",
                               }));
}

TEST_P(FilePolicyLookup, HandlesAreReleasedBeforeTheLockArrayFirstThenBranch) {
  Find(GetParam().gold, "vol");
  const Lines& releases = ThePlatform().releases;
  ASSERT_GE(releases.size(), 3U);
  EXPECT_EQ(Lines(releases.end() - 3, releases.end()),
            (Lines{"policy", "/Quor/Policy-Info", "Unlock"}));
}

TEST_P(FilePolicyLookup, EmptyFileIsEmpty) {
  ThePlatform().file.clear();
  EXPECT_EQ(Find(GetParam().gold, "vol"), "");
  EXPECT_EQ(ThePlatform().log, Scan({}));
}

TEST_P(FilePolicyLookup, EmptyArgumentLocksTheFileAndScansItLikeAnyOther) {
  EXPECT_EQ(Find("", "vol"), "");
  EXPECT_EQ(Find("", ""), "");
  const Lines scan = Scan({ReadingKeyOf("policy[0]"), ReadingKeyOf("policy[1]")});
  Lines twice = scan;
  twice.insert(twice.end(), scan.begin(), scan.end());
  EXPECT_EQ(ThePlatform().log, twice);
}

TEST_P(FilePolicyLookup, EmptyNamespaceLocksTheFileAndReadsEveryNamespaceOfThePolicy) {
  EXPECT_EQ(Find(GetParam().gold, ""), "");
  EXPECT_EQ(ThePlatform().log, Scan({
                                   ReadingKeyOf("policy[0]"),
                                   "GetArray policy[0] blobs",
                                   "GetInstances policy[0].blobs",
                                   "GetValue policy[0].blobs[0] datastore-namespace: text",
                                   "GetValue policy[0].blobs[1] datastore-namespace: text",
                               }));
}

TEST_P(FilePolicyLookup, EmptyArgumentsFindWhatIsStoredEmpty) {
  StorePolicies({Known("x", {{"no", ""}}), Known("", {{"other", "vol"}, {"found", ""}})});
  EXPECT_EQ(Find("", ""), "found");
  EXPECT_EQ(Find("", "vol"), "other");
  EXPECT_EQ(Find("x", ""), "no");
}

TEST_P(FilePolicyLookup, EmptyArgumentsDoNotMatchWhatIsAbsent) {
  StorePolicies({Known("", {{"first", "vol"}}), Known("", {{"lost", "x"}, {"second", ""}})});
  PolicyAt(ThePlatform().file, 0).values.erase(GetParam().key);
  EXPECT_EQ(Find("", "vol"), "");
  BlobAt(PolicyAt(ThePlatform().file, 1), 0).values.erase("datastore-namespace");
  EXPECT_EQ(Find("", ""), "second");
}

TEST_P(FilePolicyLookup, FirstOfTwoPoliciesWithOneKeyAnswers) {
  StorePolicies({Known("k", {{"from the first", "vol"}}), Known("k", {{"no", "vol"}})});
  EXPECT_EQ(Find("k", "vol"), "from the first");
}

// The first match is taken for good; a later policy with the same key is no second chance.
TEST_P(FilePolicyLookup, FirstMatchWithoutTheNamespaceIsEmptyEvenIfALaterMatchHasIt) {
  StorePolicies({Known("k", {{"other", "RILK"}}), Known("k", {{"later", "vol"}})});
  EXPECT_EQ(Find("k", "vol"), "");
  EXPECT_EQ(CallsOf("GetValue policy[1]"), Lines());
}

TEST_P(FilePolicyLookup, PolicyWithoutTheKeyIsPassedOver) {
  PolicyAt(ThePlatform().file, 0).values.erase(GetParam().key);
  EXPECT_EQ(Find(GetParam().gold, "vol"), "");
  EXPECT_EQ(Find(GetParam().silver, "vol"), "S-vol");
}

// Nothing but the key and the blobs is read, so a policy that is not listed can still answer.
TEST_P(FilePolicyLookup, PolicyThatLacksItsOtherValuesStillAnswers) {
  PolicyAt(ThePlatform().file, 0).values = {{GetParam().key, GetParam().gold}};
  EXPECT_EQ(Find(GetParam().gold, "vol"), "G-vol");
}

TEST_P(FilePolicyLookup, PolicyWithoutAnArrayOfBlobsIsEmpty) {
  PolicyAt(ThePlatform().file, 0).arrays.clear();
  EXPECT_EQ(Find(GetParam().gold, "vol"), "");
}

TEST_P(FilePolicyLookup, EntryWithoutTheBlobIsPassedOverForALaterOneOfTheNamespace) {
  StorePolicies({Known("k", {{"gone", "vol"}, {"x", "RILK"}, {"later", "vol"}, {"no", "vol"}})});
  BlobAt(PolicyAt(ThePlatform().file, 0), 0).values.erase("blob");
  EXPECT_EQ(Find("k", "vol"), "later");
  EXPECT_EQ(CallsOf("GetValue policy[0].blobs[0]"),
            (Lines{"GetValue policy[0].blobs[0] datastore-namespace: text",
                   "GetValue policy[0].blobs[0] blob: text"}));
  EXPECT_EQ(CallsOf("GetValue policy[0].blobs[3]"), Lines());
}

TEST_P(FilePolicyLookup, OnlyEntryWithoutTheBlobIsEmpty) {
  BlobAt(PolicyAt(ThePlatform().file, 0), 1).values.erase("blob");
  EXPECT_EQ(Find(GetParam().gold, "vol"), "");
}

TEST_P(FilePolicyLookup, FirstOfTwoEntriesOfOneNamespaceAnswersEvenIfEmpty) {
  StorePolicies({Known("k", {{"", "vol"}, {"second", "vol"}})});
  EXPECT_EQ(Find("k", "vol"), "");
  EXPECT_EQ(CallsOf("Base64_EasyDecode"), Lines{R"(Base64_EasyDecode "")"});
}

TEST_P(FilePolicyLookup, ArgumentsAreComparedWholeWithCaseLengthAndZeroBytes) {
  const std::string zero("k\0x", 3);
  StorePolicies({Known("k ", {{"long", "vol"}}), Known(zero, {{"zero", zero}}),
                 Known("k", {{"plain", "vol"}, {"cased", "Vol"}, {"longer", "vol "}})});
  EXPECT_EQ(Find("k", "vol"), "plain");
  EXPECT_EQ(Find("k", "Vol"), "cased");
  EXPECT_EQ(Find("k", "vol "), "longer");
  EXPECT_EQ(Find("k", "VOL"), "");
  EXPECT_EQ(Find("k", "vo"), "");
  EXPECT_EQ(Find("K", "vol"), "");
  EXPECT_EQ(Find("k ", "vol"), "long");
  EXPECT_EQ(Find(zero, zero), "zero");
  EXPECT_EQ(Find(std::string("k\0y", 3), zero), "");
  EXPECT_EQ(Find(zero, std::string("k\0y", 3)), "");
}

TEST_P(FilePolicyLookup, BlobIsReturnedByteForByte) {
  StorePolicies({Known("k", {{HostileBytes(), "vol"}})});
  EXPECT_EQ(Find("k", "vol"), HostileBytes());
}

TEST_P(FilePolicyLookup, BlobThatDoesNotDecodeIsRaisedAfterExactlyOneUnlock) {
  StorePolicies({Known("k", {{"bad", "vol"}, {"good", "vol"}})});
  BlobAt(PolicyAt(ThePlatform().file, 0), 0).values["blob"] = "not Base64!";
  const Outcome outcome = Attempt([] { Find("k", "vol"); });
  EXPECT_EQ(outcome.type, "ZynCtl::Config::ConfigFileException");
  EXPECT_EQ(outcome.message, "Unable to Decode string");
  EXPECT_EQ(LastOf(ThePlatform().log), "Unlock");
  EXPECT_EQ(ThePlatform().locks, 1);
  EXPECT_EQ(ThePlatform().unlocks, 1);
}

INSTANTIATE_TEST_SUITE_P(
    , FilePolicyLookup,
    testing::Values(PolicyKey{"ById", kFileBackend.GetPolicyBlob, "policy-id", "id-1", "id-2"},
                    PolicyKey{"ByName", kFileBackend.GetPolicyBlobByName, "name", "gold",
                              "silver"}),
    [](const testing::TestParamInfo<PolicyKey>& key) { return key.param.name; });

}  // namespace
}  // namespace QuorTest
