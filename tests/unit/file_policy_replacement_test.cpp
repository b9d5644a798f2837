// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// AddPolicyInfo in the configuration file.
#include "support/file_fixture.h"

namespace QuorTest {
namespace {

using TavQuor::QuorLib;

class FilePolicyReplacement : public FileTest {
 protected:
  static void ExpectNothingWritten() {
    EXPECT_EQ(CallsOf("Write"), Lines());
    EXPECT_EQ(LastOf(ThePlatform().log), "Unlock");
    EXPECT_EQ(ThePlatform().locks, 1);
    EXPECT_EQ(ThePlatform().unlocks, 1);
    EXPECT_EQ(ThePlatform().file, InFile(SamplePolicies(), SampleDatastores()));
  }
};

TEST_F(FilePolicyReplacement, WritesEveryPolicyWithItsBlobsUnderOneLock) {
  QuorLib::AddPolicyInfo(SamplePolicies());
  EXPECT_EQ(ThePlatform().log,
            (Lines{
                R"(SynchronizedConfigFile)",
                R"(GetBranch /Quor/Policy-Info)",
                R"(RemoveAllChildren /Quor/Policy-Info)",
                R"(GetArray /Quor/Policy-Info policy)",
                R"(NewInstance policy)",
                R"(SetValue policy[0] name: const& "gold")",
                R"(SetValue policy[0] description: const& "fast")",
                R"(SetValue policy[0] policy-id: const& "id-1")",
                R"(SetValue policy[0] generation-number: unsigned long 7)",
                R"(GetArray policy[0] blobs)",
                R"(NewInstance policy[0].blobs)",
                R"(SetValue policy[0].blobs[0] datastore-namespace: const& "RILK")",
                R"(Base64_EasyEncode "G-rilk")",
                R"(SetValue policy[0].blobs[0] blob: && "Ry1yaWxr")",
                R"(NewInstance policy[0].blobs)",
                R"(SetValue policy[0].blobs[1] datastore-namespace: const& "vol")",
                R"(Base64_EasyEncode "G-vol")",
                R"(SetValue policy[0].blobs[1] blob: && "Ry12b2w=")",
                R"(NewInstance policy)",
                R"(SetValue policy[1] name: const& "silver")",
                R"(SetValue policy[1] description: const& "cheap")",
                R"(SetValue policy[1] policy-id: const& "id-2")",
                R"(SetValue policy[1] generation-number: unsigned long 18446744073709551613)",
                R"(GetArray policy[1] blobs)",
                R"(NewInstance policy[1].blobs)",
                R"(SetValue policy[1].blobs[0] datastore-namespace: const& "vol")",
                R"(Base64_EasyEncode "S-vol")",
                R"(SetValue policy[1].blobs[0] blob: && "Uy12b2w=")",
                R"(Write)",
                R"(Unlock)",
            }));
  EXPECT_EQ(ThePlatform().file, InFile(SamplePolicies(), SampleDatastores()));
}

TEST_F(FilePolicyReplacement, HandlesAreReleasedInReverseAndTheLockLast) {
  QuorLib::AddPolicyInfo({SamplePolicies()[1]});
  EXPECT_EQ(ThePlatform().releases, (Lines{"policy[0].blobs[0]", "policy[0].blobs", "policy[0]",
                                           "policy", "/Quor/Policy-Info", "Unlock"}));
}

TEST_F(FilePolicyReplacement, EmptyVectorLeavesAnEmptyPolicyArrayAndWritesOnce) {
  QuorLib::AddPolicyInfo({});
  EXPECT_EQ(ThePlatform().log, (Lines{
                                   "SynchronizedConfigFile",
                                   "GetBranch /Quor/Policy-Info",
                                   "RemoveAllChildren /Quor/Policy-Info",
                                   "GetArray /Quor/Policy-Info policy",
                                   "Write",
                                   "Unlock",
                               }));
  EXPECT_EQ(ThePlatform().file, InFile({}, SampleDatastores()));
}

TEST_F(FilePolicyReplacement, ReplacesTheWholeSetAndLeavesDatastoresAndOthersAlone) {
  ThePlatform().file["/Other/Program"].values["key"] = "value";
  ThePlatform().file[kPolicyBranch].values["note"] = "by hand";
  const Policies policies = {Policy("iron", "id-3", "", 1, {})};
  QuorLib::AddPolicyInfo(policies);
  Recording::FileTree expected = InFile(policies, SampleDatastores());
  expected["/Other/Program"].values["key"] = "value";
  EXPECT_EQ(ThePlatform().file, expected);
}

TEST_F(FilePolicyReplacement, FileWithoutTheBranchIsWrittenTheSameWay) {
  ThePlatform().file.clear();
  QuorLib::AddPolicyInfo(SamplePolicies());
  Recording::FileTree expected = InFile(SamplePolicies(), {});
  expected.erase(kDatastoreBranch);
  EXPECT_EQ(ThePlatform().file, expected);
}

TEST_F(FilePolicyReplacement, RecordsAndBlobsAreWrittenInTheCallersOrder) {
  const Policies policies = {Policy("c", "3", "", 0, {{"z", "2"}, {"y", "3"}, {"x", "1"}}),
                             Policy("a", "1", "", 0, {}), Policy("b", "2", "", 0, {})};
  QuorLib::AddPolicyInfo(policies);
  EXPECT_EQ(ThePlatform().file, InFile(policies, SampleDatastores()));
  EXPECT_EQ(QuorLib::ListPolicyInfo(), policies);
}

TEST_F(FilePolicyReplacement, PolicyWithoutBlobsGetsAnEmptyArrayOfThem) {
  QuorLib::AddPolicyInfo({Policy("n", "i", "d", 1, {})});
  EXPECT_EQ(CallsOf("GetArray"),
            (Lines{"GetArray /Quor/Policy-Info policy", "GetArray policy[0] blobs"}));
  EXPECT_EQ(PolicyAt(ThePlatform().file, 0).arrays.at("blobs"), Recording::FileArray());
}

TEST_F(FilePolicyReplacement, EmptyFieldsAreWrittenAsTheyAre) {
  QuorLib::AddPolicyInfo({Policy("", "", "", 0, {{"", ""}})});
  EXPECT_EQ(CallsOf("SetValue"),
            (Lines{
                R"(SetValue policy[0] name: const& "")",
                R"(SetValue policy[0] description: const& "")",
                R"(SetValue policy[0] policy-id: const& "")",
                R"(SetValue policy[0] generation-number: unsigned long 0)",
                R"(SetValue policy[0].blobs[0] datastore-namespace: const& "")",
                R"(SetValue policy[0].blobs[0] blob: && "")",
            }));
  EXPECT_EQ(CallsOf("Base64_EasyEncode").size(), 1U);
  EXPECT_EQ(QuorLib::ListPolicyInfo(), Policies{Policy("", "", "", 0, {{"", ""}})});
}

TEST_F(FilePolicyReplacement, RecordsOfOneNameOrIdAndBlobsOfOneNamespaceAreAllKept) {
  const Policies policies = {
      Policy("n", "i", "first", 1, {{"1", "vol"}, {"2", "vol"}}),
      Policy("n", "i", "second", 2, {{"3", "vol"}}),
      Policy("n", "i", "first", 1, {{"1", "vol"}, {"2", "vol"}}),
  };
  QuorLib::AddPolicyInfo(policies);
  EXPECT_EQ(CallsOf("NewInstance policy").size(), 3U);
  EXPECT_EQ(ThePlatform().file, InFile(policies, SampleDatastores()));
  EXPECT_EQ(QuorLib::ListPolicyInfo(), policies);
}

TEST_F(FilePolicyReplacement, AnyBytesAndAnyLengthAreStored) {
  const std::string bytes = HostileBytes();
  const std::string longText(65536, 'x');
  const Policies policies = {
      Policy(bytes, bytes + "2", bytes + "3", 0, {{bytes + "4", bytes + "5"}}),
      Policy(longText, longText, longText, 0, {{longText, longText}})};
  QuorLib::AddPolicyInfo(policies);
  EXPECT_EQ(ThePlatform().file, InFile(policies, SampleDatastores()));
  EXPECT_EQ(QuorLib::ListPolicyInfo(), policies);
}

TEST_F(FilePolicyReplacement, BlobThatCannotBeEncodedIsRaisedAndNothingIsWritten) {
  for (int failing = 1; failing <= 3; ++failing) {
    ThePlatform().base64Calls = ThePlatform().locks = ThePlatform().unlocks = 0;
    ThePlatform().log.clear();
    ThePlatform().base64Fails = [failing](int call) { return call == failing; };
    const Outcome outcome = Attempt([] { QuorLib::AddPolicyInfo(SamplePolicies()); });
    EXPECT_EQ(outcome.type, "ZynCtl::Config::ConfigFileException");
    EXPECT_EQ(outcome.message, "Unable to Encode string");
    // It is the namespace's setter that ran last.
    EXPECT_NE(LastOf(CallsOf("SetValue")).find(" datastore-namespace: "), std::string::npos);
    ExpectNothingWritten();
    ExpectNothingIsKept();
  }
}

TEST_F(FilePolicyReplacement, FailingWriteIsRaisedAfterExactlyOneUnlock) {
  FailCallsOf("Write", Failure::kDerivedFileException);
  EXPECT_EQ(Attempt([] { QuorLib::AddPolicyInfo({}); }), Unchanged(Failure::kDerivedFileException));
  EXPECT_EQ(ThePlatform().log, (Lines{
                                   "SynchronizedConfigFile",
                                   "GetBranch /Quor/Policy-Info",
                                   "RemoveAllChildren /Quor/Policy-Info",
                                   "GetArray /Quor/Policy-Info policy",
                                   "Write",
                                   "Unlock",
                               }));
  EXPECT_EQ(ThePlatform().unlocks, 1);
  EXPECT_EQ(ThePlatform().file, InFile(SamplePolicies(), SampleDatastores()));
}

TEST_F(FilePolicyReplacement, FailingSetterIsRaisedAndNothingIsWritten) {
  FailCallsOf("SetValue policy[1] generation-number", Failure::kFileException);
  EXPECT_EQ(Attempt([] { QuorLib::AddPolicyInfo(SamplePolicies()); }),
            Unchanged(Failure::kFileException));
  ExpectNothingWritten();
}

TEST_F(FilePolicyReplacement, LockThatIsNotGivenIsRaisedAndNothingElseIsCalled) {
  FailCallsOf("SynchronizedConfigFile", Failure::kFileException);
  EXPECT_EQ(Attempt([] { QuorLib::AddPolicyInfo(SamplePolicies()); }),
            Unchanged(Failure::kFileException));
  EXPECT_EQ(ThePlatform().log, Lines{"SynchronizedConfigFile"});
  EXPECT_EQ(ThePlatform().unlocks, 0);
}

TEST_F(FilePolicyReplacement, CallersRecordsAreLeftAsTheyAre) {
  const Policies policies = SamplePolicies();
  QuorLib::AddPolicyInfo(policies);
  EXPECT_EQ(policies, SamplePolicies());
}

}  // namespace
}  // namespace QuorTest
