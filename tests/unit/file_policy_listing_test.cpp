// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// ListPolicyInfo in the configuration file.
#include "support/file_fixture.h"

namespace QuorTest {
namespace {

using TavQuor::QuorLib;

class FilePolicyListing : public FileTest {
 protected:
  static Recording::FileBranch& Gold() { return PolicyAt(ThePlatform().file, 0); }

  static void ExpectOnlySilverIsListed() {
    EXPECT_EQ(QuorLib::ListPolicyInfo(), Policies{SamplePolicies()[1]});
  }

  static void RestoreTheSample() {
    ThePlatform().file = InFile(SamplePolicies(), SampleDatastores());
  }
};

TEST_F(FilePolicyListing, ReadsEveryPolicyAndItsBlobsInTheFilesOrderAndWritesNothing) {
  EXPECT_EQ(QuorLib::ListPolicyInfo(), SamplePolicies());
  EXPECT_EQ(ThePlatform().log, (Lines{
                                   R"(SynchronizedConfigFile)",
                                   R"(GetBranch /Quor/Policy-Info)",
                                   R"(GetArray /Quor/Policy-Info policy)",
                                   R"(GetInstances policy)",
                                   R"(GetValue policy[0] name: text)",
                                   R"(GetValue policy[0] description: text)",
                                   R"(GetValue policy[0] policy-id: text)",
                                   R"(GetValue policy[0] generation-number: int)",
                                   R"(GetArray policy[0] blobs)",
                                   R"(GetInstances policy[0].blobs)",
                                   R"(GetValue policy[0].blobs[0] datastore-namespace: text)",
                                   R"(GetValue policy[0].blobs[0] blob: text)",
                                   R"(Base64_EasyDecode "Ry1yaWxr")",
                                   R"(GetValue policy[0].blobs[1] datastore-namespace: text)",
                                   R"(GetValue policy[0].blobs[1] blob: text)",
                                   R"(Base64_EasyDecode "Ry12b2w=")",
                                   R"(GetValue policy[1] name: text)",
                                   R"(GetValue policy[1] description: text)",
                                   R"(GetValue policy[1] policy-id: text)",
                                   R"(GetValue policy[1] generation-number: int)",
                                   R"(GetArray policy[1] blobs)",
                                   R"(GetInstances policy[1].blobs)",
                                   R"(GetValue policy[1].blobs[0] datastore-namespace: text)",
                                   R"(GetValue policy[1].blobs[0] blob: text)",
                                   R"(Base64_EasyDecode "Uy12b2w=")",
                                   R"(Unlock)",
                               }));
}

TEST_F(FilePolicyListing, HandlesAreReleasedBeforeTheLockArrayFirstThenBranch) {
  QuorLib::ListPolicyInfo();
  const Lines& releases = ThePlatform().releases;
  ASSERT_GE(releases.size(), 3U);
  EXPECT_EQ(Lines(releases.end() - 3, releases.end()),
            (Lines{"policy", "/Quor/Policy-Info", "Unlock"}));
}

TEST_F(FilePolicyListing, FileWithoutPoliciesOrWithoutTheBranchListsNothing) {
  const Lines expected = {
      "SynchronizedConfigFile",
      "GetBranch /Quor/Policy-Info",
      "GetArray /Quor/Policy-Info policy",
      "GetInstances policy",
      "Unlock",
  };
  for (const Recording::FileTree& file : {InFile({}, SampleDatastores()), Recording::FileTree()}) {
    ThePlatform().log.clear();
    ThePlatform().file = file;
    EXPECT_EQ(QuorLib::ListPolicyInfo(), Policies());
    EXPECT_EQ(ThePlatform().log, expected);
    EXPECT_EQ(ThePlatform().file, file);
  }
}

TEST_F(FilePolicyListing, NeitherPoliciesNorBlobsAreSorted) {
  const Policies policies = {Policy("z", "3", "", 0, {{"1", "z"}, {"2", "a"}, {"3", "m"}}),
                             Policy("a", "2", "", 0, {}), Policy("m", "1", "", 0, {})};
  ThePlatform().file = InFile(policies, {});
  EXPECT_EQ(QuorLib::ListPolicyInfo(), policies);
}

TEST_F(FilePolicyListing, PolicyThatLacksOneOfItsFourValuesIsNotListedAtAll) {
  const Lines keys = {"name", "description", "policy-id", "generation-number"};
  for (std::size_t i = 0; i < keys.size(); ++i) {
    RestoreTheSample();
    Gold().values.erase(keys[i]);
    ThePlatform().log.clear();
    ExpectOnlySilverIsListed();
    // The reading of the policy ends at the value that is missing.
    EXPECT_EQ(CallsOf("GetValue policy[0]").size(), i + 1) << keys[i];
    EXPECT_EQ(CallsOf("GetArray policy[0]"), Lines()) << keys[i];
  }
}

TEST_F(FilePolicyListing, EmptyValuesAreValues) {
  const Policies policies = {Policy("", "", "", 0, {{"", ""}})};
  ThePlatform().file = InFile(policies, {});
  EXPECT_EQ(QuorLib::ListPolicyInfo(), policies);
}

TEST_F(FilePolicyListing, PolicyWithoutAnArrayOfBlobsIsListedWithoutBlobs) {
  Gold().arrays.clear();
  EXPECT_EQ(QuorLib::ListPolicyInfo(),
            (Policies{Policy("gold", "id-1", "fast", 7, {}), SamplePolicies()[1]}));
}

TEST_F(FilePolicyListing, BlobEntryThatLacksAValueIsLeftOutOfItsPolicy) {
  for (const char* key : {"datastore-namespace", "blob"}) {
    RestoreTheSample();
    BlobAt(Gold(), 0).values.erase(key);
    EXPECT_EQ(
        QuorLib::ListPolicyInfo(),
        (Policies{Policy("gold", "id-1", "fast", 7, {{"G-vol", "vol"}}), SamplePolicies()[1]}))
        << key;
  }
}

TEST_F(FilePolicyListing, BlobOfAnEntryWithoutANamespaceIsNotRead) {
  BlobAt(Gold(), 0).values.erase("datastore-namespace");
  QuorLib::ListPolicyInfo();
  EXPECT_EQ(CallsOf("GetValue policy[0].blobs[0]"),
            Lines{"GetValue policy[0].blobs[0] datastore-namespace: text"});
}

TEST_F(FilePolicyListing, PolicyWithABlobThatIsNotBase64IsMissingAndTheOthersAreListed) {
  for (const std::size_t entry : {0U, 1U}) {
    RestoreTheSample();
    BlobAt(Gold(), entry).values["blob"] = "not Base64!";
    ExpectOnlySilverIsListed();
  }
  RestoreTheSample();
  BlobAt(PolicyAt(ThePlatform().file, 1), 0).values["blob"] = "A";
  EXPECT_EQ(QuorLib::ListPolicyInfo(), Policies{SamplePolicies()[0]});
}

TEST_F(FilePolicyListing, BlobThatThePlatformFailsToDecodeLeavesItsPolicyOut) {
  for (int failing = 1; failing <= 3; ++failing) {
    ThePlatform().base64Calls = 0;
    ThePlatform().base64Fails = [failing](int call) { return call == failing; };
    // One blob of gold is decoded if the first fails, and both otherwise.
    EXPECT_EQ(QuorLib::ListPolicyInfo(), Policies{SamplePolicies()[failing <= 2 ? 1 : 0]});
    EXPECT_EQ(ThePlatform().base64Calls, failing == 1 ? 2 : 3);
  }
}

TEST_F(FilePolicyListing, BlobIsDecodedUpToTheFirstZeroByteOfItsText) {
  BlobAt(Gold(), 0).values["blob"] = std::string("Ry12b2w=\0*", 10);
  EXPECT_EQ(QuorLib::ListPolicyInfo(),
            (Policies{Policy("gold", "id-1", "fast", 7, {{"G-vol", "RILK"}, {"G-vol", "vol"}}),
                      SamplePolicies()[1]}));
}

TEST_F(FilePolicyListing, PolicyWithAnArrayInPlaceOfAValueIsLeftOut) {
  for (const char* key : {"name", "description", "policy-id", "generation-number"}) {
    RestoreTheSample();
    Gold().values.erase(key);
    Gold().arrays[key];
    ExpectOnlySilverIsListed();
  }
}

TEST_F(FilePolicyListing, EveryPolicyUnreadableListsNothingAndRaisesNothing) {
  FailCallsOf("GetValue", Failure::kDerivedFileException);
  EXPECT_EQ(QuorLib::ListPolicyInfo(), Policies());
  EXPECT_EQ(CallsOf("GetValue").size(), 2U);
}

TEST_F(FilePolicyListing, FailingFetchOfTheBranchOrTheArrayOrTheInstancesIsRaised) {
  for (const char* call : {"GetBranch", "GetArray /Quor/Policy-Info", "GetInstances policy"}) {
    ThePlatform().log.clear();
    FailCallsOf(call, Failure::kDerivedFileException);
    EXPECT_EQ(Attempt([] { QuorLib::ListPolicyInfo(); }), Unchanged(Failure::kDerivedFileException))
        << call;
    EXPECT_EQ(CallsOf("Unlock").size(), 1U);
  }
}

TEST_F(FilePolicyListing, OtherExceptionWhileReadingAPolicyIsRaisedUnchanged) {
  FailCallsOf("GetValue policy[1]", Failure::kBriskException);
  EXPECT_EQ(Attempt([] { QuorLib::ListPolicyInfo(); }), Unchanged(Failure::kBriskException));
  EXPECT_EQ(LastOf(ThePlatform().log), "Unlock");
}

}  // namespace
}  // namespace QuorTest
